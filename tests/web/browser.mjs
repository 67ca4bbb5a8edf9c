// What the browser test and the browser benchmark share: a static server for build/web/
// on 127.0.0.1, Debian's Chromium driven headless over the DevTools protocol, and the
// page's pixels and console lines.
import fs from "node:fs";
import http from "node:http";
import path from "node:path";
import { fileURLToPath } from "node:url";
import { PNG } from "pngjs";
import puppeteer from "puppeteer-core";

export const repoRoot = path.resolve(path.dirname(fileURLToPath(import.meta.url)), "../..");
export const siteRoot = path.join(repoRoot, "build/web");

const kTypes = { ".html": "text/html", ".js": "text/javascript", ".wasm": "application/wasm" };

// Serves the site as any plain static server would. Under /broken/ the page is served
// but its wasm is missing, to see the page's own failure message.
export async function serveSite(root = siteRoot) {
  const server = http.createServer((request, response) => {
    let name = decodeURIComponent(new URL(request.url, "http://localhost").pathname);
    const broken = name.startsWith("/broken/");
    if (broken) name = name.slice("/broken".length);
    const file = path.join(root, path.normalize(name));
    if (!file.startsWith(root) || (broken && name.endsWith(".wasm"))) {
      response.writeHead(404).end();
      return;
    }
    fs.readFile(file, (error, data) => {
      if (error) {
        response.writeHead(404).end();
        return;
      }
      const type = kTypes[path.extname(file)] || "application/octet-stream";
      response.writeHead(200, { "content-type": type }).end(data);
    });
  });
  await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
  const url = `http://127.0.0.1:${server.address().port}`;
  return { url, close: () => new Promise((resolve) => server.close(resolve)) };
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
      ...extraArgs,
    ],
  });
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

export function readPng(file) {
  return PNG.sync.read(fs.readFileSync(file));
}

// The page's once-a-second reports, parsed.
export function reports(log) {
  const pattern =
    /^invitro: ([\d.]+) s: (\d+) frames drawn, (\d+) dropped, (\d+) audio slices rendered, rms ([\d.]+)$/;
  return log.lines
    .map((l) => pattern.exec(l.text))
    .filter(Boolean)
    .map((m) => ({
      seconds: +m[1],
      frames: +m[2],
      dropped: +m[3],
      slices: +m[4],
      rms: +m[5],
    }));
}
