// Large workflows that go for ever, for tests and measurements.
import { readFileSync } from "node:fs";
import { writeFlow } from "./support.mjs";

// A ring of `count` nodes through which one signal goes round for ever, as fast as it can. The nodes are of three types, and of
// each type so many of ten: counters, gates that are open, and joins of one signal.
// With `pause` it rests for so many milliseconds after each round. Those of `failing` also send a signal to a node that is
// asked for what it does not know.
export function writeRing(name, count, { pause = 0, failing = [] } = {}) {
  const kinds = [
    ...Array(6).fill({ type: "Counter", fired: "counted", taken: "count" }),
    ...Array(3).fill({ type: "Gate", fired: "passed", taken: "pass" }),
    { type: "Join", fired: "joined", taken: "arrive", parameters: { Of: "1" } },
  ];
  const kindOf = (index) => kinds[(index * 7) % kinds.length];
  const nodes = Array.from({ length: count }, (_, i) => {
    const { type, fired, parameters = {} } = kindOf(i);
    const next = kindOf((i + 1) % count);
    const to = pause > 0 && i === count - 1 ? "Delay,Pause,start" : `${next.type},N${(i + 1) % count},${next.taken}`;
    return { type, name: `N${i}`, maps: [[fired, to, ...(failing.includes(i) ? [`${type},N${i},nonsense`] : [])]], parameters };
  });
  if (pause > 0) nodes.push({ type: "Delay", name: "Pause", maps: [["passed", "Counter,N0,count"]], parameters: { Milliseconds: String(pause) } });
  return writeFlow(name, "F", nodes, ["Counter", "N0", "count"]);
}

// How many frames a second the browser paints while the picture is dragged to and fro.
export async function framesWhileDragging(page, seconds) {
  await page.evaluate(() => {
    window.frames_ = 0;
    const count = () => {
      window.frames_ += 1;
      requestAnimationFrame(count);
    };
    requestAnimationFrame(count);
  });
  const box = await (await page.$("#picture")).boundingBox();
  const [x, y] = [box.x + box.width / 2, box.y + box.height / 2];
  await page.mouse.move(x, y);
  await page.mouse.down();
  const before = await page.evaluate(() => [window.frames_, performance.now()]);
  const end = Date.now() + seconds * 1000;
  for (let i = 0; Date.now() < end; ++i) await page.mouse.move(x + 150 * Math.sin(i / 15), y + 100 * Math.cos(i / 11));
  const after = await page.evaluate(() => [window.frames_, performance.now()]);
  await page.mouse.up();
  return ((after[0] - before[0]) * 1000) / (after[1] - before[1]);
}

// What the run has done, and the time of a processor that the thread that delivers and all others took for it: by Linux.
export async function workOf(run) {
  const ticksOf = (path) => {
    const fields = readFileSync(path, "utf8").split(") ")[1].split(" ");
    return Number(fields[11]) + Number(fields[12]);
  };
  const { pid } = run.child;
  const url = new URL(run.address);
  const answer = await fetch(new URL("/api/status", url), { headers: { Authorization: `Bearer ${url.searchParams.get("token")}` } });
  const { delivered, seconds } = await answer.json();
  return { delivered, seconds, own: ticksOf(`/proc/${pid}/task/${pid}/stat`) / 100, all: ticksOf(`/proc/${pid}/stat`) / 100 };
}
