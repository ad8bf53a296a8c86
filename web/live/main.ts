// The page of a run: keeps what it is told, and paints it at most once a frame.
import type { GraphData } from "../graph/data.ts";
import { serve } from "../graph/layout.ts";
import { Wiring } from "../graph/wiring.ts";
import { type Failure, type Moment, nameOf, type NodeState, type Update } from "./data.ts";
import { Control } from "./control.ts";
import { byId, counted, setText, time } from "./dom.ts";
import { Feed } from "./feed.ts";
import { NodeTable } from "./nodes.ts";
import { Moments } from "./moments.ts";
import { Lists } from "./lists.ts";
import { Marks } from "./marks.ts";
import { NodePanel } from "./panel.ts";
import { Table } from "./table.ts";

const kRest = 12; // times as long as it took to paint
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
  private readonly ids = new Map<string, string>(); // "TYPE INSTANCE" → "n0"
  private readonly names = new Map<string, string>(); // and back
  private chosen = "";
  private moments: Moments | undefined; // of a record
  private atWork = new Set<string>();
  private shownQuery = ""; // of the lists
  private frame = 0;
  private timer = 0;
  private rests = 0; // until then lists, tables and marks are left as they are
  private drawing = false;
  private readonly control = new Control();
  private readonly lists = new Lists((node) => this.choose(node, true), () => this.paint());
  private readonly table = new Table((node) => this.choose(node, true), (number) => this.moments?.go(number));
  private readonly all = new NodeTable((node) => this.choose(node, true), () => this.paint());
  private readonly panel = new NodePanel(byId("panel"), () => this.graph, () => this.choose("", false));

  private readonly marks = new Marks();
  private readonly wiring: Wiring;

  constructor(script: string) {
    this.wiring = new Wiring(script, () => {
      this.marks.forget();
      this.paint();
    });
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
      this.paintNumbers();
      if (performance.now() >= this.rests) this.paint();
      else this.timer ||= window.setTimeout(() => this.paint(), this.rests - performance.now());
    });
  }

  private isAtWork(node: string): boolean {
    return this.atWork.has(node);
  }

  private paintNumbers(): void {
    const { update } = this;
    if (!update) return;
    setText(byId("title"), update.name);
    byId("title").title = update.title;
    const title = `${update.name} – ${update.state}`;
    if (document.title !== title) document.title = title;
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
    byId("durable-row").hidden = update.durable === null;
    if (update.durable !== null) setText(byId("durable"), `up to ${counted(update.durable)}`);
    this.control.show(update);
    document.documentElement.dataset["state"] = update.state;
  }

  // All that a large workflow has much of. The more time it takes, the longer it rests, so that the page can be used.
  private paint(): void {
    const { update } = this;
    if (!update) return;
    clearTimeout(this.timer);
    this.timer = 0;
    const began = performance.now();
    this.atWork = new Set(update.at_work.map((work) => nameOf(work.type, work.instance)));
    const nodes = this.allNodes();
    this.lists.show(update, nodes, this.failures);
    this.all.show(nodes, this.atWork, this.lists.query, this.lists.query !== this.shownQuery);
    this.shownQuery = this.lists.query;
    this.table.show();
    this.panel.follow(this.nodes.get(this.chosen), this.isAtWork(this.chosen));
    this.mark();
    if (this.wiring.picture && [...this.nodes.keys()].some((node) => !this.ids.has(node))) void this.draw();
    const now = performance.now();
    this.rests = now + kRest * (now - began);
  }

  // Those that the run has told of, and those that have had nothing yet.
  private allNodes(): NodeState[] {
    const silent = this.graph?.nodes.filter((node) => !this.nodes.has(nameOf(node.type, node.name))) ?? [];
    const none = { made: false, busy: false, delivered: 0, failed: 0, waiting: 0 };
    return [...this.nodes.values(), ...silent.map((node) => ({ type: node.type, instance: node.name, ...none }))];
  }

  private mark(): void {
    const { picture, folding } = this.wiring;
    if (picture && folding && this.graph) this.marks.show(this.graph, folding, picture, this.nodes, this.atWork);
  }

  private async draw(): Promise<void> {
    if (this.drawing) return;
    this.drawing = true;
    const began = performance.now();
    try {
      const answer = await fetch("/api/graph");
      if (!answer.ok) throw new Error((await answer.text()).trim());
      const graph = (await answer.json()) as GraphData;
      const isNew = graph.dot !== this.graph?.dot;
      this.graph = graph;
      if (isNew) {
        this.ids.clear();
        this.names.clear();
        for (const { id, type, name } of graph.nodes) {
          this.ids.set(nameOf(type, name), id);
          this.names.set(id, nameOf(type, name));
        }
        await this.wiring.show(graph);
        this.wiring.choose(this.ids.get(this.chosen) ?? "");
      }
      for (const node of this.nodes.keys()) if (!this.ids.has(node)) this.ids.set(node, "");
    } catch (error: unknown) {
      setText(document.getElementById("notice") ?? byId("note"), `The workflow could not be drawn: ${error instanceof Error ? error.message : String(error)}`);
    }
    document.documentElement.dataset["drawn"] = String(Math.round(performance.now() - began));
    this.drawing = false;
    this.paintSoon();
  }

  private choose(node: string, revealed: boolean): void {
    this.chosen = node;
    const id = this.ids.get(node) ?? "";
    this.wiring.choose(id);
    if (revealed && id !== "") void this.wiring.reveal(id);
    this.panel.choose(node, this.nodes.get(node), this.isAtWork(node));
  }

  // A click on the picture, or Enter in it.
  private press(target: EventTarget | null): void {
    const id = this.wiring.press(target);
    if (id !== undefined) this.choose(this.names.get(id) ?? "", false);
  }

  private listen(): void {
    byId("picture").addEventListener("click", (event) => {
      if (!this.wiring.view.wasDragged) this.press(event.target);
    });
    document.addEventListener("keydown", (event) => this.onKey(event));
  }

  private onKey(event: KeyboardEvent): void {
    const { target } = event;
    if (event.ctrlKey || event.metaKey || event.altKey || target instanceof HTMLInputElement || target instanceof HTMLSelectElement) return;
    if (document.querySelector("dialog[open]")) return;
    const isShape = (this.wiring.picture?.idOf(target) ?? "") !== "";
    const isElsewhere = target instanceof HTMLElement && target !== document.body && target.id !== "picture";
    if (event.key === "/") this.lists.field.focus();
    else if (event.key === "Escape") this.choose("", false);
    else if (event.key === "h") this.table.toggleHold();
    else if (event.key === "t") this.all.toggle();
    else if (event.key === "f") void this.wiring.toggleAll();
    else if (!isShape && this.moments?.onKey(event.key, isElsewhere)) return event.preventDefault();
    else if (event.key === "p" || event.key === "s") this.control.press(event.key);
    else if (isShape && (event.key === "Enter" || event.key === " ")) this.press(target);
    else if (isElsewhere || !this.wiring.view.onKey(event.key)) return;
    event.preventDefault();
  }
}

if (typeof document === "undefined") {
  serve();
} else {
  new Page(document.currentScript?.textContent ?? "");
}
