import { readData } from "./data.ts";
import { serve } from "./layout.ts";
import { Panel } from "./panel.ts";
import { Search } from "./search.ts";
import { Wiring } from "./wiring.ts";

function byId<T extends HTMLElement>(id: string): T {
  const element = document.getElementById(id);
  if (!element) throw new Error(`no element ${id}`);
  return element as T;
}

async function start(script: string): Promise<void> {
  const data = readData();
  byId("title").textContent = data.title;
  const began = performance.now();
  let search: Search | undefined;
  const wiring = new Wiring(script, (drawing) => {
    byId("simply").hidden = drawing.engine !== "sfdp";
    search?.again();
  });
  await wiring.show(data);
  const panel = new Panel(byId("panel"), data, (id) => choose(id, true));

  function choose(id: string, revealed: boolean): void {
    wiring.choose(id);
    const element = wiring.picture?.nodes.get(id);
    if (id === "") panel.showWorkflow();
    else panel.showNode(id, element ? (wiring.picture?.textOf(element) ?? "") : "");
    if (revealed) void wiring.reveal(id);
  }

  const box = byId("picture");
  box.addEventListener("click", (event) => {
    const id = wiring.view.wasDragged ? undefined : wiring.press(event.target);
    if (id !== undefined) choose(id, false);
  });

  const field = byId<HTMLInputElement>("query");
  const buttons = { previous: byId<HTMLButtonElement>("previous"), next: byId<HTMLButtonElement>("next") };
  search = new Search(wiring, data, field, byId("hits"), buttons);
  const toggle = byId("toggle");
  const setPanel = (shown: boolean) => {
    document.body.classList.toggle("without-panel", !shown);
    toggle.setAttribute("aria-expanded", String(shown));
  };
  toggle.addEventListener("click", () => setPanel(document.body.classList.contains("without-panel")));
  if (window.matchMedia("(max-width: 700px)").matches) setPanel(false);

  document.addEventListener("keydown", (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey || event.target === field) return;
    const isShape = wiring.picture?.idOf(event.target) !== "";
    const isControl = event.target instanceof HTMLButtonElement;
    if (event.key === "/") field.focus();
    else if (event.key === "p") toggle.click();
    else if (event.key === "Escape") choose("", false);
    else if (event.key === "f") void wiring.toggleAll();
    else if (isShape && (event.key === "Enter" || event.key === " ")) {
      const id = wiring.press(event.target);
      if (id !== undefined) choose(id, false);
    } else if (isControl || !wiring.view.onKey(event.key)) return;
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
