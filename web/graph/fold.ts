// Large wirings: the instances of a type as one box, and what goes between two boxes as one arrow. Made of the text for
// Graphviz, in which each line is a statement.
import type { GraphData } from "./data.ts";

export const kMostBoxes = 500; // with more nodes, types are folded
const kMostLabelLines = 4;
const kQuiet = "#6b7785";

// The instances of one type, or those of one workflow that was taken in.
export interface Group {
  box: string; // "f0"
  frame: string; // around its instances while they are shown: "cluster_f0"
  type: string;
  members: string[]; // the ids of its nodes
}

interface Statement {
  line: string;
  node?: string;
  edge?: { from: string; to: string; attributes: string };
}

interface Bundle {
  from: string;
  to: string;
  edges: string[]; // their attributes
  signals: Map<string, number>; // and how often
}

function escape(text: string): string {
  const escaped = text.replace(/[&<>"]/g, (c) => ({ "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;" })[c] ?? c);
  return escaped.replace(/[\x00-\x1f\x7f]/g, "?") || " ";
}

export function counted(count: number, word: string): string {
  return `${count.toLocaleString("en-US")} ${word}${count === 1 ? "" : "s"}`;
}

export class Folding {
  readonly groups: Group[] = [];
  private readonly statements: Statement[] = [];
  private readonly groupOf = new Map<string, Group>();
  private readonly lineOf = new Map<string, string>();
  private readonly folded = new Set<Group>();
  private readonly apart = new Set<string>(); // nodes that are shown though their type is folded, the first one first

  constructor(private readonly data: GraphData) {
    this.readStatements();
    if (this.isLarge) this.foldAll();
  }

  get isLarge(): boolean {
    return this.data.nodes.length > kMostBoxes;
  }

  // Whether there is anything to fold.
  get canFold(): boolean {
    return this.groups.some((group) => group.members.length > 1);
  }

  get isFolded(): boolean {
    return this.folded.size > 0;
  }

  foldAll(): void {
    this.apart.clear();
    for (const group of this.groups) if (group.members.length > 1) this.folded.add(group);
  }

  unfoldAll(): void {
    this.folded.clear();
    this.apart.clear();
  }

  // What was folded in a former wiring of the same workflow.
  takeOver(former: Folding): void {
    if (!former.isFolded && former.isLarge !== this.isLarge) return;
    this.unfoldAll();
    if (!former.isFolded) return;
    const unfolded = new Set(former.groups.filter((group) => !former.folded.has(group)).map((group) => group.type));
    this.foldAll();
    for (const group of this.groups) if (unfolded.has(group.type)) this.unfold(group);
  }

  // The node itself, or the box of its type.
  boxOf(node: string): string {
    const group = this.groupOf.get(node);
    return group && this.folded.has(group) && !this.apart.has(node) ? group.box : node;
  }

  // By its box or its frame.
  groupAt(id: string): Group | undefined {
    return this.groups.find((group) => group.box === id || group.frame === id);
  }

  groupWith(node: string): Group | undefined {
    return this.groupOf.get(node);
  }

  hasFolded(group: Group): boolean {
    return this.folded.has(group);
  }

  // Those that its box stands for.
  within(group: Group): string[] {
    return group.members.filter((node) => !this.apart.has(node));
  }

  fold(group: Group): void {
    for (const node of group.members) this.apart.delete(node);
    if (group.members.length > 1) this.folded.add(group);
  }

  // False where that would be too many boxes.
  unfold(group: Group): boolean {
    if (!this.folded.has(group)) return true;
    const apart = group.members.filter((node) => this.apart.has(node));
    if (this.boxes - 1 - apart.length + group.members.length > kMostBoxes) return false;
    for (const node of apart) this.apart.delete(node);
    return this.folded.delete(group);
  }

  // Unfolds the type of a node, or else shows the node beside the box; true where that changes the picture.
  separate(node: string): boolean {
    const group = this.groupOf.get(node);
    if (!group || this.boxOf(node) === node) return false;
    if (this.unfold(group)) return true;
    const first = this.apart.values().next();
    if (this.boxes >= kMostBoxes && !first.done) this.apart.delete(first.value);
    this.apart.add(node);
    return true;
  }

  dot(): string {
    if (!this.isFolded) return this.data.dot;
    const lines: string[] = [];
    const drawn = new Set<Group>();
    const bundles = new Map<string, Bundle>();
    for (const { line, node, edge } of this.statements) {
      const group = node === undefined ? undefined : this.groupOf.get(node);
      if (group && !drawn.has(group)) lines.push(...this.draw(group));
      if (group) drawn.add(group);
      if (edge) this.bundle(bundles, line, edge, lines);
      if (!group && !edge) lines.push(line);
    }
    this.addSignals(bundles);
    const end = lines.splice(-2);
    return [...lines, ...[...bundles.values()].map(drawBundle), ...end, ""].join("\n");
  }

  private get boxes(): number {
    let count = this.data.nodes.length + this.apart.size;
    for (const group of this.folded) count -= group.members.length - 1;
    return count;
  }

  private readStatements(): void {
    const types = new Map(this.data.nodes.map((node) => [node.id, node.type]));
    const known = new Map<string, Group>();
    let guest = "";
    for (const line of this.data.dot.trimEnd().split("\n")) {
      const edge = /^ +(\w+) -> (\w+) (\[.*\];)$/.exec(line);
      const node = /^ +(n\d+) \[/.exec(line)?.[1];
      guest = /^ +subgraph (cluster_guest\d+) /.exec(line)?.[1] ?? (line === "  }" ? "" : guest);
      if (edge) this.statements.push({ line, edge: { from: edge[1] ?? "", to: edge[2] ?? "", attributes: edge[3] ?? "" } });
      else this.statements.push(node === undefined ? { line } : { line, node });
      if (node === undefined) continue;
      const type = types.get(node) ?? "";
      const key = `${guest}\n${type}`;
      const number = this.groups.length;
      const group = known.get(key) ?? { box: `f${number}`, frame: `cluster_f${number}`, type, members: [] };
      if (!known.has(key)) this.groups.push(group);
      known.set(key, group);
      group.members.push(node);
      this.groupOf.set(node, group);
      this.lineOf.set(node, line);
    }
  }

  private draw(group: Group): string[] {
    const lines = group.members.filter((node) => this.boxOf(node) === node).map((node) => this.lineOf.get(node) ?? "");
    if (this.folded.has(group)) return [this.drawBox(group), ...lines];
    if (lines.length === 1) return lines;
    const label = `<font point-size="11">▾ ${escape(group.type)} (${counted(lines.length, "instance")})</font>`;
    return [`  subgraph ${group.frame} {`, `    label=<${label}>; labeljust=l; peripheries=1; style="rounded,dashed"; color="${kQuiet}"; fontcolor="${kQuiet}"; margin=14;`, ...lines, "  }"];
  }

  private drawBox(group: Group): string {
    const members = group.members.map((node) => this.lineOf.get(node) ?? "");
    const within = this.within(group).length;
    const worst = members.find((line) => line.includes('color="#c62828", penwidth')) ?? members.find((line) => line.includes("penwidth")) ?? members[0] ?? "";
    const [, fill, line] = /fillcolor="(#\w+)", color="(#\w+)"/.exec(worst) ?? ["", "#eceff3", kQuiet];
    const text = `<b>${escape(group.type)}</b><br/><font point-size="10">${counted(within, within < group.members.length ? "more instance" : "instance")}</font>`;
    return `    ${group.box} [label=<${text}>, peripheries=2, fillcolor="${fill}", color="${line}", tooltip="${escape(group.type)}: a click shows its instances"];`;
  }

  private bundle(bundles: Map<string, Bundle>, line: string, edge: NonNullable<Statement["edge"]>, lines: string[]): void {
    const from = this.boxOf(edge.from);
    const to = this.boxOf(edge.to);
    if (from === edge.from && to === edge.to) {
      lines.push(line);
      return;
    }
    const key = `${from} ${to}`;
    const bundle = bundles.get(key) ?? { from, to, edges: [], signals: new Map<string, number>() };
    bundle.edges.push(edge.attributes);
    bundles.set(key, bundle);
  }

  private addSignals(bundles: Map<string, Bundle>): void {
    for (const arrow of this.data.arrows) {
      const bundle = bundles.get(`${this.boxOf(arrow.from)} ${this.boxOf(arrow.to)}`);
      if (!bundle) continue;
      const text = arrow.fired === arrow.taken ? arrow.fired : `${arrow.fired} → ${arrow.taken}`;
      bundle.signals.set(text, (bundle.signals.get(text) ?? 0) + 1);
    }
  }
}

function drawBundle({ from, to, edges, signals }: Bundle): string {
  if (edges.length === 1) return `  ${from} -> ${to} ${edges[0] ?? ""}`;
  const often = [...signals].sort((a, b) => b[1] - a[1]);
  const shown = often.slice(0, often.length > kMostLabelLines ? kMostLabelLines - 1 : kMostLabelLines);
  const rows = shown.map(([text, times]) => ` ${escape(text)}${times > 1 ? ` × ${times.toLocaleString("en-US")}` : ""} `);
  if (often.length > shown.length) rows.push(` and ${(often.length - shown.length).toLocaleString("en-US")} more `);
  if (rows.length === 0) rows.push(` × ${edges.length.toLocaleString("en-US")} `);
  const style = /, style=\w+, color="#\w+"(?=\];$)/.exec(edges[0] ?? "")?.[0] ?? "";
  const width = (1.2 + Math.log10(edges.length)).toFixed(1);
  return `  ${from} -> ${to} [label=<${rows.join('<br align="left"/>')}<br align="left"/>>, penwidth=${width}${style}];`;
}
