// What a page and its workers say to each other.
import type { Job, Outcome } from "./module";

export type ToWorker =
  | { kind: "load"; module: WebAssembly.Module }
  | { kind: "run"; job: Job; outputLimit: number }
  | { kind: "ask"; id: number; request: object; job?: Job };

export type FromWorker =
  | { kind: "output"; stream: 1 | 2; bytes: Uint8Array }
  /// The end of a run: how long it took in milliseconds, and the bytes of output beyond the limit.
  | { kind: "end"; outcome: Outcome; milliseconds: number; withheld: number }
  | { kind: "answer"; id: number; answer: unknown }
  | { kind: "failed"; id: number; word: string };
