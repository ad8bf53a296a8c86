// What Graphviz drew, as elements that can be found, chosen and marked.

export interface Edge {
  element: SVGGElement;
  from: string;
  to: string;
}

// Where the workflow begins, or one that it takes in: no node.
export function isStart(id: string): boolean {
  return /^start\d*$/.test(id);
}

export class Picture {
  readonly nodes = new Map<string, SVGGElement>();
  readonly edges: Edge[] = [];

  constructor(readonly svg: SVGSVGElement) {
    for (const element of Array.from(svg.querySelectorAll<SVGGElement>("g.node, g.edge"))) {
      const title = element.querySelector(":scope > title")?.textContent ?? "";
      const ends = /^(\w+)->(\w+)$/.exec(title);
      if (ends?.[1] && ends[2]) this.edges.push({ element, from: ends[1], to: ends[2] });
      else this.addNode(title, element);
    }
    // A title would be shown as a tip over all it holds; nodes have better ones.
    for (const title of Array.from(svg.querySelectorAll("title:not(.tip)"))) title.remove();
  }

  textOf(element: Element): string {
    const texts = Array.from(element.querySelectorAll("text"), (text) => text.textContent?.trim() ?? "");
    return texts.filter((text) => text !== "").join(" ");
  }

  // All that holds the text, in the order of the picture: from left to right.
  find(query: string): SVGGElement[] {
    const wanted = query.trim().toLowerCase();
    if (wanted === "") return [];
    const all = [...this.nodes.values(), ...this.edges.map((edge) => edge.element)];
    const hits = all.filter((element) => this.textOf(element).toLowerCase().includes(wanted));
    const place = (element: SVGGElement) => element.getBBox();
    return hits.sort((a, b) => place(a).x - place(b).x || place(a).y - place(b).y);
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
    element.setAttribute("tabindex", "0");
    element.setAttribute("role", "button");
    element.setAttribute("aria-label", this.textOf(element));
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
