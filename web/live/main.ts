// The page of a run: keeps what it is told, and paints it at most once a frame.
import type { GraphData } from "../graph/data.ts";
import { drawBeside, serve } from "../graph/layout.ts";
import { isStart, Picture, readPicture } from "../graph/picture.ts";
import { View } from "../graph/view.ts";
import { type Failure, type Moment, nameOf, type NodeState, type Update } from "./data.ts";
import { Control } from "./control.ts";
import { byId, counted, setText, time } from "./dom.ts";
import { Feed } from "./feed.ts";
import { Moments } from "./moments.ts";
import { Lists, standingOf } from "./lists.ts";
import { NodePanel } from "./panel.ts";
import { Table } from "./table.ts";

const kMarks = ["work", "fail", "wait", "none"];
const kStates: Record<string, string> = {
  running: "▶ running",
  paused: "❚❚ paused",
  record: "● recorded",
  stopping: "◼ stopping",
  ended: "✓ ended",
  saved: "◼ stopped, state saved",
  stopped: "◼ stopped",
};

class Page {
  private readonly nodes = new Map<string, NodeState>();
  private failures: Failure[] = [];
  private update: Update | undefined;
  private graph: GraphData | undefined;
  private picture: Picture | undefined;
  private view: View | undefined;
  private readonly ids = new Map<string, string>(); // "TYPE INSTANCE" → "n0"
  private readonly shapes = new Map<string, string>(); // what each node is marked with
  private chosen = "";
  private moments: Moments | undefined; // of a record
  private frame = 0;
  private drawing = false;
  private readonly control = new Control();
  private readonly lists = new Lists((node) => this.choose(node, true));
  private readonly table = new Table((node) => this.choose(node, true), (number) => this.moments?.go(number));
  private readonly panel = new NodePanel(byId("panel"), () => this.graph, () => this.choose("", false));

  constructor(private readonly script: string) {
    void this.begin();
    this.listen();
    void this.draw();
  }

  private async begin(): Promise<void> {
    const isRecord = await fetch("/health").then(async (answer) => ((await answer.json()) as { state: string }).state === "record", () => false);
    if (isRecord) this.moments = new Moments(this.panel, (moment) => this.takeMoment(moment), () => this.lose(true));
    else new Feed((update) => this.take(update), (final) => this.lose(final));
  }

  private takeMoment(moment: Moment): void {
    this.nodes.clear();
    for (const node of moment.nodes) this.nodes.set(nameOf(node.type, node.instance), node);
    this.failures = moment.failures;
    this.update = moment;
    this.table.showUpTo(moment.deliveries);
    this.paintSoon();
  }

  private take(update: Update): void {
    if (update.kind === "all") {
      this.nodes.clear();
      if (this.update && update.seconds < this.update.seconds) this.table.clear();
    }
    for (const node of update.nodes) this.nodes.set(nameOf(node.type, node.instance), node);
    this.failures = update.failures;
    this.update = update;
    this.table.add(update.deliveries);
    this.paintSoon();
  }

  // Without a word of its end: the process was killed, or the machine slept.
  private lose(final: boolean): void {
    const state = byId("state");
    state.className = "state lost";
    setText(state, final ? "⚠ connection lost" : "⚠ connecting again…");
  }

  private paintSoon(): void {
    this.frame ||= requestAnimationFrame(() => {
      this.frame = 0;
      this.paint();
    });
  }

  private isAtWork(node: string): boolean {
    return this.update?.at_work.some((work) => nameOf(work.type, work.instance) === node) ?? false;
  }

  private paint(): void {
    const { update } = this;
    if (!update) return;
    setText(byId("title"), update.name);
    byId("title").title = update.title;
    document.title = `${update.name} – ${update.state}`;
    const state = byId("state");
    state.className = `state ${update.state}`;
    setText(state, kStates[update.state] ?? update.state);
    setText(byId("delivered"), counted(update.delivered));
    setText(byId("rate"), counted(update.per_second));
    setText(byId("waiting"), counted(update.waiting));
    setText(byId("failed"), counted(update.failed));
    byId("failed").classList.toggle("failed", update.failed > 0);
    setText(byId("time"), time(update.seconds));
    setText(byId("saved"), update.since_save === null ? "not yet" : `${time(update.since_save)} ago`);
    this.control.show(update);
    this.lists.show(update, this.allNodes(), this.failures);
    this.panel.follow(this.nodes.get(this.chosen), this.isAtWork(this.chosen));
    this.mark();
    document.documentElement.dataset["state"] = update.state;
    if (this.picture && [...this.nodes.keys()].some((node) => !this.ids.has(node))) void this.draw();
  }

  // Those that the run has told of, and those that have had nothing yet.
  private allNodes(): NodeState[] {
    const silent = this.graph?.nodes.filter((node) => !this.nodes.has(nameOf(node.type, node.name))) ?? [];
    const none = { made: false, busy: false, delivered: 0, failed: 0, waiting: 0 };
    return [...this.nodes.values(), ...silent.map((node) => ({ type: node.type, instance: node.name, ...none }))];
  }

  // By classes alone, and only where something is different: nothing flashes.
  private mark(): void {
    if (!this.picture) return;
    for (const [node, id] of this.ids) {
      const known = this.nodes.get(node);
      const standing = known ? standingOf(known, this.isAtWork(node)) : { name: "none", word: "not made yet" };
      if (this.shapes.get(id) === standing.name) continue;
      this.shapes.set(id, standing.name);
      const element = this.picture.nodes.get(id);
      for (const mark of kMarks) element?.classList.toggle(`is-${mark}`, mark === standing.name);
      element?.setAttribute("aria-label", `${node}, ${standing.word}`);
    }
  }

