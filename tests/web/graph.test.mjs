// The page of `orvflow graph -o FILE.html`, in a browser, as people use it.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { fileURLToPath } from "node:url";
import {
  dataOf, makePage, nodeNamed, open, painted, placeOf, removeFolder, runProgram, startBrowser, stopBrowser, textOf, top,
  writeFlow,
} from "./support.mjs";

const backup = join(top, "examples/01_backup/flow.xml");
let backupPage;

before(async () => {
  await startBrowser();
  backupPage = makePage(backup, "backup.html");
});
after(async () => {
  await stopBrowser();
  removeFolder();
});

test("every node and signal of each example is drawn, and the page asks for nothing but itself", async () => {
  for (const example of ["01_backup", "02_interrupted", "03_absorb"]) {
    const file = makePage(join(top, "examples", example, "flow.xml"), `${example}.html`);
    const data = dataOf(file);
    const page = await open(file);
    assert.ok(data.nodes.length > 0);
    for (const node of data.nodes) await nodeNamed(page, node.name);
    const edges = await page.$$eval("#picture g.edge", (edges) => edges.map((edge) => edge.textContent));
    for (const arrow of data.arrows) {
      assert.ok(edges.some((text) => text.includes(arrow.fired) && text.includes(arrow.taken)), arrow.fired);
    }
    assert.equal(await page.title(), data.title);
    assert.equal(await textOf(page, "h1"), data.title);
    assert.deepEqual(page.errors, []);
    assert.deepEqual(page.asked.filter((url) => !url.startsWith("blob:")), [`file://${file}`]);
    await page.close();
  }
});

test("text stays inside its box", async () => {
  const page = await open(backupPage);
  const outside = await page.$$eval("#picture g.node", (nodes) =>
    nodes.flatMap((node) => {
      const box = node.querySelector("path, polygon")?.getBoundingClientRect();
      const texts = box ? [...node.querySelectorAll("text")] : [];
      return texts
        .filter((text) => {
          const place = text.getBoundingClientRect();
          return place.left < box.left || place.right > box.right;
        })
        .map((text) => text.textContent);
    }),
  );
  assert.deepEqual(outside, []);
  await page.close();
});

test("a click shows a node, its signals lead to its neighbours, and Escape leads back", async () => {
  const page = await open(backupPage);
  await (await nodeNamed(page, "Copier")).click();
  assert.equal(await textOf(page, "#panel h2"), "Copier");
  const panel = await textOf(page, "#panel");
  for (const text of ["FileCopier", "BackupNodes", "verified", "finished", "Overwrite"]) assert.ok(panel.includes(text), text);
  // Source, Copier and its three other neighbours stand out.
  assert.equal((await page.$$("#picture g.node.lit")).length, 5);
  const links = await page.$$("#panel li .link");
  await links[0].click();
  assert.equal(await textOf(page, "#panel h2"), "Source");
  assert.equal((await page.$$("#picture g.node.lit")).length, 3); // the beginning, itself, the copier
  await page.keyboard.press("Escape");
  assert.equal(await textOf(page, "#panel h2"), "Workflow");
  assert.equal((await page.$$("#picture .lit")).length, 0);
  await page.close();
});

test("names, types and signals are found, one after the other", async () => {
  const page = await open(backupPage);
  await page.keyboard.press("/");
  await page.keyboard.type("COPIER");
  assert.equal(await textOf(page, "#hits"), "1 of 1");
  await page.keyboard.press("Escape");
  await page.keyboard.press("/");
  await page.keyboard.type("failed");
  assert.equal(await textOf(page, "#hits"), "1 of 2");
  await page.keyboard.press("Enter");
  assert.equal(await textOf(page, "#hits"), "2 of 2");
  await page.keyboard.press("Enter");
  assert.equal(await textOf(page, "#hits"), "1 of 2");
  await page.click("#previous");
  assert.equal(await textOf(page, "#hits"), "2 of 2");
  assert.equal((await page.$$("#picture .hit")).length, 2);
  await page.$eval("#query", (field) => (field.value = ""));
  await page.type("#query", "no such name");
  assert.equal(await textOf(page, "#hits"), "none");
  assert.equal(await page.$eval("#next", (button) => button.disabled), true);
  await page.close();
});

test("a hit that is out of sight comes into sight", async () => {
  const page = await open(backupPage);
  for (let i = 0; i < 40; ++i) await page.click("#larger");
  await page.type("#query", "ReportWriter");
  await painted(page);
  const inside = await page.evaluate(() => {
    const box = document.querySelector("#picture").getBoundingClientRect();
    const place = document.querySelector("#picture .current").getBoundingClientRect();
    const middle = { x: place.x + place.width / 2, y: place.y + place.height / 2 };
    return Math.abs(middle.x - box.x - box.width / 2) < 2 && Math.abs(middle.y - box.y - box.height / 2) < 2;
  });
  assert.ok(inside);
  await page.close();
});

