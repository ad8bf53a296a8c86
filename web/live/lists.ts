// The lists at the left: what is at work, what waits, what failed, and all nodes; with a search over them.
import { byId, counted, make, setText, time } from "./dom.ts";
import { type Failure, nameOf, type NodeState, nodeOf, type Update } from "./data.ts";

const kMostShown = 300; // of a list; a search finds the others

interface Item {
  key: string;
  node: string; // "TYPE INSTANCE"; "" for none
  mark: string;
  label: string;
  note: string;
}

// What a node is marked with, the most important first. A mark and a word each: colours alone say nothing.
export function standingOf(node: NodeState, atWork: boolean): { name: string; mark: string; word: string } {
  if (atWork || node.busy) return { name: "work", mark: "▶", word: "at work" };
  if (node.failed > 0) return { name: "fail", mark: "!", word: "failed" };
  if (node.waiting > 0) return { name: "wait", mark: "⋯", word: "signals wait" };
  if (!node.made) return { name: "none", mark: "◌", word: "not made yet" };
  return { name: "idle", mark: "", word: "idle" };
}

class List {
  private readonly rows = new Map<string, { row: HTMLElement; label: Element; note: Element; mark: Element }>();

  constructor(
    private readonly list: HTMLElement,
    private readonly counter: HTMLElement,
    private readonly nothing: string,
    private readonly onChoice: (node: string) => void,
  ) {}

  show(items: Item[], query: string, count = items.length): void {
    const found = items.filter((item) => item.label.toLowerCase().includes(query));
    setText(this.counter, query === "" ? counted(count) : `${counted(found.length)} of ${counted(items.length)}`);
    const shown = found.slice(0, kMostShown);
    const keys = new Set(shown.map((item) => item.key));
    for (const [key, { row }] of this.rows) {
      if (keys.has(key)) continue;
      row.remove();
      this.rows.delete(key);
    }
    this.list.querySelector(":scope > .rest")?.remove();
    shown.forEach((item, index) => this.put(item, index));
    const more = query === "" ? count - shown.length : found.length - shown.length;
    const rest = shown.length === 0 ? (query === "" ? this.nothing : "none found") : more > 0 ? `and ${counted(more)} more` : "";
    if (rest !== "") this.list.append(make("li", { class: "rest quiet" }, rest));
  }

  private put(item: Item, index: number): void {
    let known = this.rows.get(item.key);
    if (!known) {
      const mark = make("span", { class: "mark" });
      const label = make("span", { class: "label" });
      const note = make("span", { class: "note" });
      const button = make("button", { type: "button", class: "row" }, mark, label, note);
      button.addEventListener("click", () => this.onChoice(item.node));
      known = { row: make("li", {}, item.node === "" ? make("div", { class: "row" }, mark, label, note) : button), label, note, mark };
      this.rows.set(item.key, known);
    }
    const [name, sign] = item.mark.split(" ");
    known.mark.className = `mark ${name ?? ""}`;
    setText(known.mark, sign ?? "");
    setText(known.label, item.label);
    setText(known.note, item.note);
    known.label.setAttribute("title", item.label);
    if (this.list.children[index] !== known.row) this.list.insertBefore(known.row, this.list.children[index] ?? null);
  }
}

export class Lists {
  private readonly lists: { work: List; queue: List; failures: List; nodes: List };
  private update: Update | undefined;
  private nodes: NodeState[] = [];
  private failures: Failure[] = [];
  readonly field = byId<HTMLInputElement>("query");

  constructor(onChoice: (node: string) => void, onSearch: () => void) {
    const list = (id: string, nothing: string) => new List(byId(id), byId(`${id}-count`), nothing, onChoice);
    this.lists = {
      work: list("work", "nothing"),
      queue: list("queue", "no signals"),
      failures: list("failures", "none"),
      nodes: list("nodes", "none yet"),
    };
    this.field.addEventListener("input", onSearch);
    this.field.addEventListener("keydown", (event) => {
      if (event.key === "Enter") {
        const first = this.nodes.find((node) => nameOf(node.type, node.instance).toLowerCase().includes(this.query));
        if (first && this.query !== "") onChoice(nameOf(first.type, first.instance));
      }
      if (event.key !== "Escape") return;
      this.field.value = "";
      onSearch();
      this.field.blur();
    });
  }

  // In small letters.
  get query(): string {
    return this.field.value.trim().toLowerCase();
  }

  show(update: Update, nodes: NodeState[], failures: Failure[]): void {
    this.update = update;
    this.nodes = nodes;
    this.failures = failures;
    this.paint();
  }

  private paint(): void {
    const { update } = this;
    if (!update) return;
    const { query } = this;
    const atWork = new Set(update.at_work.map((work) => nameOf(work.type, work.instance)));
    const busy = this.nodes.filter((node) => node.busy && !atWork.has(nameOf(node.type, node.instance)));
    const work: Item[] = [
      ...update.at_work.map((each) => {
        const node = nameOf(each.type, each.instance);
        return { key: `d${each.number}`, node, mark: "work ▶", label: `${node}.${each.signal}`, note: time(each.seconds) };
      }),
      ...busy.map((each) => {
        const node = nameOf(each.type, each.instance);
        return { key: `b${node}`, node, mark: "work ▶", label: node, note: "on its own" };
      }),
    ];
    this.lists.work.show(work, query);
    this.lists.queue.show(
      update.queue.map((each) => ({ key: String(each.number), node: nodeOf(each.receiver), mark: "wait ⋯", label: each.receiver, note: String(each.number) })),
      query,
      update.waiting,
    );
    this.lists.failures.show(
      this.failures.map((each) => ({ key: each.text, node: "", mark: "fail !", label: each.text, note: each.times > 1 ? `${counted(each.times)}×` : "" })),
      query,
    );
    this.lists.nodes.show(
      this.nodes.map((each) => {
        const node = nameOf(each.type, each.instance);
        const standing = standingOf(each, atWork.has(node));
        const note = each.failed > 0 ? `${counted(each.delivered)}, ${counted(each.failed)} failed` : counted(each.delivered);
        return { key: node, node, mark: `${standing.name} ${standing.mark}`, label: node, note };
      }),
      query,
    );
  }
}
