// scripts/test-page PRESET --measure: how quick the pages are, for whoever changes them. Takes some minutes, and says the more the less else
// the machine does. What is given in brackets is wanted.
import { framesWhileDragging, workOf, writeRing } from "./large.mjs";
import { makePage, open, painted, removeFolder, showRun, startBrowser, stopBrowser, writeFlow } from "./support.mjs";

const wait = (seconds) => new Promise((resolve) => setTimeout(resolve, seconds * 1000));
const median = (numbers) => numbers.sort((a, b) => a - b)[Math.floor(numbers.length / 2)];
const rounded = (numbers, digits = 0) => numbers.map((number) => number.toFixed(digits)).join(" ");

async function measurePainting() {
  const run = await showRun(writeRing("paint.xml", 1000, { pause: 20 }));
  const times = [];
  for (let i = 0; i < 5; ++i) {
    const began = performance.now();
    const page = await open(run.address);
    await painted(page);
    times.push((performance.now() - began) / 1000);
    await page.close();
  }
  run.child.kill("SIGKILL");
  console.log(`1,000 nodes of a run painted after [3] s: ${median(times).toFixed(2)} (${rounded(times, 2)})`);
}

// `count` nodes in rows, each of which leads to two of the next row.
function writeGrid(name, count, width) {
  const nodes = Array.from({ length: count }, (_, i) => ({
    type: `Type${i % 4}`,
    name: `N${i}`,
    maps: [i + width, i + width + 1].filter((to) => to < count).map((to, k) => [`out${k}`, `Type${to % 4},N${to},in`]),
  }));
  return writeFlow(name, "F", nodes, ["Type0", "N0", "go"]);
}

async function measurePanning() {
  const page = await open(makePage(writeGrid("grid.xml", 2000, 40), "grid.html", "--no-findings"));
  const began = performance.now();
  await page.click("#fold");
  await page.waitForFunction(() => document.querySelectorAll("#picture g.node").length > 1999, { timeout: 300000 });
  console.log(`2,000 nodes unfolded after ${((performance.now() - began) / 1000).toFixed(1)} s`);
  for (const [name, steps] of [["all of it", 0], ["enlarged", 8], ["read", 16]]) {
    await page.click("#fit");
    for (let i = 0; i < steps; ++i) await page.click("#larger");
    await painted(page);
    console.log(`frames a second while 2,000 nodes are dragged [30], ${name}: ${(await framesWhileDragging(page, 4)).toFixed(0)}`);
  }
  await page.close();
}

async function measureTabs() {
  const run = await showRun(writeRing("tabs.xml", 1000));
  const pages = [];
  for (let i = 0; i < 7; ++i) pages.push(await open(run.address));
  const updates = [];
  for (const page of pages) {
    await page.bringToFront();
    await page.waitForSelector('html[data-state="running"]');
    const count = () =>
      new Promise((resolve) => {
        let seen = 0;
        new MutationObserver(() => ++seen).observe(document.querySelector("#time"), { childList: true, characterData: true, subtree: true });
        setTimeout(() => resolve(seen / 3), 3000);
      });
    updates.push(await page.evaluate(count));
  }
  console.log(`updates a second in each of seven tabs: ${rounded(updates, 1)}`);
  for (const page of pages) await page.close();
  run.child.kill("SIGKILL");
}

// One run at its full rate, with and without five pages in turn.
async function measureSlowdown() {
  const run = await showRun(writeRing("rate.xml", 1000));
  await wait(3);
  const ratios = { rate: [], own: [], all: [] };
  const measure = async () => {
    const before = await workOf(run);
    await wait(5);
    const after = await workOf(run);
    const delivered = after.delivered - before.delivered;
    return { rate: delivered / (after.seconds - before.seconds), own: (after.own - before.own) / delivered, all: (after.all - before.all) / delivered };
  };
  for (let i = 0; i < 6; ++i) {
    const without = await measure();
    const pages = [];
    for (let k = 0; k < 5; ++k) pages.push(await open(run.address));
    const within = await measure();
    for (const page of pages) await page.close();
    for (const key of Object.keys(ratios)) ratios[key].push((within[key] / without[key] - 1) * 100);
  }
  run.child.kill("SIGKILL");
  console.log(`with five pages, the time of the thread that delivers, a signal [+3 %]: ${median(ratios.own).toFixed(1)} % (${rounded(ratios.own, 1)})`);
  console.log(`that of the whole process: ${median(ratios.all).toFixed(1)} % (${rounded(ratios.all, 1)})`);
  console.log(`signals a second, with the browser on the same machine: ${median(ratios.rate).toFixed(1)} % (${rounded(ratios.rate, 1)})`);
}

await startBrowser();
try {
  const all = { paint: measurePainting, pan: measurePanning, tabs: measureTabs, slowdown: measureSlowdown };
  const wanted = process.argv.slice(2);
  for (const [name, measure] of Object.entries(all)) if (wanted.length === 0 || wanted.includes(name)) await measure();
} finally {
  await stopBrowser();
  removeFolder();
}
