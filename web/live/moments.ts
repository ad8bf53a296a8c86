// A recorded run: the slider over its deliveries, and what is told of the moment that it shows.
import { byId, type Child, counted, make, setText, time } from "./dom.ts";
import type { Delivery, Entry, Moment, RecordFacts } from "./data.ts";
import { breakable, type NodePanel, text } from "./panel.ts";
import { answerOf } from "./table.ts";

const elsewhere = ({ delivery, sender, receiver }: Moment["elsewhere"][number]): HTMLElement => make("li", {}, `${delivery} ${receiver}`, make("span", { class: "quiet" }, ` ← ${sender ?? "start"}`));

export class Moments {
  private readonly slider = byId<HTMLInputElement>("place");
  private readonly output = byId("moment");
  private numbers = new Map<number, string>(); // of deliveries, by their places, as far as they are known
  private count = 0;
  private shown = -1;
  private wanted: string | number | undefined; // a number, or a place
  private asking = false;
  private path = ""; // of the dictionary

  constructor(
    private readonly panel: NodePanel,
    private readonly onMoment: (moment: Moment) => void,
    private readonly onLoss: () => void,
  ) {
    byId("moments").hidden = false;
    document.body.classList.add("is-record");
    setText(byId("table-title"), "Deliveries up to here");
    byId("hold").hidden = true;
    this.slider.addEventListener("input", () => this.goTo(Number(this.slider.value)));
    byId("first").addEventListener("click", () => this.goTo(0));
    byId("back").addEventListener("click", () => this.goTo(this.shown - 1));
    byId("on").addEventListener("click", () => this.goTo(this.shown + 1));
    byId("last").addEventListener("click", () => this.goTo(this.count));
    addEventListener("hashchange", () => this.followAddress());
    void this.begin();
  }

  // To the delivery of that number, as the address has it.
  go(number: string): void {
    this.ask(number);
  }

  // Where an element has the focus, the keys that scroll are its own.
  onKey(key: string, hasFocus: boolean): boolean {
    if (key === ",") this.goTo(this.shown - 1);
    else if (key === ".") this.goTo(this.shown + 1);
    else if (hasFocus) return false;
    else if (key === "Home") this.goTo(0);
    else if (key === "End") this.goTo(this.count);
    else return false;
    return true;
  }

  private async begin(): Promise<void> {
    try {
      const facts = (await (await fetch("/api/record")).json()) as RecordFacts;
      this.count = facts.deliveries;
      this.slider.max = String(facts.deliveries);
      this.slider.value = this.slider.max;
      const run = facts.runs.find((each) => each.run === facts.run);
      const end = run?.exit_code === null || run === undefined ? "has not said that it ended" : `ended with ${run.exit_code}`;
      byId("state").title = `Run ${facts.run} of ${facts.runs.length} in ${facts.file}, ${end}`;
      if (facts.problem !== "") setText(byId("answer"), `! ${facts.problem}; shown up to there`);
      if (!this.followAddress()) this.ask(this.count);
    } catch {
      this.onLoss();
    }
  }

  private followAddress(): boolean {
    const number = /^#d=(\+?\d+)$/.exec(decodeURIComponent(location.hash))?.[1];
    if (number === undefined) return false;
    this.ask(number);
    return true;
  }

  private goTo(place: number): void {
    if (place >= 0 && place <= this.count) this.ask(place);
  }

  // One at a time: while the slider moves, those in between are left out.
  private ask(wanted: string | number): void {
    this.wanted = wanted;
    if (!this.asking) void this.answer();
  }

  private async answer(): Promise<void> {
    this.asking = true;
    while (this.wanted !== undefined) {
      const wanted = this.wanted;
      this.wanted = undefined;
      const slow = setTimeout(() => setText(this.output, "reading…"), 300);
      try {
        const number = typeof wanted === "string" ? wanted : await this.numberAt(wanted);
        const answer = await fetch(`/api/moment?d=${encodeURIComponent(number)}`);
        if (!answer.ok) {
          setText(byId("answer"), `! ${(await answer.text()).trim()}`);
          if (this.shown < 0) this.wanted = this.count;
          continue;
        }
        if (this.shown >= 0) setText(byId("answer"), "");
        this.show((await answer.json()) as Moment);
      } catch {
        this.onLoss();
      } finally {
        clearTimeout(slow);
      }
    }
    this.asking = false;
  }

  private async numberAt(place: number): Promise<string> {
    if (place === 0) return "0";
    if (!this.numbers.has(place)) {
      const after = Math.max(0, place - 250);
      const rows = (await (await fetch(`/api/deliveries?after=${after}`)).json()) as Delivery[];
      for (const row of rows) this.numbers.set(row.place, String(row.number));
    }
    return this.numbers.get(place) ?? "0";
  }