test("the picture is dragged and zoomed by the mouse, and a drag is no click", async () => {
  const page = await open(backupPage);
  const start = await placeOf(page);
  const node = await (await nodeNamed(page, "Copier")).boundingBox();
  const at = { x: node.x + node.width / 2, y: node.y + node.height / 2 };
  await page.mouse.move(at.x, at.y);
  await page.mouse.down();
  await page.mouse.move(at.x + 100, at.y + 40, { steps: 5 });
  await page.mouse.up();
  const dragged = await placeOf(page);
  assert.ok(Math.abs(dragged.x - start.x - 100) < 1 && Math.abs(dragged.y - start.y - 40) < 1);
  assert.equal(await textOf(page, "#panel h2"), "Workflow");
  // What is below the pointer stays there.
  await page.mouse.wheel({ deltaY: -300 });
  const zoomed = await placeOf(page);
  assert.ok(zoomed.scale > dragged.scale * 1.5);
  const moved = await (await nodeNamed(page, "Copier")).boundingBox();
  assert.ok(Math.abs(moved.x + moved.width / 2 - at.x - 100) < 2);
  await page.click("#fit");
  assert.deepEqual(await placeOf(page), start);
  await page.close();
});

test("two fingers zoom", async () => {
  const page = await open(backupPage, { width: 390, height: 800 });
  const start = await placeOf(page);
  const client = await page.createCDPSession();
  const touch = (type, ...points) =>
    client.send("Input.dispatchTouchEvent", { type, touchPoints: points.map(([x, y], id) => ({ x, y, id })) });
  await touch("touchStart", [150, 400], [250, 400]);
  await touch("touchMove", [100, 400], [300, 400]);
  await touch("touchEnd");
  const end = await placeOf(page);
  assert.ok(end.scale > start.scale * 1.5, `${start.scale} -> ${end.scale}`);
  await page.close();
});

test("all of it can be used with the keyboard alone", async () => {
  const page = await open(backupPage);
  const start = await placeOf(page);
  await page.focus("#picture");
  await page.keyboard.press("ArrowLeft");
  assert.ok((await placeOf(page)).x > start.x);
  await page.keyboard.press("+");
  assert.ok((await placeOf(page)).scale > start.scale);
  await page.keyboard.press("0");
  assert.deepEqual(await placeOf(page), start);
  const names = new Set();
  for (let i = 0; i < 5; ++i) {
    await page.keyboard.press("Tab");
    await page.keyboard.press("Enter");
    names.add(await textOf(page, "#panel h2"));
  }
  assert.deepEqual([...names].sort(), ["Copier", "Failures", "Report", "Source", "Verifier"]);
  await page.keyboard.press("p");
  assert.equal(await page.$eval("#panel", (panel) => getComputedStyle(panel).display), "none");
  assert.equal(await page.$eval("#toggle", (button) => button.getAttribute("aria-expanded")), "false");
  await page.close();
});

test("what check finds stands beside the picture and at its node", async () => {
  const file = makePage(join(top, "tests/cases/flows/receiver-type-missing.xml"), "broken.html");
  const page = await open(file);
  const findings = await textOf(page, "#panel .findings");
  assert.match(findings, /no node type "Painter"/);
  const text = await page.$$eval("#panel .findings li", (items) => items.map((item) => item.textContent).find((t) => t.includes("Painter")));
  assert.match(text, /Source/);
  await (await nodeNamed(page, "Source")).click();
  assert.match(await textOf(page, "#panel .findings"), /Painter/);
  await page.close();
  const quiet = makePage(join(top, "tests/cases/flows/receiver-type-missing.xml"), "quiet.html", "--no-findings");
  assert.deepEqual(dataOf(quiet).findings, []);
});

test("names and values that are HTML stay text", async () => {
  const attack = `</script><script>alert(1)</script><img src=x onerror=alert(2)>&"'`;
  const flow = writeFlow(
    "attack.xml",
    attack,
    [{ type: "Relay", name: "One", maps: [["fired", `Relay<b>,One"><svg onload=alert(3)>,go</title>`], ["a", "Relay,One,<i>"]] }],
    ["Relay", "One", attack],
  );
  const file = makePage(flow, "attack.html");
  const page = await open(file);
  await painted(page);
  assert.deepEqual(page.errors, []);
  assert.equal(await textOf(page, "h1"), attack);
  assert.equal(await page.title(), attack);
  assert.equal(await page.$("img"), null);
  assert.equal((await page.$$("script")).length, 2);
  await (await nodeNamed(page, "One")).click();
  assert.ok((await textOf(page, "#panel")).includes("<i>"));
  assert.deepEqual(page.errors, []);
  assert.equal(page.asked.filter((url) => !url.startsWith("blob:")).length, 1);
  await page.close();
});

