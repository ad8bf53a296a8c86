// What Graphviz drew, as elements that can be found, chosen and marked.

export interface Edge {
  element: SVGGElement;
  from: string;
  to: string;
}

const kFrame = /^cluster_f\d+$/;

// Where the workflow begins, or one that it takes in: no node.
export function isStart(id: string): boolean {
  return /^start\d*$/.test(id);
}

// A folded type.
export function isBox(id: string): boolean {
  return /^f\d+$/.test(id);
}

export class Picture {
  readonly nodes = new Map<string, SVGGElement>(); // and the boxes of folded types
  readonly frames = new Map<string, SVGGElement>(); // around the instances of types that can be folded
  readonly edges: Edge[] = [];
  private readonly ids = new Map<Element, string>();

  constructor(readonly svg: SVGSVGElement) {
    for (const element of Array.from(svg.querySelectorAll<SVGGElement>("g.node, g.edge, g.cluster"))) {
      const title = element.querySelector(":scope > title")?.textContent ?? "";
      const ends = /^(\w+)->(\w+)$/.exec(title);
      if (ends?.[1] && ends[2]) this.edges.push({ element, from: ends[1], to: ends[2] });
      else if (!element.classList.contains("cluster")) this.addNode(title, element);
      else if (kFrame.test(title)) this.addFrame(title, element);
    }
    // A title would be shown as a tip over all it holds; nodes have better ones.
    for (const title of Array.from(svg.querySelectorAll("title:not(.tip)"))) title.remove();
  }

  // Of a node, a box or a frame, by what is in it.
  idOf(target: EventTarget | null): string {
    const element = target instanceof Element ? target.closest("g.node, g.cluster") : null;
    return (element && this.ids.get(element)) ?? "";
  }

  elementOf(id: string): SVGGElement | undefined {
    return this.nodes.get(id) ?? this.frames.get(id);
  }

  textOf(element: Element): string {
    const texts = Array.from(element.querySelectorAll("text"), (text) => text.textContent?.trim() ?? "");
    return texts.filter((text) => text !== "").join(" ");
  }

  // The node, its arrows and its neighbours stand out; "" is none.
  choose(id: string): void {
    this.svg.classList.toggle("chosen", id !== "");
    for (const element of Array.from(this.svg.querySelectorAll(".lit, .picked"))) element.classList.remove("lit", "picked");
    this.nodes.get(id)?.classList.add("lit", "picked");
    for (const edge of this.edges) {
      if (edge.from !== id && edge.to !== id) continue;
      edge.element.classList.add("lit");
      this.nodes.get(edge.from)?.classList.add("lit");
      this.nodes.get(edge.to)?.classList.add("lit");
    }
  }

  private addNode(id: string, element: SVGGElement): void {
    this.nodes.set(id, element);
    if (isStart(id)) return;
    this.addButton(id, element, this.textOf(element));
    if (isBox(id)) element.setAttribute("aria-expanded", "false");
  }

  private addFrame(id: string, element: SVGGElement): void {
    this.frames.set(id, element);
    this.addButton(id, element, this.textOf(element).replace("▾ ", ""));
    element.setAttribute("aria-expanded", "true");
  }

  private addButton(id: string, element: SVGGElement, label: string): void {
    this.ids.set(element, id);
    element.setAttribute("tabindex", "0");
    element.setAttribute("role", "button");
    element.setAttribute("aria-label", label);
  }
}

// Only drawings: no scripts, no addresses, whatever the names of a workflow hold.
export function readPicture(text: string): SVGSVGElement {
  const parsed = new DOMParser().parseFromString(text, "image/svg+xml");
  const svg = parsed.documentElement;
  if (!(svg instanceof SVGSVGElement)) throw new Error("the layout program did not draw a picture");
  const kept = new Set(["svg", "g", "title", "path", "polygon", "polyline", "ellipse", "text", "tspan", "a", "defs", "linearGradient", "stop"]);
  for (const element of Array.from(svg.querySelectorAll("*"))) {
    if (!kept.has(element.localName)) element.remove();
    for (const attribute of Array.from(element.attributes)) {
      if (attribute.name.startsWith("on") || attribute.localName === "href") element.removeAttributeNode(attribute);
    }
  }
  for (const link of Array.from(svg.querySelectorAll("a"))) {
    const tip = link.getAttributeNS("http://www.w3.org/1999/xlink", "title");
    const group = document.createElementNS("http://www.w3.org/2000/svg", "g");
    group.append(...Array.from(link.childNodes));
    if (tip) {
      const title = document.createElementNS("http://www.w3.org/2000/svg", "title");
      title.setAttribute("class", "tip");
      title.textContent = tip;
      group.prepend(title);
    }
    link.replaceWith(group);
  }
  return document.importNode(svg, true);
}
