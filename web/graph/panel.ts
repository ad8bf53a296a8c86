// The text beside the picture: of one node, or of the workflow.
import type { Arrow, Finding, GraphData, Node } from "./data.ts";
import { isStart } from "./picture.ts";

type Child = string | HTMLElement;

function make(tag: string, attributes: Record<string, string>, ...children: Child[]): HTMLElement {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
  element.append(...children);
  return element;
}

export class Panel {
  private readonly nodes: Map<string, Node>;

  constructor(
    private readonly panel: HTMLElement,
    private readonly data: GraphData,
    private readonly onChoice: (id: string) => void,
  ) {
    this.nodes = new Map(data.nodes.map((node) => [node.id, node]));
    this.showWorkflow();
  }

  showWorkflow(): void {
    const { data } = this;
    const parts: Child[] = [make("h2", {}, "Workflow")];
    if (data.nodes.length > 0) {
      parts.push(make("p", { class: "quiet" }, `${counted(data.nodes.length, "node")}, ${counted(data.arrows.filter((arrow) => !isStart(arrow.from)).length, "mapping")}`));
    }
    parts.push(...this.findings(data.findings, true));
    const types = new Map<string, Node[]>();
    for (const node of data.nodes) {
      const nodes = types.get(node.type);
      if (nodes) nodes.push(node);
      else types.set(node.type, [node]);
    }
    for (const [type, nodes] of types) {
      parts.push(make("h3", {}, type), make("ul", {}, ...nodes.map((node) => make("li", {}, this.link(node.id)))));
    }
    this.panel.replaceChildren(...parts);
  }

  // `text` is for a node of which nothing is known but what the picture shows.
  showNode(id: string, text: string): void {
    const node = this.nodes.get(id);
    const close = make("button", { type: "button", class: "close", title: "Back to the workflow (Esc)" }, "×");
    close.setAttribute("aria-label", "Close");
    close.addEventListener("click", () => this.onChoice(""));
    const parts: Child[] = [close, make("h2", {}, node?.name ?? text)];
    if (node) {
      parts.push(
        make("dl", {}, ...pair("Type", node.type), ...pair("Library", node.plugin || "—"), ...pair("Entry", ...breakable(node.path))),
        ...this.findings(this.data.findings.filter((finding) => finding.node === id), false),
      );
    }
    parts.push(...this.arrows("Takes", "from", this.data.arrows.filter((arrow) => arrow.to === id)));
    parts.push(...this.arrows("Fires", "to", this.data.arrows.filter((arrow) => arrow.from === id)));
    if (node && node.parameters.length > 0) {
      parts.push(
        make("h3", {}, "Parameters"),
        make("ul", {}, ...node.parameters.map((name) => make("li", {}, make("code", {}, name)))),
      );
    }
    this.panel.replaceChildren(...parts);
    this.panel.scrollTop = 0;
  }

  private link(id: string): HTMLElement {
    const button = make("button", { type: "button", class: "link" }, this.nodes.get(id)?.name ?? "not there");
    button.addEventListener("click", () => this.onChoice(id));
    return button;
  }

  private arrows(title: string, side: "from" | "to", arrows: Arrow[]): Child[] {
    if (arrows.length === 0) return [];
    const items = arrows.map((arrow) => {
      const other = side === "from" ? arrow.from : arrow.to;
      const [here, there] = side === "from" ? [arrow.taken, arrow.fired] : [arrow.fired, arrow.taken];
      const parts: Child[] = [make("code", {}, here), side === "from" ? " ← " : " → "];
      if (isStart(other)) parts.push("where the workflow begins");
      else parts.push(this.link(other), ...(there === here ? [] : [" ", make("code", {}, there)]));
      return make("li", {}, ...parts);
    });
    return [make("h3", {}, title), make("ul", {}, ...items)];
  }

  private findings(findings: Finding[], named: boolean): Child[] {
    if (findings.length === 0) return [];
    const items = findings.map((finding) => {
      const parts: Child[] = [make("strong", { class: finding.severity }, finding.severity), " "];
      if (named && this.nodes.has(finding.node)) parts.push(this.link(finding.node), ": ");
      parts.push(finding.what);
      if (finding.remedy) parts.push(make("span", { class: "quiet" }, `; ${finding.remedy}`));
      parts.push(make("div", { class: "quiet path" }, ...breakable(finding.path)));
      return make("li", {}, ...parts);
    });
    return [make("h3", {}, "Findings"), make("ul", { class: "findings" }, ...items)];
  }
}

function pair(name: string, ...value: Child[]): HTMLElement[] {
  return [make("dt", {}, name), make("dd", {}, ...value)];
}

// A path whose lines end before a slash.
function breakable(path: string): Child[] {
  return path.split(/(?=\/)/).flatMap((part) => [make("wbr", {}), part]);
}

function counted(count: number, word: string): string {
  return `${count} ${word}${count === 1 ? "" : "s"}`;
}
