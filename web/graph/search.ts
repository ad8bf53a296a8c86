// The field that finds names, types and signals in the picture.
import type { Picture } from "./picture.ts";

export class Search {
  private hits: SVGGElement[] = [];
  private current = -1;

  constructor(
    private readonly picture: Picture,
    private readonly field: HTMLInputElement,
    private readonly counter: HTMLElement,
    private readonly buttons: { previous: HTMLButtonElement; next: HTMLButtonElement },
    private readonly onHit: (hit: SVGGElement) => void,
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

  private search(): void {
    for (const hit of this.hits) hit.classList.remove("hit", "current");
    this.hits = this.picture.find(this.field.value);
    for (const hit of this.hits) hit.classList.add("hit");
    this.current = -1;
    this.buttons.previous.disabled = this.buttons.next.disabled = this.hits.length === 0;
    if (this.hits.length > 0) this.go(1);
    else this.counter.textContent = this.field.value.trim() === "" ? "" : "none";
  }

  private go(step: number): void {
    if (this.hits.length === 0) return;
    this.hits[this.current]?.classList.remove("current");
    this.current = (this.current + step + this.hits.length) % this.hits.length;
    const hit = this.hits[this.current];
    if (!hit) return;
    hit.classList.add("current");
    this.counter.textContent = `${this.current + 1} of ${this.hits.length}`;
    this.onHit(hit);
  }
}
