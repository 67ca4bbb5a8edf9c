// The web build in real headless Chromium and Firefox: the start card and a real click,
// picture, pace and sound through main-thread stalls, full screen and Escape; ?autostart
// with an output that is not 44100 Hz and a key press that brings the sound; a browser
// without Web Audio, and one without an AudioWorklet; the page's own message for each
// failure; pacing at fake refresh rates; every frame of a cycle against the recorded
// frame sums; a phone (its size and taps, both orientations; Chromium also emulates
// its touch pointer); a page hidden for a minute (in Chromium also frozen). With
// INVITRO_ZIP set to the release zip, its web folder opened as a file. Needs the site
// (make web). INVITRO_BROWSERS limits the browsers ("chromium firefox").
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import fs from "node:fs";
import os from "node:os";
import path from "node:path";
import { after, before, test } from "node:test";
import { KnownDevices } from "puppeteer-core";
import { canvasPixels, launch, openPage, pageState, repoRoot, reports, serveSite, waitFor } from "./browser.mjs";

const kOutDir = path.join(repoRoot, "build/web-test");
const kSums = path.join(repoRoot, "tests/checksums/frames.sums");
const kBrowsers = (process.env.INVITRO_BROWSERS || "chromium firefox").split(/\s+/).filter(Boolean);
const kZip = process.env.INVITRO_ZIP;
const sleep = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

let site;

before(async () => {
  fs.mkdirSync(kOutDir, { recursive: true });
  site = await serveSite();
});

after(() => site.close());

// Opens a page in a fresh browser, runs `body` and closes the browser whatever happens.
// `setup(page)` runs before the page is loaded (scripts for every new document).
async function withPage(kind, url, body, { setup, args } = {}) {
  const browser = await launch(kind, args);
  try {
    const { page, log } = await openPage(browser);
    if (setup) await setup(page);
    if (url) await page.goto(url);
    return await body({ page, log, browser });
  } finally {
    await browser.close();
  }
}

const reportCount = (log, n, what = `${n} reports`) =>
  waitFor(() => reports(log).length >= n, what, 120000);

// Frames and audio slices a second over the reports after the first (which holds the
// start-up), the loudness of what was rendered, and every underrun.
function rates(lines) {
  const steady = lines.slice(1);
  const seconds = steady.reduce((s, r) => s + r.seconds, 0);
  return {
    frames: steady.reduce((s, r) => s + r.frames, 0) / seconds,
    slices: steady.reduce((s, r) => s + r.slices, 0) / seconds,
    rms: Math.max(...steady.map((r) => r.rms)),
    underruns: lines.reduce((s, r) => s + r.underruns, 0),
  };
}

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

// The renderer processes' CPU seconds so far (Chromium).
async function rendererCpu(browser) {
  const cdp = await browser.target().createCDPSession();
  const { processInfo } = await cdp.send("SystemInfo.getProcessInfo");
  return processInfo.filter((p) => p.type == "renderer").reduce((sum, p) => sum + p.cpuTime, 0);
}

// The page's main thread blocked for 500 ms, 1, 4 and 7 s after the show starts.
function stallThrice() {
  new MutationObserver((_, observer) => {
    if (document.body.dataset.state != "running") return;
    observer.disconnect();
    for (const at of [1000, 4000, 7000])
      setTimeout(() => {
        const end = performance.now() + 500;
        while (performance.now() < end);
      }, at);
  }).observe(document, { subtree: true, attributes: true, attributeFilter: ["data-state"] });
}

const audioState = (page) =>
  page.evaluate(() => Module.invitroAudio && {
    state: Module.invitroAudio.context.state,
    rate: Module.invitroAudio.context.sampleRate,
    time: Module.invitroAudio.context.currentTime,
    node: Module.invitroAudio.node && Module.invitroAudio.node.constructor.name,
    played: Module._WebAudioPlayedFrames(),
  });

