// The picture: panned and zoomed by mouse, fingers and keys.

const kLeast = 0.02;
const kMost = 8;
const kStep = 1.25;
const kKeyStep = 60; // pixels
const kMargin = 16;
const kThin = 80; // pixels
const kAround = 0.75; // of the window's size, at each side

export interface Point {
  x: number;
  y: number;
}

export class View {
  private svg: SVGSVGElement | undefined;
  private stage: SVGGElement | undefined;
  private drawn = { x: 0, y: 0, scale: 0 }; // as it was painted last; since then it was only moved
  private width = 1; // of the picture, in its own units
  private height = 1;
  private isFitted = true; // nobody has moved or zoomed it since all of it was shown
  private scale = 1;
  private offset: Point = { x: 0, y: 0 };
  private readonly fingers = new Map<number, Point>();
  private moved = 0; // pixels since the button went down: a click does not move
  private frame = 0;

  constructor(
    private readonly box: HTMLElement,
    private readonly onScale: (scale: number) => void,
  ) {
    box.addEventListener("wheel", (event) => this.onWheel(event), { passive: false });
    box.addEventListener("pointerdown", (event) => this.onDown(event));
    box.addEventListener("pointermove", (event) => this.onMove(event));
    for (const end of ["pointerup", "pointercancel"] as const) {
      box.addEventListener(end, (event) => this.fingers.delete(event.pointerId));
    }
    new ResizeObserver(() => this.keepInSight()).observe(box);
  }

  // Another picture in place of the one that is there. `anchor` is an element of the new one, and where its middle was.
  // `beginning` is what to look at where all of it is too much.
  put(svg: SVGSVGElement, beginning?: SVGGraphicsElement, anchor?: { element: SVGGraphicsElement; at: Point }): void {
    const size = svg.viewBox.baseVal;
    this.width = size.width;
    this.height = size.height;
    this.stage = document.createElementNS("http://www.w3.org/2000/svg", "g");
    this.stage.append(...Array.from(svg.childNodes));
    svg.append(this.stage);
    svg.removeAttribute("viewBox");
    this.svg = svg;
    this.drawn.scale = 0;
    this.box.replaceChildren(svg);
    if (this.isFitted || !anchor) return this.fitOr(beginning);
    this.apply();
    const now = middleOf(anchor.element);
    this.pan({ x: anchor.at.x - now.x, y: anchor.at.y - now.y });
  }

  // Whether the button that was just let go moved the picture.
  get wasDragged(): boolean {
    return this.moved > 4;
  }

  fit(): void {
    this.isFitted = true;
    const { clientWidth, clientHeight } = this.box;
    if (clientWidth === 0) return; // not to be seen now
    const most = Math.min((clientWidth - 2 * kMargin) / this.width, (clientHeight - 2 * kMargin) / this.height);
    this.scale = clamp(Math.min(most, 1.5));
    this.offset = {
      x: (clientWidth - this.width * this.scale) / 2,
      y: (clientHeight - this.height * this.scale) / 2,
    };
    this.show();
  }

  // All of it, or where that would be no more than a line, its beginning.
  fitOr(beginning: SVGGraphicsElement | undefined): void {
    this.fit();
    if (!beginning || Math.min(this.width, this.height) * this.scale >= kThin) return;
    this.reveal(beginning);
    if (this.width > this.height) this.pan({ x: -0.4 * this.box.clientWidth, y: 0 });
  }

  zoom(factor: number, at: Point = { x: this.box.clientWidth / 2, y: this.box.clientHeight / 2 }): void {
    const scale = clamp(this.scale * factor);
    const ratio = scale / this.scale;
    this.offset = { x: at.x - (at.x - this.offset.x) * ratio, y: at.y - (at.y - this.offset.y) * ratio };
    this.scale = scale;
    this.isFitted = false;
    this.show();
  }

  larger(): void {
    this.zoom(kStep);
  }

  smaller(): void {
    this.zoom(1 / kStep);
  }

  // In sight and large enough to be read; into the middle where it is not.
  reveal(element: SVGGraphicsElement): void {
    if (this.box.clientWidth === 0) return;
    this.apply();
    const box = this.box.getBoundingClientRect();
    const isIn = (place: DOMRect) =>
      place.left >= box.left && place.right <= box.right && place.top >= box.top && place.bottom <= box.bottom;
    if (this.scale >= 0.6 && isIn(element.getBoundingClientRect())) return;
    if (this.scale < 0.6) this.zoom(0.9 / this.scale);
    this.apply();
    const place = element.getBoundingClientRect();
    this.pan({ x: box.x + box.width / 2 - (place.x + place.width / 2), y: box.y + box.height / 2 - (place.y + place.height / 2) });
  }

