// The whole DemoFrame's work in headless Chromium, frame by frame over one full 115-s
// cycle on the page's virtual clock (?virtual: 25 ms a frame, as bench_frame runs it),
// beside the native bench_frame on one thread (the page has one) on the same machine, in
// alternating rounds: median, p99 and worst per scene, and the ratio of the medians. Each figure is the best of the
// rounds, since other work on the machine only ever adds time. The page's frame
// includes its present (scaling, 5.6.5 to RGBA, the canvas); bench_frame presents to a
// null sink.
// Then the live page with its sound, started from the card: the first frame's time in
// the page, and the output's underruns, frames drawn and dropped, over 10 s as it is and
// over a whole 115-s cycle under 4x CPU throttling (a slow phone or laptop).
//   bench/web/run [rounds]      (default 3)
import { execFile } from "node:child_process";
import path from "node:path";
import { promisify } from "node:util";
import {
  launchChromium,
  openPage,
  pageState,
  repoRoot,
  reports,
  serveSite,
  waitFor,
} from "../../tests/web/browser.mjs";

const rounds = Math.max(1, parseInt(process.argv[2], 10) || 3);
const kNative = path.join(repoRoot, "build/release/bench/demo/bench_frame");
const kNames = ["0", "1", "2", "3", "4", "all"];
const kFrames = 115000 / 25;

// { name: [median, p99, worst] } from bench_frame's table.
async function nativeRound() {
  const { stdout } = await promisify(execFile)(kNative, ["--threads", "1"]);
  const figures = {};
  for (const line of stdout.split("\n")) {
    const m = /^(\S+)\s+\d+\s+([\d.]+)\s+([\d.]+)\s+([\d.]+)$/.exec(line);
    if (m) figures[m[1]] = [+m[2], +m[3], +m[4]];
  }
  return figures;
}

function summary(values) {
  const v = [...values].sort((a, b) => a - b);
  return [v[v.length >> 1], v[Math.floor(v.length * 0.99)], v[v.length - 1]];
}

async function browserRound(site) {
  // The optimising compiler from the first frame: the figures are of the code the page
  // runs once warm, not of the baseline tier it starts on.
  const browser = await launchChromium(["--js-flags=--no-liftoff"]);
  try {
    const { page, log } = await openPage(browser);
    await page.goto(`${site.url}/index.html?virtual`);
    await waitFor(async () => (await pageState(page)) == "virtual", "the virtual show", 60000);
    const times = [];
    const scenes = [];
    for (let done = 0; done < kFrames; done += 200) {
      const part = await page.evaluate((n) => {
        const t = [], s = [];
        for (let i = 0; i < n; ++i) {
          const start = performance.now();
          s.push(Module._WebVirtualFrame());
          t.push(performance.now() - start);
        }
        return { t, s };
      }, Math.min(200, kFrames - done));
      times.push(...part.t);
      scenes.push(...part.s);
    }
    if (log.errors.length) throw new Error(`the page reported errors: ${log.errors.join("; ")}`);
    const figures = { all: summary(times) };
    for (let s = 0; s < 5; ++s) figures[String(s)] = summary(times.filter((_, i) => scenes[i] == s));
    return { figures, version: await browser.version() };
  } finally {
    await browser.close();
  }
}

// The live page from a click on its card, for `seconds` of reports, the CPU slowed
// `throttle` times.
async function liveRound(site, throttle, seconds) {
  const browser = await launchChromium();
  try {
    const { page, log } = await openPage(browser);
    await page.goto(`${site.url}/index.html`);
    await waitFor(async () => (await pageState(page)) == "ready", "the start card", 60000);
    const cdp = await page.createCDPSession();
    await cdp.send("Emulation.setCPUThrottlingRate", { rate: throttle });
    await page.click("#card");
    await waitFor(() => reports(log).length >= seconds, `${seconds} s of reports`, (seconds + 60) * 1000, 500);
    if (log.errors.length) throw new Error(`the page reported errors: ${log.errors.join("; ")}`);
    const lines = reports(log);
    const first = log.lines.map((l) => /first frame took ([\d.]+) ms/.exec(l.text)).find(Boolean);
    const sum = (key) => lines.reduce((s, r) => s + r[key], 0);
    return { first: first ? +first[1] : NaN, seconds: sum("seconds"), frames: sum("frames"),
             dropped: sum("dropped"), underruns: sum("underruns"),
             output: await page.evaluate(() => Module.invitroAudio?.node?.constructor.name) };
  } finally {
    await browser.close();
  }
}

const best = (a, b) => (a ? Object.fromEntries(kNames.map((n) => [n, a[n].map((x, i) => Math.min(x, b[n][i]))])) : b);

const site = await serveSite();
let native, web, version;
const live = [];
try {
  for (let r = 1; r <= rounds; ++r) {
    process.stderr.write(`round ${r} of ${rounds}: native, then the browser\n`);
    native = best(native, await nativeRound());
    const round = await browserRound(site);
    web = best(web, round.figures);
    version = round.version;
  }
  process.stderr.write("the live page with sound: 10 s, then a whole cycle under 4x CPU throttling\n");
  live.push(["as it is, 10 s", await liveRound(site, 1, 10)]);
  live.push(["4x CPU throttling, 115 s", await liveRound(site, 4, 115)]);
} finally {
  await site.close();
}

console.log(`DemoFrame work per frame over one 115-s cycle, best of ${rounds} round(s)`);
console.log(`native: bench_frame; browser: ${version}, wasm`);
console.log("scene   native median  p99   worst | browser median  p99   worst | median ratio");
const f = (x) => x.toFixed(2).padStart(6);
for (const n of kNames) {
  const [a, b] = [native[n], web[n]];
  console.log(`${n.padEnd(5)} ${f(a[0])} ${f(a[1])} ${f(a[2])}  |  ${f(b[0])} ${f(b[1])} ${f(b[2])}  | ` +
    `${(b[0] / a[0]).toFixed(2)}`);
}

console.log("");
console.log("the live page with sound, from a click on its card:");
for (const [name, r] of live)
  console.log(`${name.padEnd(26)} first frame ${r.first.toFixed(1).padStart(6)} ms, ` +
    `${(r.frames / r.seconds).toFixed(1)} frames/s, ${r.dropped} dropped, ${r.underruns} underruns (${r.output})`);
