// The web build in real headless Chromium: the start card and a real click, picture,
// pace, sound, full screen and Escape; ?autostart with an output that is not 44100 Hz;
// a browser without Web Audio; the page's message when the wasm is missing; and frames
// identical to capture's, one per scene.
// Needs build/web (make web) and build/release's capture (make build).
import assert from "node:assert/strict";
import { execFile } from "node:child_process";
import fs from "node:fs";
import os from "node:os";
import path from "node:path";
import { promisify } from "node:util";
import { after, before, test } from "node:test";
import {
  canvasPixels,
  launchChromium,
  openPage,
  pageState,
  readPng,
  repoRoot,
  reports,
  serveSite,
  waitFor,
} from "./browser.mjs";

const kOutDir = path.join(repoRoot, "build/web-test");
const kCapture = path.join(repoRoot, "build/release/tools/capture/capture");
// One frame a second into each scene (4, 0, 1, 2, 3), in show milliseconds.
const kFrameTimes = [3000, 17000, 57000, 77000, 97000];
const sleep = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

let site;

before(async () => {
  fs.mkdirSync(kOutDir, { recursive: true });
  site = await serveSite();
});

after(() => site.close());

function distinctColours(png) {
  const seen = new Set();
  for (let i = 0; i < png.data.length; i += 4) seen.add(png.data.readUInt32LE(i) & 0xffffff);
  return seen.size;
}

// Pixels of the scroller glyphs' dark purple outline in the bottom band.
function glyphOutline(png) {
  let count = 0;
  for (let y = 400; y < 480; ++y)
    for (let x = 0; x < 640; ++x) {
      const i = (y * png.width + x) * 4;
      const [r, g, b] = png.data.subarray(i, i + 3);
      if (Math.abs(r - 25) < 12 && Math.abs(g - 8) < 10 && Math.abs(b - 57) < 14) ++count;
    }
  return count;
}

// The renderer processes' CPU seconds so far.
async function rendererCpu(cdp) {
  const { processInfo } = await cdp.send("SystemInfo.getProcessInfo");
  return processInfo.filter((p) => p.type == "renderer").reduce((sum, p) => sum + p.cpuTime, 0);
}

// Frames and audio slices a second over the reports after the first (which holds the
// start-up), and the loudness of what was rendered.
function rates(lines) {
  const steady = lines.slice(1);
  const seconds = steady.reduce((s, r) => s + r.seconds, 0);
  return {
    frames: steady.reduce((s, r) => s + r.frames, 0) / seconds,
    slices: steady.reduce((s, r) => s + r.slices, 0) / seconds,
    rms: Math.max(...steady.map((r) => r.rms)),
  };
}

test("a click on the start card starts picture and sound; F toggles full screen; Escape ends both", async () => {
  const browser = await launchChromium();
  try {
    const { page, log } = await openPage(browser);
    await page.setViewport({ width: 960, height: 600 });
    await page.goto(`${site.url}/index.html`);
    await waitFor(async () => (await pageState(page)) == "ready", "the start card");
    await page.click("#card");
    await waitFor(async () => reports(log).length >= 2, "the first reports", 120000);

    const cdp = await browser.target().createCDPSession();
    const cpuBefore = await rendererCpu(cdp);
    const wallBefore = Date.now();
    await waitFor(() => reports(log).length >= 7, "five more seconds of reports", 120000);
    const busy = (await rendererCpu(cdp)) - cpuBefore;
    const load = busy / ((Date.now() - wallBefore) / 1000);

    const shown = await canvasPixels(page);
    await page.screenshot({ path: path.join(kOutDir, "web.png") });
    const measured = rates(reports(log));
    console.log(`frames/s ${measured.frames.toFixed(1)}, slices/s ${measured.slices.toFixed(1)}, ` +
      `rms ${measured.rms}, renderer CPU ${(100 * load).toFixed(0)} %`);
    assert.ok(measured.frames >= 25 && measured.frames <= 40.5, `frames a second: ${measured.frames}`);
    assert.ok(Math.abs(measured.slices - 44100 / 884) < 5, `slices a second: ${measured.slices}`);
    assert.ok(measured.rms > 100, `the music is silent (rms ${measured.rms})`);
    assert.ok(load < 0.9, `the page keeps a core busy (${(100 * load).toFixed(0)} %)`);
    assert.ok(distinctColours(shown) >= 64, `only ${distinctColours(shown)} colours`);
    assert.ok(glyphOutline(shown) >= 100, "no scroller glyphs at the bottom");

    const fullscreen = () => page.evaluate(() => document.fullscreenElement?.id || "");
    await page.keyboard.press("f");
    await waitFor(async () => (await fullscreen()) == "stage", "F to go full screen", 10000);
    await page.keyboard.press("f");
    await waitFor(async () => (await fullscreen()) == "", "F to leave full screen", 10000);

    await page.keyboard.down("Escape");
    await sleep(200);
    await page.keyboard.up("Escape");
    await waitFor(async () => (await pageState(page)) == "ended", "the end card", 10000);
    const linesAtEnd = reports(log).length;
    const still = await canvasPixels(page);
    await sleep(2500);
    assert.equal(reports(log).length, linesAtEnd, "the loop still reports after Escape");
    assert.ok(still.data.equals((await canvasPixels(page)).data), "the canvas still changes");
    assert.equal(await page.evaluate(() => Module.invitroAudio), null, "the sound is still open");
    assert.match(await page.$eval("#action", (e) => e.textContent), /click to play again/);
    assert.deepEqual(log.errors, []);
  } finally {
    await browser.close();
  }
});

