// The page of `orvflow run FLOW --ui`, in a browser, while the run goes.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { fileURLToPath } from "node:url";
import { open, removeFolder, showRun, startBrowser, stopBrowser, textOf, writeFlow } from "./support.mjs";

const kHtml = '<img src=x onerror="alert(1)"><b>bold</b>';

// Counts for ever, every 100 ms, or for so many rounds.
function tickingFlow(name, title, rounds = 0, ...more) {
  return writeFlow(
    name,
    title,
    [
      { type: "Counter", name: "Count", maps: [["counted", "Delay,Pause,start", ...more]], parameters: { Limit: String(rounds), Password: "do-not-show" } },
      { type: "Delay", name: "Pause", maps: [["passed", "Counter,Count,count"]], parameters: { Milliseconds: "100", Note: kHtml } },
      { type: "Counter", name: "Idle", maps: [["reached", "Delay,Pause,start"]] },
    ],
    ["Counter", "Count", "count"],
  );
}

let run;
before(async () => {
  await startBrowser();
  run = await showRun(tickingFlow("ticking.xml", `Ticking ${kHtml}`));
});
after(async () => {
  run?.child.kill("SIGKILL");
  await stopBrowser();
  removeFolder();
});

const number = async (page, id) => Number((await textOf(page, id)).replaceAll(",", ""));
const reaches = (page, id, least) =>
  page.waitForFunction((id, least) => Number(document.querySelector(id).textContent.replaceAll(",", "")) >= least, { timeout: 60000 }, id, least);

test("the numbers, lists and table of a run move, and nothing but the run is asked for anything", async () => {
  const page = await open(run.address);
  assert.equal(page.url(), new URL("/", run.address).href);
  await reaches(page, "#delivered", 3);
  const before = await number(page, "#delivered");
  await reaches(page, "#delivered", before + 3);
  assert.match(await textOf(page, "#state"), /running/);
  assert.match(await textOf(page, "#nodes"), /Counter Count/);
  assert.match(await textOf(page, "#deliveries tr"), /accepted/);
  assert.ok((await page.$$("#deliveries tr")).length >= 3);
  for (const name of ["Count", "Pause", "Idle"]) assert.ok(await page.$(`#picture g.node[aria-label*=" ${name},"]`), name);
  assert.deepEqual(page.errors, []);
  const own = new URL(run.address).origin;
  assert.deepEqual(page.asked.filter((url) => !url.startsWith(own) && !url.startsWith("blob:") && !url.startsWith("data:")), []);
  await page.close();
});

test("texts of a workflow are text", async () => {
  const page = await open(run.address);
  await reaches(page, "#delivered", 1);
  assert.equal(await textOf(page, "h1"), `Ticking ${kHtml}`);
  await page.click('#picture g.node[aria-label*=" Pause,"]');
  await page.waitForFunction((text) => document.querySelector("#panel").textContent.includes(text), {}, kHtml);
  assert.equal(await page.$("body img, body b"), null);
  assert.deepEqual(page.errors, []);
  await page.close();
});

test("failures are shown", async () => {
  const failing = await showRun(tickingFlow("failing.xml", "Failing", 0, "Counter,Nobody,count"));
  const page = await open(failing.address);
  await page.waitForFunction(() => document.querySelector("#failures").textContent.includes("Nobody"), { timeout: 60000 });
  await page.click("#only-failed");
  assert.match(await textOf(page, "#deliveries tr"), /! no node/);
  assert.match(await textOf(page, "#failed"), /[1-9]/);
  failing.child.kill("SIGKILL");
  await page.close();
});

test("a node's values and deliveries are shown, and what its name calls a secret is not", async () => {
  const page = await open(run.address);
  await reaches(page, "#delivered", 1);
  await page.click('#picture g.node[aria-label*=" Count,"]');
  await page.waitForFunction(() => document.querySelector("#panel").textContent.includes("deliveries"));
  const text = await textOf(page, "#panel");
  assert.match(text, /Limit/);
  assert.match(text, /count ← /);
  assert.match(text, /Passwordnot shown/);
  assert.ok(!text.includes("do-not-show"));
  await page.keyboard.press("Escape");
  assert.match(await textOf(page, "#panel"), /No node chosen/);
  await page.close();
});

