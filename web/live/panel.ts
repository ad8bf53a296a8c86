// The panel at the right: the chosen node, as it is now.
import type { GraphData } from "../graph/data.ts";
import { injection } from "./control.ts";
import { type Child, counted, make, setText, time } from "./dom.ts";
import { nameOf, type NodeDetails, type NodeState, type Value } from "./data.ts";
import { standingOf } from "./lists.ts";
import { answerOf } from "./table.ts";

const kBetween = 1000; // ms, at the least, between two looks at a node

export class NodePanel {
  private chosen = "";
  private asked = 0;
  private state: NodeState | undefined;
  private atWork = false;
  private moment = ""; // of a record: the delivery after which it is
  private momentParts: Child[] | undefined;
  private given: HTMLElement[] | undefined; // the place where it is given a signal

  constructor(
    private readonly panel: HTMLElement,
    private readonly graph: () => GraphData | undefined,
    private readonly onClose: () => void,
  ) {
    this.showNothing();
  }

  // Another moment of a record: nodes are asked for as they were then, and without a node `parts` are shown.
  showMoment(number: string, parts: Child[]): void {
    this.moment = number;
    this.momentParts = parts;
    if (this.chosen === "") this.showNothing();
    else void this.look();
  }

  choose(node: string, state: NodeState | undefined, atWork: boolean): void {
    if (node === this.chosen) return this.follow(state, atWork);
    this.chosen = node;
    this.state = state;
    this.atWork = atWork;
    this.asked = 0;
    this.given = undefined;
    this.panel.scrollTop = 0;
    document.body.classList.toggle("with-node", node !== "");
    if (node === "") this.showNothing();
    else void this.look();
  }

  // What has changed is asked for anew, now and then.
  follow(state: NodeState | undefined, atWork: boolean): void {
    if (this.chosen === "" || (JSON.stringify(state) === JSON.stringify(this.state) && atWork === this.atWork)) return;
    if (performance.now() - this.asked < kBetween) return;
    this.state = state;
    this.atWork = atWork;
    void this.look();
  }

  private showNothing(): void {
    if (this.momentParts) {
      this.panel.replaceChildren(...this.momentParts);
      return;
    }
    this.panel.replaceChildren(
      make("h2", {}, "No node chosen"),
      make("p", { class: "quiet" }, "A node in the picture or in a list shows here what it holds and what it was given."),
      make("h3", {}, "Keys"),
      make(
        "dl",
        {},
        ...[
          ["/", "search"],
          ["Tab", "from node to node"],
          ["Enter", "choose a node, unfold a type or fold it"],
          ["Esc", "back"],
          ["+ − 0", "zoom, show all"],
          ["f", "fold types, unfold them"],
          ["t", "table of all nodes"],
          ["h", "hold the table"],
          ...(document.getElementById("control")?.hidden === false ? [["p", "pause, go on"], ["s", "step"]] : []),
        ].flatMap(([key, what]) => [make("dt", {}, make("kbd", {}, key ?? "")), make("dd", {}, what ?? "")]),
      ),
      make("p", { class: "quiet" }, "This page shows a run as it goes. orvflow ui shows a record, with a slider through what has happened; orvflow run --ui=control has buttons to pause the run, to step and to stop it."),
    );
  }

  private async look(): Promise<void> {
    const node = this.chosen;
    this.asked = performance.now();
    const known = this.graph()?.nodes.find((each) => nameOf(each.type, each.name) === node);
    const type = this.state?.type ?? known?.type ?? "";
    const instance = this.state?.instance ?? known?.name ?? "";
    let details: NodeDetails | undefined;
    let problem = "";
    try {
      const answer = await fetch(`/api/node?type=${encodeURIComponent(type)}&instance=${encodeURIComponent(instance)}${this.moment === "" ? "" : `&d=${encodeURIComponent(this.moment)}`}`);
      if (answer.ok) details = (await answer.json()) as NodeDetails;
      else problem = (await answer.text()).trim();
    } catch {
      problem = "the run is not there any more";
    }
    if (node !== this.chosen) return;
    this.show(type, instance, known?.plugin ?? "", details, problem);
  }

