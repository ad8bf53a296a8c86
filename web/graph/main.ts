import { readData } from "./data.ts";
import { drawBeside, serve } from "./layout.ts";
import { Panel } from "./panel.ts";
import { isStart, Picture, readPicture } from "./picture.ts";
import { Search } from "./search.ts";
import { View } from "./view.ts";

function byId<T extends HTMLElement>(id: string): T {
  const element = document.getElementById(id);
  if (!element) throw new Error(`no element ${id}`);
  return element as T;
}

async function start(script: string): Promise<void> {
  const data = readData();
  byId("title").textContent = data.title;
  const notice = byId("notice");
  if (data.nodes.length > 300) notice.textContent = `Drawing ${data.nodes.length} nodes…`;
  const began = performance.now();
  const drawing = await drawBeside(script, data.dot, () => {
    notice.textContent = "The wiring is too long or too dense to be drawn in layers soon: drawing it more simply…";
  });
  const picture = new Picture(readPicture(drawing.svg));
  const box = byId("picture");
  const view = new View(box, picture.svg, (scale) => {
    byId("scale").textContent = `${Math.round(scale * 100)} %`;
  });
  if (drawing.engine === "sfdp") byId("simply").hidden = false;
  const panel = new Panel(byId("panel"), data, (id) => choose(id, true));

  function choose(id: string, revealed: boolean): void {
    picture.choose(id);
    const element = picture.nodes.get(id);
    if (!element) return panel.showWorkflow();
    panel.showNode(id, picture.textOf(element));
    if (revealed) view.reveal(element);
  }

  const idOf = (target: EventTarget | null): string => {
    const element = target instanceof Element ? target.closest("g.node") : null;
    for (const [id, node] of picture.nodes) if (node === element && !isStart(id)) return id;
    return "";
  };
  box.addEventListener("click", (event) => {
    if (!view.wasDragged) choose(idOf(event.target), false);
  });
  box.addEventListener("focusin", (event) => {
    const id = idOf(event.target);
    const element = picture.nodes.get(id);
    if (element?.matches(":focus-visible")) view.reveal(element);
  });

  const field = byId<HTMLInputElement>("query");
  const buttons = { previous: byId<HTMLButtonElement>("previous"), next: byId<HTMLButtonElement>("next") };
  new Search(picture, field, byId("hits"), buttons, (hit) => view.reveal(hit));
  byId("larger").addEventListener("click", () => view.larger());
  byId("smaller").addEventListener("click", () => view.smaller());
  byId("fit").addEventListener("click", () => view.fit());
  const toggle = byId("toggle");
  const setPanel = (shown: boolean) => {
    document.body.classList.toggle("without-panel", !shown);
    toggle.setAttribute("aria-expanded", String(shown));
  };
  toggle.addEventListener("click", () => setPanel(document.body.classList.contains("without-panel")));
  if (window.matchMedia("(max-width: 700px)").matches) setPanel(false);

  document.addEventListener("keydown", (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey || event.target === field) return;
    const id = idOf(event.target);
    const isControl = event.target instanceof HTMLButtonElement;
    if (event.key === "/") field.focus();
    else if (event.key === "p") toggle.click();
    else if (event.key === "Escape") choose("", false);
    else if (id !== "" && (event.key === "Enter" || event.key === " ")) choose(id, false);
    else if (isControl || !view.onKey(event.key)) return;
    event.preventDefault();
  });
  document.documentElement.dataset["drawn"] = String(Math.round(performance.now() - began));
}

if (typeof document === "undefined") {
  serve();
} else {
  start(document.currentScript?.textContent ?? "").catch((error: unknown) => {
    byId("notice").textContent = `The workflow could not be drawn: ${String(error)}`;
  });
}
