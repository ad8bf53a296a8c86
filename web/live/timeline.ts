// When the deliveries of the table were made, on a line. Long times without any are drawn short, with a mark.
import { byId, counted, make, setText, time } from "./dom.ts";
import { type Delivery, nodeOf } from "./data.ts";

const kMostGaps = 10;
const kLonger = 5; // times as long as all that are not drawn short
const kLeastPart = 0.02; // of the time that is drawn as it is
const kGapWidth = 5; // percent

interface Stretch {
  begin: number; // seconds
  end: number;
  left: number; // percent
  width: number;
}

interface Gap {
  begin: number;
  end: number;
}

// The times in which nothing was at work, the longest first.
function gapsOf(deliveries: Delivery[]): Gap[] {
  const gaps: Gap[] = [];
  let end = deliveries[0]?.begin ?? 0;
  for (const { begin, seconds } of deliveries) {
    if (begin > end) gaps.push({ begin: end, end: begin });
    end = Math.max(end, begin + seconds);
  }
  return gaps.sort((a, b) => b.end - b.begin - (a.end - a.begin));
}

// Those that are drawn short: much longer than the others.
function longGaps(gaps: Gap[], span: number): Gap[] {
  const lengthOf = (index: number) => (gaps[index]?.end ?? 0) - (gaps[index]?.begin ?? 0);
  let count = 0;
  for (let i = 0; i < Math.min(kMostGaps, gaps.length) && lengthOf(i) > kLeastPart * span; ++i) {
    span -= lengthOf(i);
    if (lengthOf(i) > kLonger * lengthOf(i + 1)) count = i + 1;
  }
  return gaps.slice(0, count).sort((a, b) => a.begin - b.begin);
}

export class Timeline {
  private readonly line = byId("timeline");
  private readonly facts = byId("timeline-facts");

  constructor(onChoice: (delivery: Delivery) => void) {
    this.line.addEventListener("click", (event) => {
      const bar = event.target instanceof HTMLElement ? this.bars.get(event.target) : undefined;
      if (bar) onChoice(bar);
    });
  }

  private bars = new Map<HTMLElement, Delivery>();

  // In any order.
  show(some: Delivery[]): void {
    const deliveries = [...some].sort((a, b) => a.begin - b.begin);
    const begin = deliveries[0]?.begin ?? 0;
    const end = deliveries.reduce((latest, each) => Math.max(latest, each.begin + each.seconds), begin);
    const gaps = longGaps(gapsOf(deliveries), end - begin);
    const stretches = layOut(begin, end, gaps);
    this.bars = new Map();
    const parts: HTMLElement[] = [];
    for (const delivery of deliveries) {
      const stretch = stretches.find((each) => delivery.begin <= each.end) ?? stretches[stretches.length - 1];
      if (!stretch) continue;
      const scale = stretch.end > stretch.begin ? stretch.width / (stretch.end - stretch.begin) : 0;
      const failed = delivery.answer !== "accepted";
      const bar = make("span", { class: failed ? "bar-of failed-one" : "bar-of", title: `${delivery.number} ${nodeOf(delivery.receiver)}, ${time(delivery.begin)}` });
      bar.style.left = `${stretch.left + (delivery.begin - stretch.begin) * scale}%`;
      bar.style.width = `${delivery.seconds * scale}%`;
      this.bars.set(bar, delivery);
      parts.push(bar);
    }
    gaps.forEach((gap, index) => {
      const mark = make("span", { class: "gap", title: `nothing for ${time(gap.end - gap.begin)}` }, `⋯ ${time(gap.end - gap.begin)}`);
      const before = stretches[index];
      mark.style.left = `${before ? before.left + before.width : 0}%`;
      mark.style.width = `${kGapWidth}%`;
      parts.push(mark);
    });
    this.line.replaceChildren(...parts);
    this.line.hidden = deliveries.length === 0;
    const pauses = gaps.length === 0 ? "" : `, of them ${gaps.map((gap) => time(gap.end - gap.begin)).join(", ")} without any`;
    const words = deliveries.length === 0 ? "" : `${counted(deliveries.length)} deliveries in ${time(end - begin)}`;
    setText(this.facts, words);
    this.line.setAttribute("aria-label", `Time line of ${words}${pauses}`);
  }
}

// What lies between the gaps, each as wide as it is long.
function layOut(begin: number, end: number, gaps: Gap[]): Stretch[] {
  const places = [...gaps, { begin: end, end }];
  const drawn = end - begin - gaps.reduce((sum, gap) => sum + gap.end - gap.begin, 0);
  const room = 99 - kGapWidth * gaps.length;
  let from = begin;
  let left = 0;
  return places.map((gap) => {
    const width = drawn > 0 ? ((gap.begin - from) / drawn) * room : room / places.length;
    const stretch = { begin: from, end: gap.begin, left, width };
    from = gap.end;
    left += width + kGapWidth;
    return stretch;
  });
}