  private show(type: string, instance: string, plugin: string, details: NodeDetails | undefined, problem: string): void {
    const close = make("button", { type: "button", class: "close", title: "Back (Esc)", "aria-label": "Close" }, "×");
    close.addEventListener("click", () => this.onClose());
    const parts: Child[] = [close, make("h2", {}, instance)];
    const rows: [string, string][] = [["Type", type], ["Library", plugin || "—"], ["Entry", details?.path ?? "—"]];
    if (this.state) {
      rows.push(["State", standingOf(this.state, this.atWork).word], ["Delivered", counted(this.state.delivered)]);
      rows.push(["Failed", counted(this.state.failed)], ["Waiting", counted(this.state.waiting)]);
    } else {
      rows.push(["State", "has had no signal yet"]);
    }
    parts.push(make("dl", {}, ...rows.flatMap(([name, value]) => [make("dt", {}, name), make("dd", {}, ...breakable(value))])));
    if (problem !== "") parts.push(make("p", { class: "failed" }, `! ${problem}`));
    if (details && this.moment !== "" && !this.state?.delivered) parts.push(...whyNot(instance));
    if (details) parts.push(...this.injection(type, instance, details), ...this.values(details), ...this.deliveries(details));
    const focused = this.panel.contains(document.activeElement) && !this.given?.some((part) => part.contains(document.activeElement));
    this.put(parts);
    if (focused) close.focus({ preventScroll: true });
  }

  // Made once a node: what was chosen in it, and what was answered, stays.
  private injection(type: string, instance: string, { inputs }: NodeDetails): HTMLElement[] {
    this.given ??= injection(type, instance, inputs ?? []);
    return this.given;
  }

  // What is there already and stays is not moved, so that it keeps the focus.
  private put(parts: Child[]): void {
    const kept = new Set<Child | ChildNode>(parts);
    for (const child of [...this.panel.childNodes]) if (!kept.has(child)) child.remove();
    parts.forEach((part, index) => {
      const there = this.panel.childNodes[index] ?? null;
      if (there !== part) this.panel.insertBefore(typeof part === "string" ? document.createTextNode(part) : part, there);
    });
  }

  private values({ path, values, values_hidden }: NodeDetails): Child[] {
    if (values_hidden) return [make("h3", {}, "Values"), make("p", { class: "quiet" }, "Not shown: the workflow is enciphered.")];
    const own = values.filter((value) => !value.path.startsWith(`${path}/maps/`));
    const below = (value: Value) => value.path.slice(path.length + 1) || value.path;
    const list = (title: string, some: Value[], name: (value: Value) => string): Child[] =>
      some.length === 0
        ? []
        : [make("h3", {}, title), make("dl", { class: "values" }, ...some.flatMap((value) => [make("dt", { title: value.path }, ...breakable(name(value))), make("dd", {}, text(value))]))];
    const isParameter = (value: Value) => below(value).startsWith("Parameters/");
    return [
      ...list("Parameters", own.filter(isParameter), (value) => below(value).slice("Parameters/".length)),
      ...list("Values", own.filter((value) => !isParameter(value)), below),
    ];
  }

  private deliveries({ deliveries }: NodeDetails): Child[] {
    if (deliveries.length === 0) return [];
    const items = [...deliveries].reverse().map((each) =>
      make(
        "li",
        {},
        make("code", {}, each.receiver.slice(each.receiver.lastIndexOf(".") + 1)),
        make("span", { class: "quiet" }, ` ← ${each.sender}, ${time(each.seconds)} `),
        answerOf(each),
      ),
    );
    return [make("h3", {}, `Last ${deliveries.length} deliveries`), make("ul", {}, ...items)];
  }
}

// Asked for only when somebody wants to know: the whole record is read for it.
function whyNot(instance: string): Child[] {
  const button = make("button", { type: "button" }, "Why has it not run?");
  const answer = make("pre", { class: "why", role: "status" });
  button.addEventListener("click", () => {
    setText(answer, "reading…");
    void fetch(`/api/why?instance=${encodeURIComponent(instance)}`).then(async (response) => {
      setText(answer, response.ok ? ((await response.json()) as { text: string }).text : `! ${(await response.text()).trim()}`);
    });
  });
  return [button, answer];
}

export function text(value: Value): HTMLElement {
  if (value.hidden) return make("em", { class: "quiet" }, "not shown");
  const shown = value.texts.length === 1 ? (value.texts[0] ?? "") : value.texts.join("\n");
  const content = shown === "" ? make("em", { class: "quiet" }, value.texts.length === 0 ? "empty list" : "empty") : make("code", {}, shown);
  return value.cut ? make("span", {}, content, make("em", { class: "quiet" }, " …")) : content;
}

// A path whose lines end before a slash.
export function breakable(path: string): Child[] {
  return path.split(/(?=\/)/).flatMap((part) => [make("wbr", {}), part]);
}