test("a stranger's browser gets nothing", async () => {
  const page = await (await open(run.address)).browser().createBrowserContext().then((context) => context.newPage());
  const answer = await page.goto(new URL("/", run.address).href);
  assert.equal(answer.status(), 401);
  assert.equal((await page.goto(new URL("/api/status", run.address).href)).status(), 401);
  await page.close();
});

test("a page of somebody else cannot ask", async () => {
  const page = await open(run.address);
  await page.goto("data:text/html,<title>other</title>");
  const results = await page.evaluate(async (address) => {
    const url = new URL("/api/status", address).href;
    const asked = await fetch(url, { credentials: "include" }).then((answer) => answer.type, () => "refused");
    const live = await new Promise((resolve) => {
      const socket = new WebSocket(url.replace("http", "ws").replace("status", "live"));
      socket.onopen = () => resolve("open");
      socket.onerror = () => resolve("refused");
    });
    return { asked, live };
  }, run.address);
  assert.deepEqual(results, { asked: "refused", live: "refused" });
  await page.close();
});

test("the whole page can be used with the keyboard", async () => {
  const page = await open(run.address);
  await reaches(page, "#delivered", 1);
  await page.keyboard.press("/");
  await page.keyboard.type("pause");
  assert.match(await textOf(page, "#nodes"), /Delay Pause/);
  assert.doesNotMatch(await textOf(page, "#nodes"), /Counter Count/);
  await page.keyboard.press("Escape");
  await page.$eval('#picture g.node[aria-label*=" Pause,"]', (node) => node.focus());
  await page.keyboard.press("Enter");
  await page.waitForFunction(() => document.querySelector("#panel h2").textContent === "Pause");
  await page.keyboard.press("h");
  assert.equal(await page.$eval("#hold", (button) => button.getAttribute("aria-pressed")), "true");
  await page.close();
});

const press = (page, id) => page.click(id);
const enabled = (page, id) => page.$eval(id, (button) => button.getAttribute("aria-disabled") !== "true");
const stateIs = (page, state) => page.waitForSelector(`html[data-state="${state}"]`, { timeout: 60000 });

test("a run is paused, stepped, given a signal, and stopped and saved", async () => {
  const controlled = await showRun(tickingFlow("controlled.xml", "Controlled"), "--ui=control");
  const page = await open(controlled.address);
  await reaches(page, "#delivered", 3);
  assert.ok(!(await enabled(page, "#step")));
  await press(page, "#pause");
  await stateIs(page, "paused");
  assert.match(await textOf(page, "#state"), /paused/);
  await page.waitForFunction(() => document.querySelector("#step").getAttribute("aria-disabled") === "false", { timeout: 60000 });
  const before = await number(page, "#delivered");
  assert.equal(await number(page, "#waiting"), 1);
  await page.keyboard.press("s");
  await reaches(page, "#delivered", before + 1);
  await page.click('#picture g.node[aria-label*=" Count,"]');
  await page.waitForSelector("#injected", { timeout: 60000 });
  await page.select("#injected", "count");
  await page.click(".inject button");
  await page.waitForFunction(() => document.querySelector("#panel").textContent.includes("count is queued"), { timeout: 60000 });
  await reaches(page, "#waiting", 1);
  assert.equal(await number(page, "#delivered"), before + 1);
  await page.keyboard.press("Escape");
  await page.keyboard.press("p");
  await stateIs(page, "running");
  await reaches(page, "#delivered", before + 4);
  await press(page, "#stop");
  await page.waitForSelector("#sure[open]");
  await page.keyboard.press("Escape");
  assert.equal(await page.$eval("#sure", (dialog) => dialog.open), false);
  await press(page, "#stop");
  await press(page, "#stop-now");
  await stateIs(page, "saved");
  assert.ok(!(await enabled(page, "#pause")) && !(await enabled(page, "#step")) && !(await enabled(page, "#stop")));
  assert.equal(await controlled.ended, 6);
  assert.match(controlled.error, /stopped by its page/);
  assert.deepEqual(page.errors, []);
  await page.close();
});

test("without control there are no buttons, and a command is refused", async () => {
  const page = await open(run.address);
  await reaches(page, "#delivered", 1);
  assert.equal(await page.$eval("#control", (bar) => getComputedStyle(bar).display), "none");
  const post = () => fetch("/api/command", { method: "POST", headers: { "Content-Type": "application/json" }, body: '{"command": "pause"}' }).then((answer) => answer.status);
  assert.equal(await page.evaluate(post), 405);
  await page.close();
});

