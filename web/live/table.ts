// The table of the last deliveries, the newest first.
import { byId, make, setText, time } from "./dom.ts";
import { type Delivery, nodeOf } from "./data.ts";
import { Timeline } from "./timeline.ts";

const kMostRows = 200;

export function answerOf(delivery: Delivery): HTMLElement {
  const failed = delivery.answer !== "accepted";
  const words = delivery.text === "" ? delivery.answer : `${delivery.answer}: ${delivery.text}`;
  return make("span", { class: failed ? "failed" : "quiet" }, failed ? `! ${words}` : words);
}

export class Table {
  private readonly body = byId("deliveries");
  private readonly nothing = byId("no-deliveries");
  private readonly failedOnly = byId<HTMLInputElement>("only-failed");
  private readonly holder = byId("hold");
  private deliveries: Delivery[] = []; // the oldest first
  private painted = 0; // the place of the newest row
  private held = false;
  private isRecord = false;
  private readonly line: Timeline;

  constructor(
    private readonly onChoice: (node: string) => void,
    private readonly onMoment: (number: string) => void = () => undefined,
  ) {
    this.line = new Timeline((delivery) => (this.isRecord ? this.onMoment(String(delivery.number)) : this.onChoice(nodeOf(delivery.receiver))));
    this.failedOnly.addEventListener("change", () => this.paint(true));
    this.holder.addEventListener("click", () => {
      this.held = !this.held;
      this.holder.setAttribute("aria-pressed", String(this.held));
      if (!this.held) this.paint(true);
    });
  }

  toggleHold(): void {
    this.holder.click();
  }

  // Those that are known already are left out.
  add(deliveries: Delivery[]): void {
    const last = this.deliveries.slice(-1)[0]?.place ?? 0;
    const fresh = deliveries.filter((each) => each.place > last);
    if (fresh.length === 0) return;
    this.deliveries = [...this.deliveries, ...fresh].slice(-500);
  }

  // What was added since.
  show(): void {
    if (!this.held && !this.isRecord) this.paint(false);
  }

  // Those of a record, up to a moment: the last one is marked, and each leads to its own.
  showUpTo(deliveries: Delivery[]): void {
    this.isRecord = true;
    this.deliveries = deliveries;
    this.paint(true);
    if (!this.failedOnly.checked) this.body.firstElementChild?.setAttribute("aria-current", "true");
  }

  // Another run.
  clear(): void {
    this.deliveries = [];
    this.paint(true);
  }

  private paint(anew: boolean): void {
    if (anew) {
      this.body.replaceChildren();
      this.painted = 0;
    }
    const last = this.deliveries.slice(-1)[0]?.place ?? 0;
    if (!anew && last === this.painted) return;
    const wanted = this.deliveries.filter((each) => !this.failedOnly.checked || each.answer !== "accepted");
    const fresh = wanted.slice(-kMostRows).filter((delivery) => delivery.place > this.painted);
    const kept = kMostRows - fresh.length;
    if (kept === 0) this.body.replaceChildren();
    while (this.body.childElementCount > kept) this.body.lastElementChild?.remove();
    this.body.prepend(...fresh.reverse().map((delivery) => this.row(delivery)));
    this.painted = last;
    this.line.show(this.deliveries.slice(-kMostRows));
    this.nothing.hidden = this.body.children.length > 0;
    setText(this.nothing, this.deliveries.length > 0 ? "None of the last deliveries failed." : "Nothing has been delivered yet.");
  }

  private link(delivery: Delivery): HTMLElement {
    const link = make("button", { type: "button", class: "link", "aria-label": `Delivery ${delivery.number}` }, String(delivery.number));
    link.addEventListener("click", () => this.onMoment(String(delivery.number)));
    return link;
  }

  private row(delivery: Delivery): HTMLElement {
    const receiver = make("button", { type: "button", class: "link" }, delivery.receiver);
    receiver.addEventListener("click", () => this.onChoice(nodeOf(delivery.receiver)));
    return make(
      "tr",
      {},
      make("td", { class: "number" }, this.isRecord ? this.link(delivery) : String(delivery.number)),
      make("td", { class: "number" }, time(delivery.begin)),
      make("td", { class: "number" }, time(delivery.seconds)),
      make("td", {}, delivery.sender),
      make("td", {}, receiver),
      make("td", {}, answerOf(delivery)),
    );
  }
}
