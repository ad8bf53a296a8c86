// How nodes stand, in the picture. By classes alone, and only where something is different: nothing flashes.
import { counted, type Folding } from "../graph/fold.ts";
import type { GraphData } from "../graph/data.ts";
import type { Picture } from "../graph/picture.ts";
import { nameOf, type NodeState } from "./data.ts";
import { standingOf } from "./lists.ts";

const kSigns: Record<string, string> = { work: "▶", fail: "!", wait: "⋯", none: "◌" };
const kWords: Record<string, string> = { fail: "failed", work: "at work", wait: "signals wait", idle: "idle", none: "not made yet" };
const kWorstFirst = ["fail", "work", "wait", "idle", "none"];

export class Marks {
  private readonly shown = new Map<string, string>(); // by the id of a node or a box: what it is marked with, and its label

  // The picture is another one.
  forget(): void {
    this.shown.clear();
  }

  show(graph: GraphData, folding: Folding, picture: Picture, nodes: ReadonlyMap<string, NodeState>, atWork: ReadonlySet<string>): void {
    const boxes = new Map<string, Map<string, number>>(); // how many of each standing are in a box
    for (const { id, type, name } of graph.nodes) {
      const node = nameOf(type, name);
      const known = nodes.get(node);
      const standing = known ? standingOf(known, atWork.has(node)).name : "none";
      const box = folding.boxOf(id);
      if (box === id) {
        this.put(picture, id, standing, `${node}, ${kWords[standing] ?? ""}`);
        continue;
      }
      const counts = boxes.get(box) ?? new Map<string, number>();
      counts.set(standing, (counts.get(standing) ?? 0) + 1);
      if (known && standing !== "fail" && known.failed > 0) counts.set("fail", (counts.get("fail") ?? 0) + 1);
      boxes.set(box, counts);
    }
    for (const [box, counts] of boxes) {
      const group = folding.groupAt(box);
      if (!group) continue;
      const standings = kWorstFirst.filter((standing) => counts.has(standing));
      const words = standings.map((standing) => `${(counts.get(standing) ?? 0).toLocaleString("en-US")} ${kWords[standing] ?? ""}`);
      this.put(picture, box, standings[0] ?? "none", `${group.type}, ${counted(folding.within(group).length, "instance")}: ${words.join(", ")}`);
    }
  }

  private put(picture: Picture, id: string, standing: string, label: string): void {
    const text = `${standing} ${label}`;
    const before = this.shown.get(id);
    if (before === text) return;
    this.shown.set(id, text);
    const element = picture.nodes.get(id);
    if (!element) return;
    element.setAttribute("aria-label", label);
    if (before?.startsWith(`${standing} `)) return;
    element.querySelector(":scope > .sign")?.remove();
    if (standing in kSigns) element.append(signOf(element, standing));
  }
}

// At the upper right corner of the node.
function signOf(node: SVGGElement, standing: string): SVGGElement {
  const box = node.querySelector<SVGGraphicsElement>("path, polygon");
  const numbers = (box?.getAttribute("d") ?? box?.getAttribute("points") ?? "").match(/-?\d+(\.\d+)?/g)?.map(Number) ?? [];
  const x = Math.max(...numbers.filter((_, index) => index % 2 === 0)) - 2;
  const y = Math.min(...numbers.filter((_, index) => index % 2 === 1)) + 2;
  const make = (name: string, attributes: Record<string, string>) => {
    const element = document.createElementNS("http://www.w3.org/2000/svg", name);
    for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
    return element as SVGGElement;
  };
  const group = make("g", { class: `sign ${standing}`, "aria-hidden": "true" });
  const text = make("text", { x: String(x), y: String(y + 4) });
  text.textContent = kSigns[standing] ?? "";
  group.append(make("circle", { cx: String(x), cy: String(y), r: "9" }), text);
  return group;
}