test("a page of somebody else cannot command", async () => {
  const controlled = await showRun(tickingFlow("attacked.xml", "Attacked"), "--ui=control");
  const page = await open(controlled.address);
  await page.goto("data:text/html,<title>other</title>");
  const results = await page.evaluate(async (address) => {
    const url = new URL("/api/command", address).href;
    const send = (headers, mode) => fetch(url, { method: "POST", mode, credentials: "include", headers, body: '{"command": "stop"}' }).then((answer) => answer.type, () => "refused");
    return [await send({ "Content-Type": "application/json" }, "cors"), await send({ "Content-Type": "text/plain" }, "no-cors")];
  }, controlled.address);
  assert.deepEqual(results, ["refused", "refused"]);
  await page.goto(new URL("/", controlled.address).href);
  await page.waitForSelector("html[data-drawn]");
  const before = await number(page, "#delivered");
  await reaches(page, "#delivered", (before || 0) + 3);
  controlled.child.kill("SIGKILL");
  await page.close();
});

test("several tabs are live at once", async () => {
  const pages = [];
  for (let i = 0; i < 7; ++i) pages.push(await open(run.address));
  for (const page of pages) {
    await page.bringToFront(); // one behind is painted when it is looked at
    const before = await number(page, "#delivered");
    await reaches(page, "#delivered", (Number.isNaN(before) ? 0 : before) + 2);
  }
  for (const page of pages) await page.close();
});

test("a page says how its run ended, and the run did not wait for it", async () => {
  const short = await showRun(tickingFlow("short.xml", "Short", 30));
  const page = await open(short.address);
  await page.waitForSelector('html[data-state="ended"]', { timeout: 60000 });
  assert.match(await textOf(page, "#state"), /ended/);
  assert.equal(await short.ended, 0);
  assert.deepEqual(page.errors, []);
  await page.close();
});

test("a page says that its run is gone", async () => {
  const killed = await showRun(tickingFlow("killed.xml", "Killed"));
  const page = await open(killed.address);
  await reaches(page, "#delivered", 1);
  killed.child.kill("SIGKILL");
  await page.waitForSelector("#state.lost", { timeout: 60000 });
  await page.close();
});

async function expectAccessible(page) {
  const axe = readFileSync(fileURLToPath(import.meta.resolve("axe-core/axe.min.js")), "utf8");
  await page.evaluate(axe);
  const { violations } = await page.evaluate(() => globalThis.axe.run());
  assert.deepEqual(violations.map(({ id, nodes }) => [id, nodes.map((node) => node.html)]), []);
  assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
}

for (const scheme of ["light", "dark"]) {
  for (const [width, height] of [[1280, 800], [390, 844]]) {
    test(`axe finds nothing on a paused run, ${scheme}, ${width} wide`, async () => {
      const controlled = await showRun(tickingFlow(`axe-${scheme}-${width}.xml`, "Nightly backup"), "--ui=control");
      const page = await open(controlled.address, { width, height, scheme });
      await reaches(page, "#delivered", 3);
      await press(page, "#pause");
      await stateIs(page, "paused");
      await page.$eval('#picture g.node[aria-label*=" Count,"]', (node) => node.focus());
      await page.keyboard.press("Enter");
      await page.waitForSelector("#injected", { timeout: 60000 });
      await expectAccessible(page);
      if (process.env.ORVFLOW_PICTURES) await page.screenshot({ path: join(process.env.ORVFLOW_PICTURES, `control-${scheme}-${width}.png`) });
      await press(page, "#stop");
      await page.waitForSelector("#sure[open]");
      await expectAccessible(page);
      if (process.env.ORVFLOW_PICTURES) await page.screenshot({ path: join(process.env.ORVFLOW_PICTURES, `stop-${scheme}-${width}.png`) });
      controlled.child.kill("SIGKILL");
      await page.close();
    });

    test(`axe finds nothing, ${scheme}, ${width} wide, and nothing is wider than the window`, async () => {
      const page = await open(run.address, { width, height, scheme });
      await reaches(page, "#delivered", 3);
      await page.click('#picture g.node[aria-label*=" Count,"]');
      await page.waitForFunction(() => document.querySelector("#panel").textContent.includes("deliveries"));
      await expectAccessible(page);
      if (process.env.ORVFLOW_PICTURES) await page.screenshot({ path: join(process.env.ORVFLOW_PICTURES, `live-${scheme}-${width}.png`) });
      await page.close();
    });
  }
}