test("a script that is not the page's does not run", async () => {
  const page = await open(backupPage);
  await page.evaluate(() => {
    const script = document.createElement("script");
    script.textContent = "window.foreign = true";
    document.body.append(script);
  });
  assert.equal(await page.evaluate(() => window.foreign), undefined);
  assert.match(page.errors.join(), /Content Security Policy/);
  await page.close();
});

test("axe finds nothing, light and dark, wide and narrow, with a node chosen", async () => {
  const axe = fileURLToPath(import.meta.resolve("axe-core/axe.min.js"));
  for (const [width, scheme] of [[1280, "light"], [1280, "dark"], [390, "light"], [390, "dark"]]) {
    const page = await open(backupPage, { width, scheme, before: (page) => page.setBypassCSP(true) });
    await page.evaluate(readFileSync(axe, "utf8"));
    for (const chosen of ["", "Copier"]) {
      if (chosen) await (await nodeNamed(page, chosen)).click();
      const violations = await page.evaluate(async () =>
        (await window.axe.run(document)).violations.map((v) => `${v.id}: ${v.nodes.map((n) => n.html.slice(0, 120)).join(" | ")}`),
      );
      assert.deepEqual(violations, [], `${width} ${scheme} ${chosen}`);
    }
    await page.close();
  }
});

test("where there are no workers the page draws by itself", async () => {
  const page = await open(backupPage, {
    before: (page) =>
      page.evaluateOnNewDocument(() => {
        window.Worker = class {
          constructor() {
            throw new Error("none");
          }
        };
      }),
  });
  await nodeNamed(page, "Copier");
  assert.equal(page.asked.length, 1);
  await page.close();
});

// A tree of `count` nodes, each below one of the `reach` before it, with some ways back.
function writeTree(name, count, reach) {
  let seed = 1;
  const random = (below) => {
    seed = (seed * 1103515245 + 12345) % 2147483648;
    return Math.floor((seed / 2147483648) * below);
  };
  const nodes = Array.from({ length: count }, (_, i) => ({ type: "Relay", name: `N${i}`, maps: [] }));
  for (let i = 1; i < count; ++i) {
    nodes[Math.max(0, i - 1 - random(Math.min(i, reach)))].maps.push([`done${i}`, `Relay,N${i},go`]);
    if (i % 9 === 0) nodes[i].maps.push(["back", `Relay,N${Math.max(0, i - random(40))},go`]);
  }
  return writeFlow(name, "Large", nodes, ["Relay", "N0", "go"]);
}

test("a wiring that layers do not suit is drawn all the same, and says so", async () => {
  const nodes = [];
  for (let i = 0; i < 1000; ++i) {
    const maps = [["done", `Relay,N${i + 1},go`]];
    if (i % 7 === 0) maps.push(["other", `Relay,N${(i * 13) % 1000},go`]);
    nodes.push({ type: "Relay", name: `N${i}`, maps: i === 999 ? [] : maps });
  }
  const page = await open(makePage(writeFlow("long.xml", "Long", nodes, ["Relay", "N0", "go"]), "long.html", "--no-findings"));
  await page.click("#fold");
  await page.waitForFunction(() => document.querySelectorAll("#picture g.node").length > 1000, { timeout: 120000 });
  assert.equal((await page.$$("#picture g.node[role=button]")).length, 1000);
  assert.equal(await textOf(page, "#simply:not([hidden])"), "drawn simply");
  await page.close();
});

const nodeCount = (page) => page.$$eval("#picture g.node[role=button]", (nodes) => nodes.length);
const hasNodes = (page, count) => page.waitForFunction((count) => document.querySelectorAll("#picture g.node[role=button]").length === count, { timeout: 60000 }, count);

test("a thousand nodes of one type are one box, out of which a search takes single ones", async () => {
  const page = await open(makePage(writeTree("large.xml", 1000, 60), "large.html", "--no-findings"));
  assert.equal(await nodeCount(page), 1);
  assert.match(await textOf(page, "#picture g.node[aria-expanded=false]"), /Relay.*1,000 instances/s);
  await (await nodeNamed(page, "Relay")).click();
  assert.match(await textOf(page, "#note"), /1,000 instances/);
  await page.type("#query", "N777");
  assert.equal(await textOf(page, "#hits"), "1 of 1, folded");
  await page.keyboard.press("Enter");
  await hasNodes(page, 2);
  assert.equal(await textOf(page, "#hits"), "1 of 1");
  await (await nodeNamed(page, "N777")).click();
  assert.equal(await textOf(page, "#panel h2"), "N777");
  assert.match(await textOf(page, "#picture g.node[aria-expanded=false]"), /999 more instances/);
  await page.click("#fold");
  await hasNodes(page, 1000);
  assert.equal(await page.$("#simply:not([hidden])"), null);
  assert.deepEqual(page.errors, []);
  await page.close();
});

