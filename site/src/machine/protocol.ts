// What a page and its workers say to each other.
import type { Job, Logged, Outcome } from "./module";

export type ToWorker =
  | { kind: "load"; module: WebAssembly.Module }
  | { kind: "run"; job: Job; outputLimit: number }
  | { kind: "ask"; id: number; request: object; job?: Job };

export type FromWorker =
  | { kind: "output"; stream: 1 | 2; bytes: Uint8Array }
  /// The bytes of output beyond the limit so far, told now and then while the run goes on.
  | { kind: "withheld"; bytes: number }
  /// The end of a run: how long it took in milliseconds.
  | { kind: "end"; outcome: Outcome; milliseconds: number; withheld: number }
  /// How many states a request has gone through.
  | { kind: "progress"; id: number; state: number }
  | { kind: "answer"; id: number; answer: unknown; output: Logged[] }
  | { kind: "failed"; id: number; word: string };
