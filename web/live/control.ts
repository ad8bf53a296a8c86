// The commands at the top, and that of the chosen node: only with a run that takes them.
import { byId, make, setText } from "./dom.ts";
import type { Update } from "./data.ts";

// Tells what went wrong; "" for nothing.
export async function command(words: Record<string, string>): Promise<string> {
  try {
    const answer = await fetch("/api/command", { method: "POST", headers: { "Content-Type": "application/json" }, body: JSON.stringify(words) });
    if (answer.ok) return "";
    const text = await answer.text();
    try {
      return (JSON.parse(text) as { error?: string }).error ?? text;
    } catch {
      return text.trim();
    }
  } catch {
    return "the run is not there any more";
  }
}

export class Control {
  private readonly bar = byId("control");
  private readonly pause = byId<HTMLButtonElement>("pause");
  private readonly step = byId<HTMLButtonElement>("step");
  private readonly stop = byId<HTMLButtonElement>("stop");
  private readonly sure = byId<HTMLDialogElement>("sure");
  private readonly answer = byId("answer");
  private state = "";

  constructor() {
    this.pause.addEventListener("click", () => void this.send({ command: this.state === "paused" ? "resume" : "pause" }));
    this.step.addEventListener("click", () => void this.send({ command: "step" }));
    this.stop.addEventListener("click", () => this.sure.showModal());
    byId("keep-on").addEventListener("click", () => this.sure.close());
    byId("stop-now").addEventListener("click", () => {
      this.sure.close();
      void this.send({ command: "stop" });
    });
  }

  show(update: Update): void {
    this.bar.hidden = !update.control;
    this.state = update.state;
    const goes = update.state === "running" || update.state === "paused";
    const isPaused = update.state === "paused";
    setText(this.pause, isPaused ? "▶ Go on" : "❚❚ Pause");
    this.pause.title = isPaused ? "Delivers what waits (p)" : "Delivers nothing more until it goes on; what is at work comes to its end (p)";
    this.enable(this.pause, goes);
    this.enable(this.step, isPaused && update.waiting > 0 && update.at_work.length === 0);
    this.enable(this.stop, goes);
    if (!goes && this.sure.open) this.sure.close();
  }

  // Of the keys p and s.
  press(key: string): void {
    if (this.bar.hidden) return;
    (key === "p" ? this.pause : this.step).click();
  }

  // Not disabled in the browser's sense: the focus stays where it is.
  private enable(button: HTMLButtonElement, enabled: boolean): void {
    button.setAttribute("aria-disabled", String(!enabled));
  }

  private async send(words: Record<string, string>): Promise<void> {
    const button = { step: this.step, stop: this.stop }[words["command"] ?? ""] ?? this.pause;
    if (button.getAttribute("aria-disabled") === "true") return;
    const problem = await command(words);
    setText(this.answer, problem === "" ? "" : `! ${problem}`);
  }
}

// What a node can be given by hand: one of the signals that it takes.
export function injection(type: string, instance: string, inputs: string[]): HTMLElement[] {
  if (inputs.length === 0) return [];
  const choice = make("select", { id: "injected" }, ...inputs.map((name) => make("option", {}, name))) as HTMLSelectElement;
  const button = make("button", { type: "button" }, "Queue it");
  const answer = make("p", { class: "quiet", role: "status" });
  button.addEventListener("click", () => {
    const signal = choice.value;
    void command({ command: "inject", type, instance, signal }).then((problem) => {
      answer.className = problem === "" ? "quiet" : "failed";
      setText(answer, problem === "" ? `${signal} is queued, behind what waits.` : `! ${problem}`);
    });
  });
  return [make("h3", {}, "Give it a signal"), make("div", { class: "inject" }, make("label", { for: "injected" }, "Signal"), choice, button), answer];
}