// Three types in rows, with arrows from each node to its neighbours in the other rows.
function writeRows(name, length) {
  const types = ["Source", "Filter", "Sink"];
  const nodes = types.flatMap((type, row) =>
    Array.from({ length: row === 1 ? 20 : length }, (_, i) => ({ type, name: `${type}${i}`, maps: row < 2 ? [["out", `${types[row + 1]},${types[row + 1]}${i % (row === 0 ? 20 : length)},in`]] : [] })),
  );
  return writeFlow(name, "F", nodes, ["Source", "Source0", "go"]);
}

test("types are folded, unfolded and folded again with the keyboard, and arrows are bundled", async () => {
  const page = await open(makePage(writeRows("rows.xml", 300), "rows.html", "--no-findings"));
  assert.equal(await nodeCount(page), 3);
  const edges = () => page.$$eval("#picture g.edge", (edges) => edges.map((edge) => edge.textContent.replace(/\s+/g, " ").trim()));
  assert.ok((await edges()).some((text) => text === "out → in × 300"), String(await edges()));
  const filter = await page.waitForSelector('#picture g.node[aria-label^="Filter "]');
  await filter.evaluate((element) => element.focus());
  await page.keyboard.press("Enter");
  await hasNodes(page, 22);
  const focused = () => page.evaluate(() => [document.activeElement.getAttribute("class"), document.activeElement.getAttribute("aria-label")]);
  assert.deepEqual(await focused(), ["cluster", "Filter (20 instances)"]);
  assert.ok((await edges()).includes("out → in × 15"), String(await edges()));
  await page.keyboard.press("Enter");
  await hasNodes(page, 3);
  assert.deepEqual(await focused(), ["node", "Filter 20 instances"]);
  await page.keyboard.press("f");
  await hasNodes(page, 620);
  await page.keyboard.press("f");
  await hasNodes(page, 3);
  // Two types of 300 would be too many boxes.
  await (await nodeNamed(page, "Source")).click();
  await hasNodes(page, 302);
  await (await nodeNamed(page, "Sink")).evaluate((element) => element.dispatchEvent(new MouseEvent("click", { bubbles: true })));
  await page.waitForFunction(() => document.querySelector("#note").textContent.includes("300 instances"));
  assert.equal(await nodeCount(page), 302);
  assert.deepEqual(page.errors, []);
  await page.close();
});

test("a workflow of which little is to be seen can be folded too", async () => {
  const page = await open(makePage(writeRows("few.xml", 5), "few.html", "--no-findings"));
  assert.equal(await nodeCount(page), 30);
  await page.click("#fold");
  await hasNodes(page, 3);
  await page.type("#query", "Sink4");
  await page.keyboard.press("Enter");
  await hasNodes(page, 7);
  assert.equal(await textOf(page, "#hits"), "1 of 1");
  await page.close();
  const backup = await open(backupPage);
  assert.equal(await backup.$("#fold:not([hidden])"), null); // no type has two
  await backup.close();
});

test("what was laid out in a tab is not laid out again there", async () => {
  const page = await open(makePage(writeRows("again.xml", 100), "again.html", "--no-findings"), {
    before: (page) =>
      page.evaluateOnNewDocument(() => {
        window.workers = 0;
        const Real = window.Worker;
        window.Worker = class extends Real {
          constructor(...words) {
            super(...words);
            window.workers += 1;
          }
        };
      }),
  });
  const count = () => page.evaluate(() => window.workers);
  const first = await count();
  assert.ok(first > 0);
  await page.keyboard.press("f");
  await hasNodes(page, 3);
  assert.ok((await count()) > first);
  const second = await count();
  await page.keyboard.press("f");
  await hasNodes(page, 220);
  assert.equal(await count(), second);
  await page.reload();
  await page.waitForSelector("html[data-drawn]");
  assert.equal(await nodeCount(page), 220);
  assert.equal(await count(), 0);
  await page.close();
});

test("the same page each time", () => {
  const first = readFileSync(makePage(backup, "one.html"));
  assert.ok(first.equals(readFileSync(makePage(backup, "two.html"))));
});

test("a page that cannot be written is said", () => {
  assert.throws(
    () => runProgram("graph", backup, "-o", "no/such/folder/page.html"),
    (error) => error.status === 1 && /no\/such\/folder\/page.html: cannot be written/.test(error.stderr),
  );
});
