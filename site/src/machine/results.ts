// What marl-lab gives as JSON, as `marl-lab explain json` writes it.

/// A line of `check --json`: what is wrong in a source.
export interface Checked {
  /// what the source is called
  name: string;
  /// how many there are
  faults: number;
  /// how many there are
  warnings: number;
  /// in the order of their places, at most a thousand
  messages: Message[];
}

/// What is said about a place in a source.
export interface Message {
  /// where the place begins, counted from 1
  line: number;
  /// counted in bytes, from 1
  column: number;
  /// where the place ends
  end_line: number;
  /// the first column behind the place
  end_column: number;
  /// marl refuses a program with a fault
  severity: "fault" | "warning";
  /// the kind of the fault, or the name of the warning
  kind: string;
  /// what is wrong, in a sentence
  say: string;
  /// the line of the place, or what is near it of a very long line
  source: string;
  /// where the place begins in `source`
  source_column: number;
}

/// The layout of a source.
export interface Formatted {
  /// the source in canonical layout
  text?: string;
  /// why it has none
  messages?: Message[];
}

/// A state of the reduction.
export interface Step {
  /// of the state, from 0
  n: number;
  /// 0, and one more in each run within a run
  run: number;
  /// what the step from here does
  rule: "fire" | "hold back" | "reduce argument" | "reduce value" | "pop" | "end";
  /// what fires: a name, or "lambda", "let", "number" and other kinds of data
  name?: string;
  /// the context, " . ", the focus
  line: string;
  /// the bytes of `line` that are rewritten
  redex: { start: number; length: number };
  /// how many frames on top of the context are in that part
  framesTaken: number;
  /// of a line in full: what a shortened one leaves out
  leftOut?: string[];
  /// when trees are asked for
  context?: Tree;
  /// when trees are asked for
  focus?: Tree;
  /// where what is rewritten is written, and its bytes there, when places are asked for
  place?: Spot & { length: number };
}

/// A part of a state's expression.
export type Tree = {
  /// of the node
  id: number;
} & (
  | {
      /// the node is shared, and its state's trees have shown it already
      again: true;
    }
  | {
      /// the text of a leaf
      leaf: string;
    }
  | {
      /// a function and its argument
      of: [Tree, Tree];
    }
);

/// Where a call begins or ends.
export interface CallLine {
  /// of the state
  n: number;
  /// how many calls of the name are going on
  depth: number;
  /// the call that begins
  call?: string;
  /// what a call gives that ends
  answer?: string;
}

/// How a run went.
export interface Ending {
  /// false when the program is at fault
  started: boolean;
  /// false when the run was left before its end
  ended: boolean;
  /// the integer that the program gave back
  status: number;
  /// what marl would show on standard error; empty when all is well
  report: string;
}

/// Where the Z in a result comes from.
export interface Why extends Ending {
  /// of the program
  result: string;
  /// the first call that acts outside, or shows a value, on a Z
  effect?: string;
  /// where that is written
  effect_place?: Spot;
  /// the first call whose answer was the Z in the effect or the result, then those that answered Z because of it
  chain: Link[];
  /// links behind these
  more: number;
}

/// A call that answered Z.
export interface Link {
  /// of the state
  n: number;
  /// what answered Z; a literal is one that the program writes
  kind: "built-in" | "data" | "definition" | "literal" | "empty list" | "no list" | "backquote";
  /// what was called; of a literal, the call that it is written in
  call: string;
  /// the definitions' calls that were going on, the innermost first
  within: string[];
  /// where it is written
  place?: Spot;
}

/// A place in a source.
export interface Spot {
  /// what the source is called
  file: string;
  /// counted from 1
  line: number;
  /// counted in bytes, from 1
  column: number;
}

/// What a run cost.
export interface Profiled extends Ending {
  /// one for each name that was called
  rows: ProfileRow[];
  /// a line for each stack of calls: names with ";" between, a blank, steps
  folded: string;
}

/// What a name cost.
export interface ProfileRow {
  /// "(entry)" is the entry expression
  name: string;
  /// of that name
  calls: number;
  /// of the plain machine, without what the name calls
  steps: number;
  /// allocated, without what the name calls
  nodes: number;
  /// seconds, without what the name calls
  self: number;
  /// seconds in what the name calls
  below: number;
}
