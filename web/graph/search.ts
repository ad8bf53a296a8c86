// The field that finds names, types and signals in the picture, and the nodes in it that are folded.
import type { GraphData } from "./data.ts";
import type { Wiring } from "./wiring.ts";

interface Hit {
  id: string; // of a node; "" for an arrow
  element: SVGGElement; // or the box that the node is in
  isFolded: boolean;
}

export class Search {
  private hits: Hit[] = [];
  private current = -1;

  constructor(
    private readonly wiring: Wiring,
    private readonly data: GraphData,
    private readonly field: HTMLInputElement,
    private readonly counter: HTMLElement,
    private readonly buttons: { previous: HTMLButtonElement; next: HTMLButtonElement },
  ) {
    field.addEventListener("input", () => this.search());
    field.addEventListener("keydown", (event) => {
      if (event.key === "Enter") this.go(event.shiftKey ? -1 : 1);
      if (event.key === "Escape") {
        field.value = "";
        this.search();
        field.blur();
      }
    });
    buttons.previous.addEventListener("click", () => this.go(-1));
    buttons.next.addEventListener("click", () => this.go(1));
  }

  // Another picture shows the same: the hit that was there stays.
  again(): void {
    if (this.field.value.trim() === "") return;
    const id = this.hits[this.current]?.id ?? "";
    this.find();
    this.show(Math.max(0, this.hits.findIndex((hit) => hit.id === id && id !== "")), false);
  }

  private search(): void {
    this.find();
    this.show(0, true);
  }

  // In the order of the picture: from left to right.
  private find(): void {
    for (const { element } of this.hits) element.classList.remove("hit", "current");
    const wanted = this.field.value.trim().toLowerCase();
    const { picture, folding } = this.wiring;
    this.hits = [];
    if (wanted === "" || !picture || !folding) return;
    const holds = (element: SVGGElement) => picture.textOf(element).toLowerCase().includes(wanted);
    for (const [id, element] of picture.nodes) if (!folding.groupAt(id) && holds(element)) this.hits.push({ id, element, isFolded: false });
    for (const { element } of picture.edges) if (holds(element)) this.hits.push({ id: "", element, isFolded: false });
    for (const { id, name, type } of this.data.nodes) {
      const box = folding.boxOf(id);
      const element = box === id || !`${name} ${type}`.toLowerCase().includes(wanted) ? undefined : picture.nodes.get(box);
      if (element) this.hits.push({ id, element, isFolded: true });
    }
    const places = new Map<SVGGElement, DOMRect>();
    for (const { element } of this.hits) places.set(element, places.get(element) ?? element.getBBox());
    const place = ({ element }: Hit) => places.get(element) ?? element.getBBox();
    this.hits.sort((a, b) => place(a).x - place(b).x || place(a).y - place(b).y);
    for (const { element } of this.hits) element.classList.add("hit");
  }

  // To the next one; one that is folded is unfolded first.
  private go(step: number): void {
    const hit = this.hits[this.current];
    if (!hit) return;
    if (hit.isFolded) void this.wiring.reveal(hit.id);
    else this.show((this.current + step + this.hits.length) % this.hits.length, true);
  }

  private show(index: number, revealed: boolean): void {
    this.hits[this.current]?.element.classList.remove("current");
    this.current = index;
    const hit = this.hits[index];
    this.buttons.previous.disabled = this.buttons.next.disabled = !hit;
    const folded = hit?.isFolded ? ", folded" : "";
    this.counter.textContent = hit ? `${index + 1} of ${this.hits.length}${folded}` : this.field.value.trim() === "" ? "" : "none";
    if (!hit) return;
    hit.element.classList.add("current");
    if (revealed) this.wiring.view.reveal(hit.element);
  }
}
