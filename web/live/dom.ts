// Elements of the page. What a workflow holds becomes text in them, never markup.

export type Child = string | HTMLElement;

export function byId<T extends HTMLElement>(id: string): T {
  const element = document.getElementById(id);
  if (!element) throw new Error(`no element ${id}`);
  return element as T;
}

export function make(tag: string, attributes: Record<string, string>, ...children: Child[]): HTMLElement {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
  element.append(...children);
  return element;
}

// Only where it is another one: a text that is set anew loses the selection, and is read aloud again.
export function setText(element: Element, text: string): void {
  if (element.textContent !== text) element.textContent = text;
}

export function time(seconds: number): string {
  if (seconds < 0.001) return `${Math.round(seconds * 1e6)} µs`;
  if (seconds < 1) return `${(seconds * 1000).toFixed(seconds < 0.01 ? 2 : 0)} ms`;
  if (seconds < 60) return `${seconds.toFixed(1)} s`;
  const whole = Math.floor(seconds);
  const two = (number: number) => String(number).padStart(2, "0");
  if (whole < 3600) return `${Math.floor(whole / 60)}:${two(whole % 60)}`;
  return `${Math.floor(whole / 3600)}:${two(Math.floor(whole / 60) % 60)}:${two(whole % 60)}`;
}

export function counted(number: number): string {
  return number.toLocaleString("en-US");
}
