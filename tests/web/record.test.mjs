// The page of `orvflow ui FILE`, in a browser.
import assert from "node:assert/strict";
import { existsSync, readFileSync } from "node:fs";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { fileURLToPath } from "node:url";
import { folder, open, painted, removeFolder, showProgram, startBrowser, stopBrowser, textOf, tryProgram, writeFlow } from "./support.mjs";

const kHtml = '<img src=x onerror="alert(1)"><b>bold</b>';

let shown;
let count; // of deliveries
before(async () => {
  await startBrowser();
  const flow = writeFlow(
    "recorded.xml",
    `Recorded ${kHtml}`,
    [
      { type: "Counter", name: "Count", maps: [["counted", "Counter,Twice,count", "Counter,Count,count"], ["reached", "Counter,Nobody,count"]], parameters: { Limit: "12", Password: "do-not-show", Note: kHtml } },
      { type: "Counter", name: "Twice", maps: [["counted"]], parameters: { Limit: "0" } },
      { type: "Counter", name: "Never", maps: [["reached", "Counter,Count,count"]] },
    ],
    ["Counter", "Count", "count"],
  );
  tryProgram("run", flow, "--force", "--fresh", "--record", "run.record");
  assert.ok(existsSync(join(folder, "run.record")));
  shown = await showProgram("ui", "run.record");
});
after(async () => {
  shown?.child.kill("SIGKILL");
  await stopBrowser();
  removeFolder();
});

async function openRecord(options = {}) {
  const page = await open(shown.address, options);
  await page.waitForSelector('html[data-state="record"]', { timeout: 60000 });
  count = Number(await page.$eval("#place", (slider) => slider.max));
  return page;
}
const moment = (page, number) => page.waitForFunction((hash) => location.hash === hash, { timeout: 60000 }, `#d=${number}`).then(() => painted(page));
const panel = (page) => textOf(page, "#panel");
const panelHas = (page, text) => page.waitForFunction((text) => document.querySelector("#panel").textContent.includes(text), { timeout: 60000 }, text);

test("it begins at the end, and asks nobody else", async () => {
  const page = await openRecord();
  assert.ok(count > 20);
  await panelHas(page, "Dictionary at this moment");
  assert.match(await textOf(page, "#moment"), new RegExp(`${count} of ${count}`));
  assert.match(await textOf(page, "#state"), /recorded/);
  assert.equal(await textOf(page, "h1"), `Recorded ${kHtml}`);
  assert.match(await textOf(page, "#failures"), /Counter Nobody\.count: no node/);
  assert.equal(await page.$("body img, body b"), null);
  assert.deepEqual(page.errors, []);
  const own = new URL(shown.address).origin;
  assert.deepEqual(page.asked.filter((url) => !url.startsWith(own) && !url.startsWith("blob:") && !url.startsWith("data:")), []);
  await page.close();
});

test("slider, buttons, keys, links and the address lead to moments", async () => {
  const page = await openRecord();
  await page.$eval("#place", (slider) => {
    slider.value = "3";
    slider.dispatchEvent(new Event("input"));
  });
  await moment(page, 3);
  await page.click("#on");
  await moment(page, 4);
  await page.click("#back");
  await moment(page, 3);
  await page.keyboard.press(".");
  await moment(page, 4);
  await page.evaluate(() => document.activeElement.blur());
  await page.keyboard.press("Home");
  await moment(page, 0);
  assert.match(await panel(page), /Before the first delivery/);
  assert.equal(await textOf(page, "#delivered"), "0");
  await page.evaluate(() => (location.hash = "#d=5"));
  await panelHas(page, "Delivery 5");
  await page.click('#deliveries button[aria-label="Delivery 2"]');
  await moment(page, 2);
  await page.evaluate(() => (location.hash = "#d=99999"));
  await page.waitForFunction(() => document.querySelector("#answer").textContent.includes("no such delivery"));
  assert.equal(page.errors.filter((text) => !text.includes("404")).length, 0);
  await page.close();
});

test("a moment tells what was changed, why, and what the dictionary held", async () => {
  const page = await openRecord();
  await page.evaluate(() => (location.hash = "#d=3"));
  await panelHas(page, "Delivery 3");
  const text = await panel(page);
  assert.match(text, /What it changed\/Counter\/[^−]*− int 1\+ int 2/);
  assert.match(text, /Why it ran1 Counter Count\.count/);
  assert.match(text, /What came of it/);
  await page.waitForSelector("#panel .entries");
  const link = await page.waitForFunction(() => [...document.querySelectorAll("#panel .entries button")].find((each) => each.textContent === "Counter"));
  await link.click();
  await page.waitForFunction(() => document.querySelector("#panel .crumbs").textContent === "all/Counter");
  assert.deepEqual(page.errors, []);
  await page.close();
});

test("a node is shown as it was, without its secrets", async () => {
  const page = await openRecord();
  await page.evaluate(() => (location.hash = "#d=3"));
  await panelHas(page, "Delivery 3");
  await page.click('#picture g.node[aria-label*=" Count,"]');
  await panelHas(page, "deliveries");
  let text = await panel(page);
  assert.match(text, /Delivered2/);
  assert.match(text, /Passwordnot shown/);
  assert.ok(text.includes(kHtml) && !text.includes("do-not-show"));
  assert.equal(await page.$("body img, body b"), null);
  await page.click('#picture g.node[aria-label*=" Never,"]');
  await panelHas(page, "Why has it not run?");
  await page.click("#panel button:not(.close)");
  await panelHas(page, "Never did not run");
  assert.deepEqual(page.errors, []);
  await page.close();
});

for (const scheme of ["light", "dark"]) {
  for (const [width, height] of [[1280, 800], [390, 844]]) {
    test(`axe finds nothing, ${scheme}, ${width} wide, and nothing is wider than the window`, async () => {
      const page = await openRecord({ width, height, scheme });
      await page.evaluate(() => (location.hash = "#d=7"));
      await panelHas(page, "Delivery 7");
      await page.waitForSelector("#panel .entries");
      await page.evaluate(readFileSync(fileURLToPath(import.meta.resolve("axe-core/axe.min.js")), "utf8"));
      const { violations } = await page.evaluate(() => globalThis.axe.run());
      assert.deepEqual(violations.map(({ id, nodes }) => [id, nodes.map((node) => node.html)]), []);
      assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
      if (process.env.ORVFLOW_PICTURES) await page.screenshot({ path: join(process.env.ORVFLOW_PICTURES, `record-${scheme}-${width}.png`) });
      await page.close();
    });
  }
}