for (const kind of kBrowsers) {
  const chromium = kind == "chromium";

  test(`${kind}: a click starts picture and sound; three 500-ms stalls leave no gap; F (not Ctrl+F) toggles full screen; Escape ends both`, async () => {
    await withPage(kind, null, async ({ page, log, browser }) => {
      await page.setViewport({ width: 960, height: 600 });
      await page.goto(`${site.url}/index.html`);
      await waitFor(async () => (await pageState(page)) == "ready", "the start card");
      await page.click("#card");
      await reportCount(log, 9, "nine seconds of reports (the stalls)");
      const cpuBefore = chromium && (await rendererCpu(browser));
      const wallBefore = Date.now();
      await reportCount(log, 13);
      const load = chromium && ((await rendererCpu(browser)) - cpuBefore) / ((Date.now() - wallBefore) / 1000);

      const shown = await canvasPixels(page);
      await page.screenshot({ path: path.join(kOutDir, `web-${kind}.png`) });
      const measured = rates(reports(log));
      // The output may take a second to start: the pace of the music from the third report.
      measured.slices = rates(reports(log).slice(2)).slices;
      const audio = await audioState(page);
      console.log(`${kind}: frames/s ${measured.frames.toFixed(1)}, slices/s ${measured.slices.toFixed(1)}, ` +
        `rms ${measured.rms}, underruns ${measured.underruns}, output ${audio.node}` +
        (chromium ? `, renderer CPU ${(100 * load).toFixed(0)} %` : ""));
      assert.equal(measured.underruns, 0, "the music gapped");
      assert.equal(audio.node, "AudioWorkletNode");
      assert.equal(audio.state, "running");
      assert.ok(measured.frames >= 25 && measured.frames <= 40.5, `frames a second: ${measured.frames}`);
      assert.ok(Math.abs(measured.slices - 44100 / 884) < 5, `slices a second: ${measured.slices}`);
      assert.ok(measured.rms > 100, `the music is silent (rms ${measured.rms})`);
      if (chromium) assert.ok(load < 0.9, `the page keeps a core busy (${(100 * load).toFixed(0)} %)`);
      assert.ok(distinctColours(shown) >= 64, `only ${distinctColours(shown)} colours`);
      assert.ok(glyphOutline(shown) >= 100, "no scroller glyphs at the bottom");

      const fullscreen = () => page.evaluate(() => document.fullscreenElement?.id || "");
      await page.keyboard.press("f");
      await waitFor(async () => (await fullscreen()) == "stage", "F to go full screen", 10000);
      await page.keyboard.press("f");
      await waitFor(async () => (await fullscreen()) == "", "F to leave full screen", 10000);
      // Ctrl+F stays the browser's find.
      await page.keyboard.down("Control");
      await page.keyboard.press("f");
      await page.keyboard.up("Control");
      await sleep(500);
      assert.equal(await fullscreen(), "", "Ctrl+F toggled full screen");

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
    }, { setup: (page) => page.evaluateOnNewDocument(stallThrice) });
  });

  test(`${kind}: ?autostart runs silent until a key press, then a 48000-Hz output keeps the tempo`, async () => {
    await withPage(kind, `${site.url}/index.html?autostart&rate=48000`, async ({ page, log }) => {
      await reportCount(log, 2);
      assert.notEqual((await audioState(page)).state, "running", "sound without a gesture");
      await page.keyboard.press("a");
      await waitFor(async () => (await audioState(page)).state == "running", "the sound after a key press", 10000);
      const first = await audioState(page);
      const from = reports(log).length;
      await reportCount(log, from + 5);
      const last = await audioState(page);
      const pace = (last.played - first.played) / 44100 / (last.time - first.time);
      const measured = rates(reports(log).slice(from - 1));
      console.log(`${kind} at 48000 Hz: ring seconds per output second ${pace.toFixed(3)}, ` +
        `slices/s ${measured.slices.toFixed(1)}, rms ${measured.rms}, underruns ${measured.underruns}`);
      assert.equal(last.rate, 48000);
      assert.ok(Math.abs(pace - 1) < 0.04, `the ring plays at ${pace} of its speed`);
      assert.ok(measured.rms > 100, `the music is silent (rms ${measured.rms})`);
      assert.equal(measured.underruns, 0, "the music gapped");
      assert.ok(measured.frames >= 25, `frames a second: ${measured.frames}`);
      assert.deepEqual(log.errors, []);
    });
  });

  test(`${kind}: without Web Audio the show runs silent, saying so once; without a worklet the page's thread plays`, async () => {
    const setup = (page) => page.evaluateOnNewDocument(() => {
      delete window.AudioContext;
      delete window.webkitAudioContext;
    });
    await withPage(kind, `${site.url}/index.html?autostart`, async ({ log }) => {
      await reportCount(log, 3);
      assert.equal(log.lines.filter((l) => /no Web Audio/.test(l.text)).length, 1);
      const measured = rates(reports(log));
      assert.ok(measured.frames >= 25, `frames a second: ${measured.frames}`);
      assert.equal(measured.slices, 0);
      assert.deepEqual(log.errors, []);
    }, { setup });

    // As a page served over plain http from another host: not a secure context.
    const noWorklet = (page) => page.evaluateOnNewDocument(() => {
      Object.defineProperty(BaseAudioContext.prototype, "audioWorklet", { get: () => undefined });
    });
    await withPage(kind, `${site.url}/index.html`, async ({ page, log }) => {
      await waitFor(async () => (await pageState(page)) == "ready", "the start card");
      await page.click("#card");
      // The output may take a second to start.
      await waitFor(async () => (await audioState(page))?.played > 22050, "half a second of music", 10000);
      const from = reports(log).length;
      await reportCount(log, from + 4);
      const measured = rates(reports(log).slice(from));
      assert.equal((await audioState(page)).node, "ScriptProcessorNode");
      assert.ok(Math.abs(measured.slices - 44100 / 884) < 5, `slices a second: ${measured.slices}`);
      assert.ok(measured.rms > 100, `the music is silent (rms ${measured.rms})`);
    }, { setup: noWorklet });
  });

  test(`${kind}: no SIMD, a fault in a frame and a page older than its script each get their own message`, async () => {
    const message = (page) => page.$eval("#action", (e) => e.textContent);
    const failed = (page) => waitFor(async () => (await pageState(page)) == "error", "the error card", 30000);

    const refuse = (page) => page.evaluateOnNewDocument(() => { WebAssembly.validate = () => false; });
    const askedBefore = site.asked.length;
    await withPage(kind, `${site.url}/index.html`, async ({ page }) => {
      await failed(page);
      assert.match(await message(page), /lacks WebAssembly SIMD.*Chrome.*Firefox.*Safari/);
      assert.ok(!site.asked.slice(askedBefore).some((p) => p.includes("invitro.")), "the script or the wasm was downloaded");
    }, { setup: refuse });

    await withPage(kind, `${site.url}/index.html`, async ({ page, log }) => {
      await waitFor(async () => (await pageState(page)) == "ready", "the start card");
      await page.click("#card");
      await reportCount(log, 2);
      await page.evaluate(() => Module._WebTrapNextTurn());
      await failed(page);
      assert.match(await message(page), /stopped on an error: RuntimeError/);
      assert.equal(await page.evaluate(() => Module.invitroAudio), null, "the sound plays on");
      const linesAtFault = reports(log).length;
      await sleep(1500);
      assert.equal(reports(log).length, linesAtFault, "the loop runs on");
    });

    await withPage(kind, `${site.url}/stale/index.html`, async ({ page }) => {
      await failed(page);
      assert.match(await message(page), /older than the intro on the server.*reload/);
    });
  });

  test(`${kind}: at 50, 60, 75, 90, 120, 144 and 240 Hz the show draws 40 frames a second, none a refresh late`, async () => {
    // requestAnimationFrame and performance.now on a virtual clock the test moves; every
    // present is stamped with it.
    const fake = (page) => page.evaluateOnNewDocument(() => {
      const realNow = performance.now.bind(performance);
      let now = null, callbacks = [];
      performance.now = () => (now === null ? realNow() : now);
      window.requestAnimationFrame = (cb) => callbacks.push(cb);
      window.cancelAnimationFrame = () => {};
      const presents = [];
      const put = CanvasRenderingContext2D.prototype.putImageData;
      CanvasRenderingContext2D.prototype.putImageData = function (...a) {
        presents.push(now);
        return put.apply(this, a);
      };
      window.fakeRefresh = (hz, ms) => {
        if (now === null) now = Math.ceil(realNow());
        const start = now, from = presents.length;
        for (let k = 1; k * 1000 / hz <= ms; ++k) {
          now = start + (k * 1000) / hz;
          const due = callbacks;
          callbacks = [];
          for (const cb of due) cb(now);
        }
        return { start, presents: presents.slice(from) };
      };
    });
    await withPage(kind, `${site.url}/index.html?autostart`, async ({ page, log }) => {
      await waitFor(async () => (await pageState(page)) == "running", "the show");
      let slot = null;
      for (const hz of [50, 60, 75, 90, 120, 144, 240]) {
        const run = await page.evaluate((hz) => window.fakeRefresh(hz, 6000), hz);
        const refresh = 1000 / hz;
        // Slots lie 25 ms apart from the first frame's whole millisecond.
        if (slot === null) slot = Math.floor(run.presents[0]) - 25;
        let worst = -Infinity, earliest = Infinity;
        for (const t of run.presents) {
          slot += 25;
          worst = Math.max(worst, t - slot);
          earliest = Math.min(earliest, t - slot);
        }
        const steady = run.presents.filter((t) => t >= run.start + 1000).length / 5;
        console.log(`${kind} at ${hz} Hz: ${steady.toFixed(1)} frames/s, ` +
          `from ${earliest.toFixed(2)} to ${worst.toFixed(2)} ms off the slot`);
        assert.ok(Math.abs(steady - 40) <= 0.5, `${hz} Hz: ${steady} frames a second`);
        assert.ok(worst < refresh, `${hz} Hz: a frame ${worst} ms after its slot`);
        assert.ok(earliest >= -refresh / 2 - 1e-6, `${hz} Hz: a frame ${-earliest} ms before its slot`);
      }
      assert.equal(reports(log).slice(1).reduce((s, r) => s + r.dropped, 0), 0, "frames were dropped");
      assert.deepEqual(log.errors, []);
    }, { setup: fake });
  });

  test(`${kind}: every frame of a cycle on the virtual clock matches the recorded frame sums`, async () => {
    const expected = fs.readFileSync(kSums, "utf8").trim().split("\n").map((l) => l.split(" ")[1]);
    // Firefox hashes every fifth frame: its loop over the pixels is slower.
    const every = chromium ? 1 : 5;
    await withPage(kind, `${site.url}/index.html?virtual`, async ({ page, log }) => {
      await waitFor(async () => (await pageState(page)) == "virtual", "the virtual show", 60000);
      const sums = [];
      for (let done = 0; done < expected.length; done += 200) {
        const count = Math.min(200, expected.length - done);
        // The hash capture --sums writes: 64-bit FNV-1a over the frame's 5.6.5 pixels, low
        // byte first, here of the canvas's image (its RGBA narrowed back), in two halves.
        sums.push(...(await page.evaluate((first, count, every) => {
          const out = [];
          for (let n = first; n < first + count; ++n) {
            Module._WebVirtualFrame();
            if (n % every) continue;
            const rgba = Module.invitroCanvas.image.data;
            let lo = 0x84222325, hi = 0xcbf29ce4;
            const step = (byte) => {
              lo = (lo ^ byte) >>> 0;
              const t = lo * 0x1b3;
              hi = (hi * 0x1b3 + Math.floor(t / 4294967296) + ((lo << 8) >>> 0)) >>> 0;
              lo = t >>> 0;
            };
            for (let i = 0; i < rgba.length; i += 4) {
              const p = ((rgba[i] >> 3) << 11) | ((rgba[i + 1] >> 2) << 5) | (rgba[i + 2] >> 3);
              step(p & 0xff);
              step(p >> 8);
            }
            out.push([n, hi.toString(16).padStart(8, "0") + lo.toString(16).padStart(8, "0")]);
          }
          return out;
        }, done, count, every)));
      }
      const differing = sums.filter(([n, sum]) => sum != expected[n]).map(([n]) => n);
      console.log(`${kind}: ${sums.length} frames hashed, ${differing.length} differ`);
      assert.deepEqual(differing.slice(0, 10), [], `frames differ from capture's (of ${sums.length})`);
      // What the canvas shows is that image.
      const shown = await canvasPixels(page);
      const image = Buffer.from(await page.evaluate(() => Array.from(Module.invitroCanvas.image.data)));
      assert.ok(shown.data.equals(image), "the canvas shows another picture than its image");
      assert.deepEqual(log.errors, []);
    });
  });

  test(`${kind}: a phone: a tap starts with sound, ?autostart and a tap bring sound, the controls stop the show, the picture fits both ways`,
    async () => {
      const phone = KnownDevices["Pixel 5"];
      const fits = (page) => page.evaluate(() => {
        const r = document.getElementById("screen").getBoundingClientRect();
        const v = window.visualViewport;
        return { left: r.left, top: r.top, right: r.right, bottom: r.bottom, width: r.width, height: r.height,
                 vw: v.width, vh: v.height, scrollable: document.scrollingElement.scrollHeight > innerHeight };
      });
      const checkFit = (f, how) => {
        assert.ok(f.left >= 0 && f.top >= 0 && f.right <= f.vw + 0.5 && f.bottom <= f.vh + 0.5,
          `${how}: the picture leaves the visible viewport (${JSON.stringify(f)})`);
        assert.ok(Math.abs(f.width * 3 - f.height * 4) < 4, `${how}: not 4:3 (${f.width} x ${f.height})`);
        assert.ok(Math.max(f.width / f.vw, f.height / f.vh) > 0.99, `${how}: the picture does not fill the screen`);
        assert.ok(!f.scrollable, `${how}: the page scrolls`);
      };
      await withPage(kind, null, async ({ page, log }) => {
        await page.emulate(phone);
        await page.goto(`${site.url}/index.html`);
        await waitFor(async () => (await pageState(page)) == "ready", "the start card");
        // Firefox takes the phone's size and its taps, but keeps a fine pointer.
        if (chromium) assert.match(await page.$eval("#action", (e) => e.textContent), /tap to start/);
        checkFit(await fits(page), "portrait");
        await page.tap("#stage");
        await reportCount(log, 3);
        const audio = await audioState(page);
        assert.equal(audio.state, "running", "no sound after the tap");
        assert.ok(rates(reports(log)).rms > 100, "the music is silent");
        await page.setViewport({ ...phone.viewport, width: phone.viewport.height, height: phone.viewport.width,
                                 isLandscape: true });
        await sleep(300);
        checkFit(await fits(page), "landscape");

        const shown = () => page.$eval("#controls", (e) => getComputedStyle(e).opacity == "1" && e.classList.contains("shown"));
        assert.ok(!(await shown()), "the controls show before a tap");
        await page.touchscreen.tap(200, 150);
        await waitFor(shown, "the controls after a tap", 5000);
        assert.ok(await page.$eval("#fullscreen", (e) => !e.hidden), "no full-screen control");
        await waitFor(async () => !(await shown()), "the controls to fade", 10000);
        await page.touchscreen.tap(200, 150);
        await waitFor(shown, "the controls after another tap", 5000);
        await page.tap("#stop");
        await waitFor(async () => (await pageState(page)) == "ended", "the end card", 10000);
        if (chromium) assert.match(await page.$eval("#action", (e) => e.textContent), /tap to play again/);
        assert.equal(await page.evaluate(() => Module.invitroAudio), null, "the sound plays on");
        assert.deepEqual(log.errors, []);
      });

      await withPage(kind, null, async ({ page, log }) => {
        await page.emulate(phone);
        await page.goto(`${site.url}/index.html?autostart`);
        await reportCount(log, 2);
        assert.notEqual((await audioState(page)).state, "running", "sound without a gesture");
        await page.touchscreen.tap(100, 100);
        await waitFor(async () => (await audioState(page)).state == "running", "the sound after a tap", 10000);
        await waitFor(async () => (await audioState(page)).played > 44100, "a second of music played", 10000);
      });
    });

  // Firefox over WebDriver BiDi can hide a page but not freeze it.
  test(`${kind}: hidden${chromium ? " and frozen" : ""} for a minute, the page comes back at the show's time and with its sound`,
    async () => {
      await withPage(kind, `${site.url}/index.html`, async ({ page, log, browser }) => {
        await waitFor(async () => (await pageState(page)) == "ready", "the start card");
        await page.click("#card");
        await reportCount(log, 3);
        const started = Date.now() - reports(log).reduce((s, r) => s + r.seconds * 1000, 0);
        // Another tab in front hides the page; the browser then freezes it.
        const other = await browser.newPage();
        await other.bringToFront();
        const cdp = chromium && (await page.createCDPSession());
        if (cdp) await cdp.send("Page.setWebLifecycleState", { state: "frozen" });
        await sleep(60000);
        const frozenLines = reports(log).length;
        if (cdp) await cdp.send("Page.setWebLifecycleState", { state: "active" });
        await other.close();
        await page.bringToFront();
        await reportCount(log, frozenLines + 4, "reports after the freeze");
        const lines = reports(log);
        // The show's clock: every 25-ms slot since the start was drawn or dropped.
        const slots = lines.reduce((s, r) => s + r.frames + r.dropped, 0);
        const wallSlots = (Date.now() - started) / 25;
        const back = rates(lines.slice(frozenLines));
        const audio = await audioState(page);
        console.log(`${kind} after a minute away: ${slots} slots drawn or dropped against ` +
          `${wallSlots.toFixed(0)} of wall time; then ${back.slices.toFixed(1)} slices/s, ` +
          `${back.frames.toFixed(1)} frames/s`);
        assert.ok(Math.abs(slots - wallSlots) < 80, `the show's clock is ${((slots - wallSlots) / 40).toFixed(1)} s off`);
        assert.equal(audio.state, "running");
        // The output may take a second to start again.
        assert.ok(lines.slice(-2).every((r) => r.slices >= 40 && r.rms > 100), "the sound did not come back");
        assert.equal(lines.slice(frozenLines).reduce((s, r) => s + r.underruns, 0), 0, "the music gapped after the freeze");
        assert.ok(back.frames >= 25, "the picture did not come back");
      });
    });

  test(`${kind}: the release zip's web folder opened as a file starts from the card with sound`,
    { skip: kZip ? false : "INVITRO_ZIP names no release zip" }, async () => {
      const dir = fs.mkdtempSync(path.join(os.tmpdir(), "invitro-zip-"));
      try {
        execFileSync("unzip", ["-q", kZip, "-d", dir]);
        const index = path.join(dir, "invitro/web/index.html");
        await withPage(kind, `file://${index}`, async ({ page, log }) => {
          await waitFor(async () => (await pageState(page)) == "ready", "the start card");
          await page.click("#card");
          await reportCount(log, 4);
          const measured = rates(reports(log));
          const audio = await audioState(page);
          assert.equal(audio.node, "AudioWorkletNode");
          assert.ok(measured.rms > 100 && measured.slices > 40, `no sound (${JSON.stringify(measured)})`);
          assert.equal(measured.underruns, 0);
          assert.deepEqual(log.errors, []);
        });
      } finally {
        fs.rmSync(dir, { recursive: true, force: true });
      }
    });
}