  private async draw(): Promise<void> {
    if (this.drawing) return;
    this.drawing = true;
    const began = performance.now();
    const notice = byId("notice");
    try {
      const answer = await fetch("/api/graph");
      if (!answer.ok) throw new Error((await answer.text()).trim());
      const graph = (await answer.json()) as GraphData;
      const isNew = graph.dot !== this.graph?.dot;
      this.graph = graph;
      if (isNew) {
        if (graph.nodes.length > 300) setText(notice, `Drawing ${graph.nodes.length} nodes…`);
        const drawing = await drawBeside(this.script, graph.dot, () => setText(notice, "The wiring is large: drawing it more simply…"));
        this.show(graph, drawing.svg);
      }
      for (const node of this.nodes.keys()) if (!this.ids.has(node)) this.ids.set(node, "");
    } catch (error: unknown) {
      setText(notice, `The workflow could not be drawn: ${error instanceof Error ? error.message : String(error)}`);
    }
    document.documentElement.dataset["drawn"] = String(Math.round(performance.now() - began));
    this.drawing = false;
    this.paintSoon();
  }

  private show(graph: GraphData, svg: string): void {
    this.picture = new Picture(readPicture(svg));
    const stage = this.picture.svg;
    for (const text of this.picture.nodes.values()) addMark(text);
    this.view = new View(byId("picture"), stage, (scale) => setText(byId("scale"), `${Math.round(scale * 100)} %`));
    this.ids.clear();
    this.shapes.clear();
    for (const node of graph.nodes) this.ids.set(nameOf(node.type, node.name), node.id);
    this.picture.choose(this.ids.get(this.chosen) ?? "");
  }

  private choose(node: string, revealed: boolean): void {
    this.chosen = node;
    const id = this.ids.get(node) ?? "";
    this.picture?.choose(id);
    const element = this.picture?.nodes.get(id);
    if (element && revealed) this.view?.reveal(element);
    this.panel.choose(node, this.nodes.get(node), this.isAtWork(node));
  }

  private nodeAt(target: EventTarget | null): string {
    const element = target instanceof Element ? target.closest("g.node") : null;
    if (!element || !this.picture) return "";
    for (const [node, id] of this.ids) if (id !== "" && !isStart(id) && this.picture.nodes.get(id) === element) return node;
    return "";
  }

  private listen(): void {
    const box = byId("picture");
    box.addEventListener("click", (event) => {
      if (this.view && !this.view.wasDragged) this.choose(this.nodeAt(event.target), false);
    });
    box.addEventListener("focusin", (event) => {
      const element = event.target instanceof Element ? event.target.closest<SVGGElement>("g.node") : null;
      if (element?.matches(":focus-visible")) this.view?.reveal(element);
    });
    byId("larger").addEventListener("click", () => this.view?.larger());
    byId("smaller").addEventListener("click", () => this.view?.smaller());
    byId("fit").addEventListener("click", () => this.view?.fit());
    document.addEventListener("keydown", (event) => this.onKey(event));
  }

  private onKey(event: KeyboardEvent): void {
    const { target } = event;
    if (event.ctrlKey || event.metaKey || event.altKey || target instanceof HTMLInputElement || target instanceof HTMLSelectElement) return;
    if (document.querySelector("dialog[open]")) return;
    const node = this.nodeAt(target);
    const isElsewhere = target instanceof HTMLElement && target !== document.body && target.id !== "picture";
    if (event.key === "/") this.lists.field.focus();
    else if (event.key === "Escape") this.choose("", false);
    else if (event.key === "h") this.table.toggleHold();
    else if (node === "" && this.moments?.onKey(event.key, isElsewhere)) return event.preventDefault();
    else if (event.key === "p" || event.key === "s") this.control.press(event.key);
    else if (node !== "" && (event.key === "Enter" || event.key === " ")) this.choose(node, false);
    else if (isElsewhere || !this.view?.onKey(event.key)) return;
    event.preventDefault();
  }
}

// The place of a node's mark, at its upper right corner; styles fill it.
function addMark(node: SVGGElement): void {
  const box = node.querySelector<SVGGraphicsElement>("path, polygon");
  if (!box || !node.hasAttribute("tabindex")) return;
  const numbers = (box.getAttribute("d") ?? box.getAttribute("points") ?? "").match(/-?\d+(\.\d+)?/g)?.map(Number) ?? [];
  const xs = numbers.filter((_, index) => index % 2 === 0);
  const ys = numbers.filter((_, index) => index % 2 === 1);
  for (const [mark, sign] of [["work", "▶"], ["fail", "!"], ["wait", "⋯"], ["none", "◌"]] as const) {
    const group = document.createElementNS("http://www.w3.org/2000/svg", "g");
    group.setAttribute("class", `sign ${mark}`);
    group.setAttribute("aria-hidden", "true");
    const disc = document.createElementNS("http://www.w3.org/2000/svg", "circle");
    disc.setAttribute("cx", String(Math.max(...xs) - 2));
    disc.setAttribute("cy", String(Math.min(...ys) + 2));
    disc.setAttribute("r", "9");
    const text = document.createElementNS("http://www.w3.org/2000/svg", "text");
    text.setAttribute("x", String(Math.max(...xs) - 2));
    text.setAttribute("y", String(Math.min(...ys) + 6));
    text.textContent = sign;
    group.append(disc, text);
    node.append(group);
  }
}

if (typeof document === "undefined") {
  serve();
} else {
  new Page(document.currentScript?.textContent ?? "");
}
