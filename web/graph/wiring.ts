// The wiring as both pages show it: laid out, with its types folded and unfolded.
import { cached } from "./cache.ts";
import type { GraphData } from "./data.ts";
import { counted, Folding, type Group, kMostBoxes } from "./fold.ts";
import { type Drawing, drawBeside } from "./layout.ts";
import { isStart, Picture, readPicture } from "./picture.ts";
import { middleOf, View } from "./view.ts";

const kLongDrawing = 300; // nodes

function byId(id: string): HTMLElement {
  const element = document.getElementById(id);
  if (!element) throw new Error(`no element ${id}`);
  return element;
}

export class Wiring {
  readonly view: View;
  picture: Picture | undefined;
  folding: Folding | undefined;
  private readonly box = byId("picture");
  private readonly notice = byId("notice"); // in the place of the first picture
  private readonly note = byId("note"); // beside a picture
  private readonly button = byId("fold");
  private chosen = "";
  private turn = 0;

  constructor(
    private readonly script: string,
    private readonly onDrawn: (drawing: Drawing) => void,
  ) {
    this.view = new View(this.box, (scale) => {
      byId("scale").textContent = `${Math.round(scale * 100)} %`;
    });
    byId("larger").addEventListener("click", () => this.view.larger());
    byId("smaller").addEventListener("click", () => this.view.smaller());
    byId("fit").addEventListener("click", () => this.view.fit());
    this.button.addEventListener("click", () => void this.toggleAll());
    this.box.addEventListener("focusin", (event) => {
      const element = this.picture?.elementOf(this.picture.idOf(event.target));
      // Of a frame, which may be large, what stands in it.
      if (element?.matches(":focus-visible")) this.view.reveal(element.querySelector<SVGGElement>(":scope > text") ?? element);
    });
  }

  // Another wiring. Types that are folded stay so where they are there still.
  async show(data: GraphData): Promise<void> {
    const before = this.folding;
    this.folding = new Folding(data);
    if (before) this.folding.takeOver(before);
    if (data.nodes.length > kLongDrawing) this.say(`Drawing ${counted(data.nodes.length, "node")}…`);
    await this.draw();
  }

  // The node stands out; "" is none.
  choose(id: string): void {
    this.chosen = id;
    this.picture?.choose(this.folding?.boxOf(id) ?? id);
  }

  // Into sight, out of its folded type where it is in one.
  async reveal(id: string): Promise<void> {
    if (this.folding?.separate(id)) await this.draw({ from: this.folding.groupWith(id)?.box ?? "", to: id });
    const element = this.picture?.nodes.get(id);
    if (element) this.view.reveal(element);
  }

  // The node below a click; `undefined` where that was for a type, which is unfolded or folded again.
  press(target: EventTarget | null): string | undefined {
    const id = this.picture?.idOf(target) ?? "";
    const group = this.folding?.groupAt(id);
    if (!group) return isStart(id) ? "" : id;
    void this.toggle(group);
    return undefined;
  }

  async toggleAll(): Promise<void> {
    const { folding } = this;
    if (!folding?.canFold) return;
    if (folding.isFolded) folding.unfoldAll();
    else folding.foldAll();
    await this.draw();
  }

  private async toggle(group: Group): Promise<void> {
    const { folding } = this;
    if (!folding) return;
    const unfolds = folding.hasFolded(group);
    if (!unfolds) folding.fold(group);
    else if (!folding.unfold(group)) {
      this.say(`${group.type} has ${counted(group.members.length, "instance")}: with them there would be more than ${kMostBoxes} boxes. A search shows single ones; without "Fold types" all are drawn.`);
      return;
    }
    const [from, to] = unfolds ? [group.box, group.frame] : [group.frame, group.box];
    await this.draw({ from, to, focuses: this.box.contains(document.activeElement) && document.activeElement !== this.box });
  }

  // `from` is what `to` comes in the place of.
  private async draw(change?: { from: string; to: string; focuses?: boolean }): Promise<void> {
    const { folding } = this;
    if (!folding) return;
    const turn = ++this.turn;
    const dot = folding.dot();
    const slow = setTimeout(() => this.say("Drawing…"), 500);
    try {
      const drawing = await cached(dot, () => drawBeside(this.script, dot, () => this.say("The wiring is too long or too dense to be drawn in layers soon: drawing it more simply…")));
      if (turn === this.turn) this.put(folding, drawing, change);
    } finally {
      clearTimeout(slow);
    }
  }

  private put(folding: Folding, drawing: Drawing, change?: { from: string; to: string; focuses?: boolean }): void {
    const before = change && this.picture?.elementOf(change.from);
    const at = before && middleOf(before);
    this.picture = new Picture(readPicture(drawing.svg));
    const element = change && this.picture.elementOf(change.to);
    const beginning = this.picture.nodes.get(folding.boxOf(this.chosen)) ?? this.picture.nodes.get("start");
    this.view.put(this.picture.svg, beginning, element && at && { element, at });
    this.picture.choose(folding.boxOf(this.chosen));
    this.button.hidden = !folding.canFold;
    this.button.setAttribute("aria-pressed", String(folding.isFolded));
    this.say("");
    this.onDrawn(drawing);
    if (change?.focuses) element?.focus();
  }

  private say(text: string): void {
    if (this.picture) this.note.textContent = text;
    else if (text !== "") this.notice.textContent = text;
  }
}