  private show(moment: Moment): void {
    this.shown = moment.place;
    const number = moment.delivery ? String(moment.delivery.number) : "0";
    if (document.activeElement !== this.slider || this.wanted === undefined) this.slider.value = String(moment.place);
    const words = moment.delivery ? `after delivery ${number}, ${counted(moment.place)} of ${counted(this.count)}` : `before the first of ${counted(this.count)}`;
    setText(this.output, words);
    this.slider.setAttribute("aria-valuetext", words);
    for (const [id, end] of [["first", 0], ["back", 0], ["on", this.count], ["last", this.count]] as const) {
      byId(id).setAttribute("aria-disabled", String(moment.place === end));
    }
    history.replaceState(null, "", `#d=${number}`);
    this.onMoment(moment);
    this.panel.showMoment(number, this.parts(moment));
  }

  private parts(moment: Moment): Child[] {
    const { delivery } = moment;
    const parts: Child[] = [];
    if (delivery) {
      const rows: [string, Child][] = [["To", delivery.receiver], ["From", delivery.sender], ["Began", time(delivery.begin)], ["Took", time(delivery.seconds)], ["Answer", answerOf(delivery)]];
      parts.push(make("h2", {}, `Delivery ${delivery.number}`), make("dl", {}, ...rows.flatMap(([name, value]) => [make("dt", {}, name), make("dd", {}, value)])));
      if (moment.bridge.length > 0) parts.push(make("h3", {}, "Over a bridge"), make("ul", {}, ...moment.bridge.map((line) => make("li", {}, line))));
      parts.push(make("h3", {}, "What it changed"), ...this.changes(moment));
      if (moment.why.length > 1) parts.push(make("h3", {}, "Why it ran"), this.ways(moment.why.slice(1)));
      if (moment.elsewhere.length > 0) parts.push(make("h3", {}, "Why, in the other runs"), make("ul", {}, ...moment.elsewhere.map(elsewhere)));
      if (moment.caused.length > 0) parts.push(make("h3", {}, "What came of it"), this.ways(moment.caused));
    } else {
      parts.push(make("h2", {}, "Before the first delivery"), make("p", { class: "quiet" }, "Move the slider, or press . and , to go through the run."));
    }
    if (moment.lacks_changes) parts.push(make("p", { class: "failed" }, "! The record lacks changes of the dictionary: what is shown may differ from what was."));
    const place = make("div", {});
    parts.push(make("h3", {}, "Dictionary at this moment"), place);
    void this.browse(place, this.path);
    return parts;
  }

  private changes({ changes, changes_cut }: Moment): Child[] {
    if (changes.length === 0) return [make("p", { class: "quiet" }, "Nothing in the dictionary.")];
    const items = changes.map(({ path, kind, before, after }) => {
      const lines: HTMLElement[] = [make("div", {}, ...breakable(path))];
      if (kind === "order") lines.push(make("div", { class: "quiet" }, "its entries stand in another order"));
      if (before !== null) lines.push(make("div", { class: "before" }, "− ", make("code", {}, before)));
      if (after !== null) lines.push(make("div", { class: "after" }, "+ ", make("code", {}, after)));
      return make("li", {}, ...lines);
    });
    return [make("ul", { class: "changes" }, ...items), ...(changes_cut ? [make("p", { class: "quiet" }, "and more")] : [])];
  }

  private ways(deliveries: Delivery[]): HTMLElement {
    return make(
      "ul",
      {},
      ...deliveries.map((each) => {
        const link = make("button", { type: "button", class: "link" }, `${each.number} ${each.receiver}`);
        link.addEventListener("click", () => this.ask(String(each.number)));
        return make("li", {}, link, make("span", { class: "quiet" }, ` ← ${each.sender} `), each.answer === "accepted" ? "" : answerOf(each));
      }),
    );
  }

  private async browse(place: HTMLElement, path: string): Promise<void> {
    const number = location.hash.slice("#d=".length) || "0";
    const answer = await fetch(`/api/dictionary?d=${encodeURIComponent(decodeURIComponent(number))}&path=${encodeURIComponent(path)}`).catch(() => undefined);
    if (!answer?.ok) {
      if (path !== "") return this.browse(place, "");
      place.replaceChildren(make("p", { class: "failed" }, "! It could not be read."));
      return;
    }
    this.path = path;
    const { entries, cut } = (await answer.json()) as { entries: Entry[]; cut: boolean };
    const step = (name: string, to: string) => {
      const link = make("button", { type: "button", class: "link" }, name);
      link.addEventListener("click", () => void this.browse(place, to).then(() => place.querySelector("button")?.focus()));
      return link;
    };
    const parts = path.split("/").slice(1);
    const crumbs = make("div", { class: "crumbs" }, step("all", ""), ...parts.flatMap((name, index): Child[] => ["/", step(name, `/${parts.slice(0, index + 1).join("/")}`)]));
    const rows = entries.flatMap((entry) => [
      make("dt", {}, entry.below > 0 ? step(entry.name, entry.path) : entry.name),
      make("dd", {}, ...(entry.type === "" || entry.type === "Nil" ? [] : [text(entry)]), ...(entry.below > 0 ? [make("span", { class: "quiet" }, ` ${counted(entry.below)} below`)] : [])),
    ]);
    place.replaceChildren(crumbs, rows.length === 0 ? make("p", { class: "quiet" }, "Nothing below it.") : make("dl", { class: "entries" }, ...rows));
    if (cut) place.append(make("p", { class: "quiet" }, "and more"));
  }
}
