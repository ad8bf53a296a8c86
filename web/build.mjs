// node build.mjs FOLDER: writes FOLDER/graph.html, the page that `orvflow graph -o x.html` fills in: one file with the
// script, the styles and the layout program in it. The same bytes each time.
import { createHash } from "node:crypto";
import { mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
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

const script = await bundle("graph/main.ts");
const style = await bundle("graph/page.css");
const hash = createHash("sha256").update(script).digest("base64");
let page = readFileSync("graph/page.html", "utf8");
page = put(page, "@SCRIPT_HASH@", `'sha256-${hash}'`);
page = put(page, "@STYLE@", style);
page = put(page, "@SCRIPT@", script);
for (const mark of ["@TITLE@", "@DATA@"]) {
  if (page.split(mark).length !== 2) throw new Error(`the program needs ${mark} once`);
}
mkdirSync(folder, { recursive: true });
writeFileSync(join(folder, "graph.html"), page);