  // True where the key was for the picture.
  onKey(key: string): boolean {
    const moves: Record<string, Point> = {
      ArrowLeft: { x: kKeyStep, y: 0 },
      ArrowRight: { x: -kKeyStep, y: 0 },
      ArrowUp: { x: 0, y: kKeyStep },
      ArrowDown: { x: 0, y: -kKeyStep },
    };
    const move = moves[key];
    if (move) this.pan(move);
    else if (key === "+" || key === "=") this.larger();
    else if (key === "-") this.smaller();
    else if (key === "0") this.fit();
    else return false;
    return true;
  }

  private pan(by: Point): void {
    this.offset = { x: this.offset.x + by.x, y: this.offset.y + by.y };
    this.isFitted = false;
    this.show();
  }

  private onWheel(event: WheelEvent): void {
    event.preventDefault();
    const lines = event.deltaMode === WheelEvent.DOM_DELTA_LINE ? 16 : 1;
    const box = this.box.getBoundingClientRect();
    const at = { x: event.clientX - box.x, y: event.clientY - box.y };
    this.zoom(Math.exp((-event.deltaY * lines) / 400), at);
  }

  private onDown(event: PointerEvent): void {
    if (event.button !== 0) return;
    if (this.fingers.size === 0) this.moved = 0;
    this.fingers.set(event.pointerId, { x: event.clientX, y: event.clientY });
  }

  private onMove(event: PointerEvent): void {
    const before = this.fingers.get(event.pointerId);
    if (!before) return;
    const now = { x: event.clientX, y: event.clientY };
    const other = [...this.fingers].find(([id]) => id !== event.pointerId)?.[1];
    if (other) {
      const box = this.box.getBoundingClientRect();
      const spread = Math.hypot(before.x - other.x, before.y - other.y);
      const middle = { x: (now.x + other.x) / 2 - box.x, y: (now.y + other.y) / 2 - box.y };
      if (spread > 0) this.zoom(Math.hypot(now.x - other.x, now.y - other.y) / spread, middle);
      this.moved = Number.MAX_VALUE;
    } else {
      this.moved += Math.abs(now.x - before.x) + Math.abs(now.y - before.y);
      // Only what is dragged is held: a click has to reach its node.
      if (this.wasDragged) this.box.setPointerCapture(event.pointerId);
      this.pan({ x: now.x - before.x, y: now.y - before.y });
    }
    this.fingers.set(event.pointerId, now);
  }

  // A smaller window does not leave the picture outside of it.
  private keepInSight(): void {
    if (!this.stage || this.box.clientWidth === 0) return;
    this.drawn.scale = 0;
    if (this.isFitted) return this.fit();
    const { clientWidth, clientHeight } = this.box;
    const clampInto = (value: number, size: number, room: number) =>
      Math.min(Math.max(value, 40 - size * this.scale), room - 40);
    this.offset.x = clampInto(this.offset.x, this.width, clientWidth);
    this.offset.y = clampInto(this.offset.y, this.height, clientHeight);
    this.show();
  }

  private show(): void {
    this.onScale(this.scale);
    this.frame ||= requestAnimationFrame(() => {
      this.frame = 0;
      this.apply();
    });
  }

  private apply(): void {
    const { svg, stage, scale, offset } = this;
    if (!svg || !stage) return;
    // What lies around the window is painted with it, so that the browser has only to move it, by whole pixels.
    const around = { x: Math.round(this.box.clientWidth * kAround), y: Math.round(this.box.clientHeight * kAround) };
    let by = { x: Math.round(offset.x - this.drawn.x), y: Math.round(offset.y - this.drawn.y) };
    if (scale !== this.drawn.scale || Math.abs(by.x) > around.x || Math.abs(by.y) > around.y) {
      this.drawn = { ...offset, scale };
      by = { x: 0, y: 0 };
      svg.setAttribute("width", String(this.box.clientWidth + 2 * around.x));
      svg.setAttribute("height", String(this.box.clientHeight + 2 * around.y));
      stage.setAttribute("transform", `translate(${offset.x + around.x} ${offset.y + around.y}) scale(${scale})`);
    }
    svg.style.transform = `translate(${by.x - around.x}px, ${by.y - around.y}px)`;
  }
}

export function middleOf(element: Element): Point {
  const place = element.getBoundingClientRect();
  return { x: place.x + place.width / 2, y: place.y + place.height / 2 };
}

function clamp(scale: number): number {
  return Math.min(Math.max(scale, kLeast), kMost);
}
