// What the browser test and the browser benchmark share: a static server for the site
// (build/web/site/) on 127.0.0.1, Debian's Chromium (over the DevTools protocol) and
// Firefox ESR (over WebDriver BiDi) driven headless, and the page's pixels and console
// lines.
import fs from "node:fs";
import http from "node:http";
import path from "node:path";
import { fileURLToPath } from "node:url";
import { PNG } from "pngjs";
import puppeteer from "puppeteer-core";

export const repoRoot = path.resolve(path.dirname(fileURLToPath(import.meta.url)), "../..");
export const siteRoot = path.join(repoRoot, "build/web/site");

const kTypes = { ".html": "text/html", ".js": "text/javascript", ".png": "image/png" };

// Serves the site as any plain static server would, and notes every path asked for.
// Under /stale/ the page is one whose script is no longer on the server, as a browser's
// cached page meets it after an update.
export async function serveSite(root = siteRoot) {
  const asked = [];
  const server = http.createServer((request, response) => {
    let name = decodeURIComponent(new URL(request.url, "http://localhost").pathname);
    asked.push(name);
    const stale = name.startsWith("/stale/");
    if (stale) name = name.slice("/stale".length);
    const file = path.join(root, path.normalize(name));
    if (!file.startsWith(root)) {
      response.writeHead(404).end();
      return;
    }
    fs.readFile(file, (error, data) => {
      if (error) {
        response.writeHead(404).end();
        return;
      }
      if (stale && name.endsWith(".html"))
        data = data.toString().replace(/invitro\.[0-9a-f]{12}/g, "invitro.000000000000");
      const type = kTypes[path.extname(file)] || "application/octet-stream";
      response.writeHead(200, { "content-type": type }).end(data);
    });
  });
  await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
  const url = `http://127.0.0.1:${server.address().port}`;
  return { url, asked, close: () => new Promise((resolve) => server.close(resolve)) };
}

// Headless Chromium on a fresh profile with nothing reaching out to the network.
export function launchChromium(extraArgs = []) {
  return puppeteer.launch({
    executablePath: process.env.CHROMIUM || "/usr/bin/chromium",
    headless: true,
    protocolTimeout: 600000,
    args: [
      "--no-sandbox",
      "--disable-gpu",
      "--disable-quic",
      "--no-first-run",
      "--disable-background-networking",
      "--disable-component-update",
      "--disable-sync",
      "--mute-audio",
      // A page in a busy machine's background must not be slowed down.
      "--disable-background-timer-throttling",
      "--disable-renderer-backgrounding",
      // Sound waits for a gesture, as in a visitor's browser.
      "--autoplay-policy=document-user-activation-required",
      ...extraArgs,
    ],
  });
}

// Headless Firefox ESR on a fresh profile. It plays sound only through a sound server
// (tests/web/run starts PulseAudio with a null sink where none runs).
export function launchFirefox() {
  return puppeteer.launch({
    browser: "firefox",
    executablePath: process.env.FIREFOX || "/usr/bin/firefox-esr",
    headless: true,
    protocolTimeout: 600000,
    extraPrefsFirefox: {
      // Sound waits for a gesture, as in a visitor's browser.
      "media.autoplay.default": 1,
      "media.autoplay.blocking_policy": 0,
    },
  });
}

export function launch(kind, extraArgs = []) {
  return kind == "firefox" ? launchFirefox() : launchChromium(extraArgs);
}

// A page at 640 x 480 CSS pixels (the canvas fills it) whose console lines, page
// errors and failed requests are collected.
export async function openPage(browser) {
  const page = await browser.newPage();
  await page.setViewport({ width: 640, height: 480 });
  const log = { lines: [], errors: [] };
  page.on("console", (m) => {
    log.lines.push({ type: m.type(), text: m.text(), at: Date.now() });
    if (m.type() == "error") log.errors.push(m.text());
  });
  page.on("pageerror", (e) => log.errors.push(e.message));
  return { page, log };
}

// Polls `check` (which may be async) until it returns something truthy.
export async function waitFor(check, what, timeoutMs = 60000, everyMs = 100) {
  const end = Date.now() + timeoutMs;
  for (;;) {
    const value = await check();
    if (value) return value;
    if (Date.now() > end) throw new Error(`timed out waiting for ${what}`);
    await new Promise((resolve) => setTimeout(resolve, everyMs));
  }
}

export function pageState(page) {
  return page.evaluate(() => document.body.dataset.state);
}

// The canvas as it is, through a lossless PNG: { width, height, data (RGBA) }.
export async function canvasPixels(page) {
  const url = await page.evaluate(() => document.getElementById("screen").toDataURL("image/png"));
  return PNG.sync.read(Buffer.from(url.slice(url.indexOf(",") + 1), "base64"));
}

// The page's once-a-second reports, parsed.
export function reports(log) {
  const pattern =
    /^invitro: ([\d.]+) s: (\d+) frames drawn, (\d+) dropped, (\d+) audio slices rendered, rms ([\d.]+), underruns (\d+)$/;
  return log.lines
    .map((l) => pattern.exec(l.text))
    .filter(Boolean)
    .map((m) => ({
      seconds: +m[1],
      frames: +m[2],
      dropped: +m[3],
      slices: +m[4],
      rms: +m[5],
      underruns: +m[6],
    }));
}
