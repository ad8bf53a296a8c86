// All nodes in a table, in place of the picture: folded or not, and for whoever reads the page rather than looks at it.
import { byId, counted, make, setText } from "./dom.ts";
import { nameOf, type NodeState } from "./data.ts";
import { standingOf } from "./lists.ts";

const kBetween = 1000; // ms, at the least, between two looks at a long table
const kLong = 200; // rows

interface Row {
  element: HTMLElement;
  mark: HTMLElement;
  cells: HTMLElement[]; // state, delivered, failed, waiting
}

export class NodeTable {
  private readonly box = byId("all");
  private readonly body = byId("all-nodes");
  private readonly button = byId("as-table");
  private readonly rows = new Map<string, Row>();
  private order = ""; // of the rows that are there
  private painted = 0;

  constructor(
    private readonly onChoice: (node: string) => void,
    private readonly onOpen: () => void,
  ) {
    this.button.addEventListener("click", () => this.toggle());
  }

  get isShown(): boolean {
    return !this.box.hidden;
  }

  toggle(): void {
    this.box.hidden = this.isShown;
    document.body.classList.toggle("with-table", this.isShown);
    this.button.setAttribute("aria-pressed", String(this.isShown));
    this.painted = 0;
    if (this.isShown) this.onOpen();
  }

  // `anew`: somebody waits for it.
  show(nodes: NodeState[], atWork: ReadonlySet<string>, query: string, anew: boolean): void {
    if (!this.isShown || (!anew && nodes.length > kLong && performance.now() - this.painted < kBetween)) return;
    this.painted = performance.now();
    const found = nodes.filter((node) => nameOf(node.type, node.instance).toLowerCase().includes(query));
    found.sort((a, b) => compare(a.type, b.type) || compare(a.instance, b.instance));
    const names = found.map((node) => nameOf(node.type, node.instance));
    found.forEach((node, index) => this.fill(this.rowOf(node, names[index] ?? ""), node, atWork.has(names[index] ?? "")));
    setText(byId("all-count"), found.length === nodes.length ? counted(nodes.length) : `${counted(found.length)} of ${counted(nodes.length)}`);
    if (names.join("\n") === this.order) return;
    this.order = names.join("\n");
    this.body.replaceChildren(...names.map((name) => this.rows.get(name)?.element ?? ""));
  }

  private rowOf(node: NodeState, name: string): Row {
    const known = this.rows.get(name);
    if (known) return known;
    const mark = make("span", { class: "mark", "aria-hidden": "true" });
    const link = make("button", { type: "button", class: "link" }, node.instance);
    link.addEventListener("click", () => this.onChoice(name));
    const state = make("span", {});
    const numbers = [1, 2, 3].map(() => make("td", { class: "number" }));
    const element = make("tr", {}, make("td", {}, node.type), make("td", {}, link), make("td", {}, mark, state), ...numbers);
    const row = { element, mark, cells: [state, ...numbers] };
    this.rows.set(name, row);
    return row;
  }

  private fill({ mark, cells }: Row, node: NodeState, isAtWork: boolean): void {
    const standing = standingOf(node, isAtWork);
    const texts = [standing.word, counted(node.delivered), counted(node.failed), counted(node.waiting)];
    mark.className = `mark ${standing.name}`;
    setText(mark, standing.mark);
    cells.forEach((cell, index) => setText(cell, texts[index] ?? ""));
    cells[2]?.classList.toggle("failed", node.failed > 0);
  }
}

// N2 before N10.
const { compare } = new Intl.Collator("en", { numeric: true });
