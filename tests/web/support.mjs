// The program under test, flows made on the fly, and a browser.
import { execFileSync, spawn, spawnSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { dirname, join } from "node:path";
import { fileURLToPath, pathToFileURL } from "node:url";
import puppeteer from "puppeteer-core";

export const top = process.env.ORVFLOW_SOURCE ?? join(dirname(fileURLToPath(import.meta.url)), "..", "..");

// ORVFLOW: the program, with what has to stand before it, each word in a line.
const command = (process.env.ORVFLOW ?? join(top, "build/release/bin/orvflow")).split("\n");

export const folder = mkdtempSync(join(tmpdir(), "orvflow-page-"));
export function removeFolder() {
  rmSync(folder, { recursive: true, force: true });
}

export function runProgram(...words) {
  return execFileSync(command[0], [...command.slice(1), ...words], { cwd: folder, encoding: "utf8", stdio: "pipe" });
}

// The same for one whose exit code does not matter.
export function tryProgram(...words) {
  return spawnSync(command[0], [...command.slice(1), ...words], { cwd: folder, encoding: "utf8", stdio: "pipe" });
}

// The page of a flow file, made by the program.
export function makePage(flow, name = "page.html", ...options) {
  runProgram("graph", ...options, flow, "-o", name);
  return join(folder, name);
}

export function dataOf(page) {
  const text = readFileSync(page, "utf8");
  return JSON.parse(/<script id="data" type="application\/json">(.*?)<\/script>/s.exec(text)[1]);
}

function escape(text) {
  return text.replace(/[&<>]/g, (c) => ({ "&": "&amp;", "<": "&lt;", ">": "&gt;" })[c]);
}

// `maps` of a node: ["fired", "Type,Instance,taken", ...]...; `parameters`: { name: text }
export function writeFlow(name, title, nodes, start) {
  const types = new Map();
  for (const node of nodes) types.set(node.type, [...(types.get(node.type) ?? []), node]);
  const instance = (node) =>
    `<${node.name}><wfName __type="str">F</wfName><maps>${node.maps
      .map(([fired, ...texts]) => `<${fired}>${texts.map((text, i) => `<map${i} __type="str">${escape(text)}</map${i}>`).join("")}</${fired}>`)
      .join("")}</maps><Parameters>${Object.entries(node.parameters ?? {})
      .map(([name, text]) => `<${name} __type="str">${escape(text)}</${name}>`)
      .join("")}</Parameters></${node.name}>`;
  const text = `<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<IDictionaryRoot IDictionaryFileVersion="2.0.0.0"><WorkFlowEngine>
<WorkFlowName __type="str">${escape(title)}</WorkFlowName>
<Mappings><StartSignal>
<ReceiverTypeName __type="str">${start[0]}</ReceiverTypeName>
<ReceiverInstanceName __type="str">${start[1]}</ReceiverInstanceName>
<IncomingSignalName __type="str">${escape(start[2])}</IncomingSignalName>
</StartSignal></Mappings>
<WorkNodes>${[...types]
    .map(
      ([type, of]) =>
        `<${type}><Binaries><win32_bin __type="str">FlowNodes</win32_bin></Binaries><Instances>${of
          .map(instance)
          .join("\n")}</Instances></${type}>\n`,
    )
    .join("")}</WorkNodes></WorkFlowEngine></IDictionaryRoot>
`;
  const path = join(folder, name);
  writeFileSync(path, text);
  return path;
}

// `orvflow run FLOW --ui`, from the line with its address to its end: { address, stop(), ended }.
export function showRun(flow, ...options) {
  return showProgram("run", flow, "--fresh", "--force", ...(options.some((option) => option.startsWith("--ui")) ? [] : ["--ui"]), ...options);
}

export function showProgram(...words) {
  const child = spawn(command[0], [...command.slice(1), ...words], { cwd: folder, stdio: ["pipe", "pipe", "pipe"] });
  const run = { child, error: "", ended: new Promise((resolve) => child.on("close", (code) => resolve(code))) };
  children.add(child);
  child.on("close", () => children.delete(child));
  child.stdin.end();
  child.stdout.resume();
  return new Promise((resolve, reject) => {
    child.stderr.on("data", (bytes) => {
      run.error += bytes;
      run.address = /http:\/\/127\.0\.0\.1:\d+\/\?token=\w+/.exec(run.error)?.[0];
      if (run.address) resolve(run);
    });
    child.on("error", reject);
    child.on("close", () => reject(new Error(`the run ended: ${run.error}`)));
  });
}

// A test that failed leaves its own behind.
const children = new Set();

let browser;
export async function startBrowser() {
  browser = await puppeteer.launch({
    executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
    // A sandbox of its own cannot be had in a container; what is shown is ours.
    args: ["--no-sandbox", "--disable-dev-shm-usage", "--force-color-profile=srgb"],
  });
}
export async function stopBrowser() {
  for (const child of children) child.kill("SIGKILL");
  await browser?.close();
}

// Opens a page and waits until it is drawn. What it asked for, and what went wrong in it, is in `asked` and `errors`.
export async function open(place, { width = 1280, height = 800, scheme = "light", before } = {}) {
  const page = await browser.newPage();
  page.asked = [];
  page.errors = [];
  page.on("request", (request) => page.asked.push(request.url()));
  page.on("pageerror", (error) => page.errors.push(String(error)));
  page.on("console", (message) => ["error", "warn"].includes(message.type()) && page.errors.push(message.text()));
  page.on("dialog", (dialog) => {
    page.errors.push(`dialog: ${dialog.message()}`);
    dialog.dismiss();
  });
  await page.setViewport({ width, height });
  await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: scheme }]);
  await before?.(page);
  await page.goto(/^http:/.test(place) ? place : pathToFileURL(place).href);
  await page.waitForSelector("html[data-drawn]", { timeout: 120000 });
  return page;
}

// Two frames later all that was asked for is painted.
export function painted(page) {
  return page.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));
}

export function textOf(page, selector) {
  return page.$eval(selector, (element) => element.textContent);
}

// The picture's shift and zoom: { x, y, scale }.
export async function placeOf(page) {
  await painted(page);
  const text = await page.$eval("#picture svg", (svg) => `${svg.style.transform} ${svg.querySelector(":scope > g").getAttribute("transform")}`);
  const [, byX, byY, x, y, scale] = /translate\((\S+)px, (\S+)px\) translate\((\S+) (\S+)\) scale\((\S+)\)/.exec(text);
  return { x: +x + +byX, y: +y + +byY, scale: +scale };
}

export async function nodeNamed(page, name) {
  const node = await page.waitForSelector(`#picture g.node[aria-label^="${name} "]`);
  return node;
}
