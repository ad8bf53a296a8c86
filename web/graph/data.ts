// What the program writes into the page.

export interface Finding {
  severity: "error" | "warning" | "note";
  path: string;
  what: string;
  remedy: string;
  node: string; // the id of the node that it is about; "" for the workflow
}

export interface Node {
  id: string; // as in the text for Graphviz: "n0"
  name: string;
  type: string;
  path: string;
  plugin: string;
  parameters: string[]; // their names
}

export interface Arrow {
  from: string;
  to: string;
  fired: string;
  taken: string;
}

export interface GraphData {
  title: string;
  dot: string;
  nodes: Node[];
  arrows: Arrow[];
  findings: Finding[];
}

export function readData(): GraphData {
  return JSON.parse(document.getElementById("data")?.textContent ?? "{}") as GraphData;
}
