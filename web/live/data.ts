// What the run sends: docs/monitor.md.

export interface Work {
  type: string;
  instance: string;
  signal: string;
  number: number;
  seconds: number;
}

export interface Waiting {
  number: number;
  sender: string | null;
  receiver: string;
}

export interface NodeState {
  type: string;
  instance: string;
  made: boolean;
  busy: boolean;
  delivered: number;
  failed: number;
  waiting: number;
}

export interface Delivery {
  place: number;
  number: string;
  begin: number;
  seconds: number;
  sender: string;
  receiver: string;
  answer: string;
  text: string;
  cause?: string | number | null; // of a record
}

export interface Failure {
  text: string;
  times: number;
}

export interface Update {
  kind: "all" | "some";
  state: string;
  control: boolean; // the run takes commands
  name: string;
  title: string;
  seconds: number;
  delivered: number;
  per_second: number;
  waiting: number;
  failed: number;
  since_save: number | null;
  durable: number | null; // deliveries that a power failure would leave done, with --durable power
  at_work: Work[];
  queue: Waiting[];
  nodes: NodeState[]; // of "some": those that have changed
  failures: Failure[];
  deliveries: Delivery[]; // of "some": those that are new
}

// Of a record: what was, and what the delivery did.
export interface Moment extends Update {
  place: number;
  delivery: Delivery | null;
  why: Delivery[];
  bridge: string[];
  elsewhere: { delivery: string; sender: string | null; receiver: string }[];
  caused: Delivery[];
  changes: { path: string; kind: string; before: string | null; after: string | null }[];
  changes_cut: boolean;
  lacks_changes: boolean;
}

export interface RecordFacts {
  file: string;
  name: string;
  run: number;
  runs: { run: number; begun: number; flow: string; exit_code: number | null }[];
  deliveries: number;
  problem: string;
}

export interface Entry extends Value {
  name: string;
  below: number;
}

export interface Value {
  path: string;
  type: string;
  texts: string[];
  hidden: boolean;
  cut: boolean;
}

export interface NodeDetails {
  path: string;
  values: Value[];
  values_hidden: boolean;
  values_cut: boolean;
  deliveries: Delivery[];
  inputs?: string[]; // where the run takes commands
}

// Of a node or, with a signal, of one end of it: as the run writes them.
export function nameOf(type: string, instance: string): string {
  return `${type} ${instance}`;
}

// "TYPE INSTANCE" of "TYPE INSTANCE.SIGNAL". No name holds a dot that is not a part of it before the last one.
export function nodeOf(end: string): string {
  const dot = end.lastIndexOf(".");
  return dot < 0 ? end : end.slice(0, dot);
}
