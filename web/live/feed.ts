// The line to the run: one WebSocket, opened again where it broke while the run goes on.
import type { Update } from "./data.ts";

const kOver = new Set(["ended", "saved", "stopped"]);

export class Feed {
  private waits = 500; // ms until the next try
  private over = false;

  constructor(
    private readonly onUpdate: (update: Update) => void,
    private readonly onLoss: (final: boolean) => void,
  ) {
    this.open();
  }

  private open(): void {
    const socket = new WebSocket(`ws://${location.host}/api/live`);
    socket.onmessage = (event: MessageEvent<string>) => {
      if (event.data === "") return;
      const update = JSON.parse(event.data) as Update;
      this.waits = 500;
      this.over = kOver.has(update.state);
      this.onUpdate(update);
    };
    socket.onclose = () => {
      if (this.over) return;
      this.onLoss(this.waits > 4000);
      if (this.waits > 4000) return;
      setTimeout(() => this.open(), this.waits);
      this.waits *= 2;
    };
  }
}