test("?autostart needs no click, and a 48000-Hz output keeps the tempo", async () => {
  const browser = await launchChromium(["--autoplay-policy=no-user-gesture-required"]);
  try {
    const { page, log } = await openPage(browser);
    await page.goto(`${site.url}/index.html?autostart&rate=48000`);
    await waitFor(async () => (await pageState(page)) == "running", "the show", 60000);
    await waitFor(() => reports(log).length >= 2, "the first reports", 120000);
    const audio = () =>
      page.evaluate(() => [Module.invitroAudio.context.currentTime, Module._WebAudioPlayedFrames()]);
    const [t0, f0] = await audio();
    await waitFor(() => reports(log).length >= 7, "five more seconds of reports", 120000);
    const [t1, f1] = await audio();
    const pace = (f1 - f0) / 44100 / (t1 - t0);
    const measured = rates(reports(log));
    console.log(`48000 Hz: ring seconds per output second ${pace.toFixed(3)}, ` +
      `slices/s ${measured.slices.toFixed(1)}, rms ${measured.rms}`);
    assert.equal(await page.evaluate(() => Module.invitroAudio.context.sampleRate), 48000);
    assert.ok(Math.abs(pace - 1) < 0.04, `the ring plays at ${pace} of its speed`);
    assert.ok(measured.rms > 100, `the music is silent (rms ${measured.rms})`);
    assert.ok(measured.frames >= 25, `frames a second: ${measured.frames}`);
    assert.deepEqual(log.errors, []);
  } finally {
    await browser.close();
  }
});

test("without Web Audio the show runs silent, saying so once", async () => {
  const browser = await launchChromium();
  try {
    const { page, log } = await openPage(browser);
    await page.evaluateOnNewDocument(() => {
      delete window.AudioContext;
      delete window.webkitAudioContext;
    });
    await page.goto(`${site.url}/index.html?autostart`);
    await waitFor(() => reports(log).length >= 3, "three seconds of reports", 120000);
    const said = log.lines.filter((l) => /no Web Audio/.test(l.text));
    assert.equal(said.length, 1, "one console line about the missing sound");
    const measured = rates(reports(log));
    assert.ok(measured.frames >= 25, `frames a second: ${measured.frames}`);
    assert.equal(measured.slices, 0);
    assert.deepEqual(log.errors, []);
  } finally {
    await browser.close();
  }
});

test("a missing wasm gives a readable message in the page", async () => {
  const browser = await launchChromium();
  try {
    const { page } = await openPage(browser);
    await page.goto(`${site.url}/broken/index.html`);
    await waitFor(async () => (await pageState(page)) == "error", "the error card", 30000);
    assert.match(await page.$eval("#action", (e) => e.textContent), /could not be loaded/);
  } finally {
    await browser.close();
  }
});

test("frames match capture's, pixel for pixel, one in each scene", async () => {
  assert.ok(fs.existsSync(kCapture), `${kCapture} is missing: run make build first`);
  const dir = fs.mkdtempSync(path.join(os.tmpdir(), "invitro-capture-"));
  // capture renders its frames one after another while the page renders its own.
  const captured = (async () => {
    for (const ms of kFrameTimes)
      await promisify(execFile)(kCapture, ["--at", String(ms), "--png", "--out", dir]);
  })();
  captured.catch(() => {});
  const browser = await launchChromium();
  try {
    const { page, log } = await openPage(browser);
    await page.goto(`${site.url}/index.html?virtual`);
    await waitFor(async () => (await pageState(page)) == "virtual", "the virtual show", 60000);
    const shots = [];
    let next = 0;
    for (const ms of kFrameTimes) {
      // Frame n shows n * 25 ms of the show; a page call draws up to 100 of them.
      while (next <= ms / 25) {
        const count = Math.min(100, ms / 25 - next + 1);
        await page.evaluate((n) => { for (let i = 0; i < n; ++i) Module._WebVirtualFrame(); }, count);
        next += count;
      }
      shots.push(await canvasPixels(page));
    }
    await captured;
    kFrameTimes.forEach((ms, i) => {
      const reference = readPng(path.join(dir, `shot_${String(ms).padStart(6, "0")}.png`));
      let differing = 0;
      for (let p = 0; p < 640 * 480; ++p)
        if (shots[i].data.readUIntLE(p * 4, 3) != reference.data.readUIntLE(p * 4, 3)) ++differing;
      assert.equal(differing, 0, `${differing} pixels differ at ${ms} ms`);
    });
    assert.deepEqual(log.errors, []);
  } finally {
    await browser.close();
    await captured.catch(() => {});
    fs.rmSync(dir, { recursive: true, force: true });
  }
});
