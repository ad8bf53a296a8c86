// What was laid out once in a tab is not laid out again: not when a type is folded and unfolded, nor when the page is loaded
// anew. It goes with the tab.
import type { Drawing } from "./layout.ts";

const kPrefix = "layout ";
const kMostKept = 24; // in memory

const kept = new Map<string, Drawing>();

// By the text's hash; "" where the browser has none.
async function keyOf(dot: string): Promise<string> {
  if (!globalThis.crypto?.subtle) return "";
  const bytes = new Uint8Array(await crypto.subtle.digest("SHA-256", new TextEncoder().encode(dot)));
  return kPrefix + Array.from(bytes, (byte) => byte.toString(16).padStart(2, "0")).join("");
}

function recall(key: string): Drawing | undefined {
  try {
    return JSON.parse(sessionStorage.getItem(key) ?? "null") ?? undefined;
  } catch {
    return undefined;
  }
}

// The last ones that there is room for.
function keep(key: string, drawing: Drawing): void {
  kept.set(key, drawing);
  for (const [first] of kept) if (kept.size > kMostKept) kept.delete(first);
  const text = JSON.stringify(drawing);
  for (;;) {
    try {
      return sessionStorage.setItem(key, text);
    } catch {
      const other = storedKeys()[0];
      if (other === undefined) return;
      sessionStorage.removeItem(other);
    }
  }
}

function storedKeys(): string[] {
  try {
    return Object.keys(sessionStorage).filter((key) => key.startsWith(kPrefix));
  } catch {
    return [];
  }
}

export async function cached(dot: string, draw: () => Promise<Drawing>): Promise<Drawing> {
  const key = await keyOf(dot);
  if (key === "") return draw();
  const known = kept.get(key) ?? recall(key);
  const drawing = known ?? (await draw());
  if (known === undefined) keep(key, drawing);
  else kept.set(key, known);
  return drawing;
}
