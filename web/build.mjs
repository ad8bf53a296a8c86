// node build.mjs FOLDER: writes FOLDER/graph.html, the page that `orvflow graph -o x.html` fills in, and FOLDER/live.html.gz,
// the page of `orvflow run --ui`, compressed: each one file with the script, the styles and the layout program in it. The
// same bytes each time.
import { createHash } from "node:crypto";
import { mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { gzipSync } from "node:zlib";
import { build } from "esbuild";

const folder = process.argv[2] ?? ".";

async function bundle(file) {
  const result = await build({
    entryPoints: [file],
    bundle: true,
    minify: true,
    write: false,
    format: "iife",
    target: "es2021",
    charset: "utf8",
    legalComments: "none",
    logLevel: "warning",
  });
  return result.outputFiles[0].text.trim();
}

// A function: "$&" in what is put in stands for itself.
function put(page, mark, text) {
  if (page.split(mark).length !== 2) throw new Error(`${mark} has to stand in the page once`);
  return page.replace(mark, () => text);
}

async function makePage(source) {
  const script = await bundle(`${source}/main.ts`);
  if (/<\/script/i.test(script)) throw new Error(`${source}: the script would end its own element`);
  const style = await bundle(`${source}/page.css`);
  const hash = createHash("sha256").update(script).digest("base64");
  let page = readFileSync(`${source}/page.html`, "utf8");
  page = put(page, "@SCRIPT_HASH@", `'sha256-${hash}'`);
  page = put(page, "@STYLE@", style);
  return put(page, "@SCRIPT@", script);
}

mkdirSync(folder, { recursive: true });
const graph = await makePage("graph");
for (const mark of ["@TITLE@", "@DATA@"]) {
  if (graph.split(mark).length !== 2) throw new Error(`the program needs ${mark} once`);
}
writeFileSync(join(folder, "graph.html"), graph);
const live = gzipSync(await makePage("live"), { level: 9 });
live[9] = 255; // the system that compressed it does not show
writeFileSync(join(folder, "live.html.gz"), live);
