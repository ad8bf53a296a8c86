// Graphviz, in a worker, so that the page can be used while a large workflow is laid out. The worker is made of the page's
// own script: it holds the layout program, which is by far the largest part of the file.
import { Graphviz } from "@hpcc-js/wasm-graphviz";

// "dot" draws in layers, from left to right; "sfdp" as if the arrows were springs, which ends soon for any wiring.
type Engine = "dot" | "sfdp";

interface Request {
  dot: string;
  engine: Engine;
}

interface Answer {
  svg?: string;
  error?: string;
}

export interface Drawing {
  svg: string;
  engine: Engine;
}

const kPatience = 15000; // ms, after which layers are given up

async function layOut({ dot, engine }: Request): Promise<string> {
  const graphviz = await Graphviz.load();
  // It knows the widths of one font, not those of a list; the page's styles name the list again.
  const text = dot.replaceAll('fontname="Helvetica,Arial,sans-serif"', 'fontname="Helvetica"');
  if (engine === "dot") return graphviz.dot(text, "svg");
  return graphviz.layout(text.replace("{", "{ overlap=vpsc; splines=line; K=3; ratio=0.7;"), "svg", "sfdp");
}

// What a worker does.
export function serve(): void {
  self.onmessage = (event: MessageEvent<Request>) => {
    layOut(event.data).then(
      (svg) => self.postMessage({ svg } satisfies Answer),
      (error: unknown) => self.postMessage({ error: String(error) } satisfies Answer),
    );
  };
}

// `undefined` when it took longer than `patience`.
function askWorker(script: string, request: Request, patience: number): Promise<string | undefined> {
  const worker = new Worker(URL.createObjectURL(new Blob([script], { type: "text/javascript" })));
  return new Promise<string | undefined>((resolve, reject) => {
    const end = (act: () => void) => {
      clearTimeout(timer);
      worker.terminate();
      act();
    };
    const timer = setTimeout(() => end(() => resolve(undefined)), patience);
    worker.onmessage = (event: MessageEvent<Answer>) => {
      const { svg, error } = event.data;
      end(() => (svg === undefined ? reject(new Error(error)) : resolve(svg)));
    };
    worker.onerror = () => end(() => layOut(request).then(resolve, reject));
    worker.postMessage(request);
  });
}

export async function drawBeside(script: string, dot: string, onImpatience: () => void): Promise<Drawing> {
  try {
    new Worker(URL.createObjectURL(new Blob([""]))).terminate();
  } catch {
    // No workers, or none from a file: the page stands still meanwhile.
    return { svg: await layOut({ dot, engine: "dot" }), engine: "dot" };
  }
  const layers = await askWorker(script, { dot, engine: "dot" }, kPatience);
  if (layers !== undefined) return { svg: layers, engine: "dot" };
  onImpatience();
  const springs = await askWorker(script, { dot, engine: "sfdp" }, 10 * kPatience);
  if (springs === undefined) throw new Error("it is too large");
  return { svg: springs, engine: "sfdp" };
}
