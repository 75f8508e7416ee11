// How a page runs programs and asks the laboratory. Both happen in web workers, so the page stays alive.
//
// A program can't be stopped from outside but by ending its worker. So each run gets a new worker, which
// ends with the run, and one more is always kept ready, so that the next run starts at once. The
// laboratory has one worker for all its requests. marl and the laboratory are two WebAssembly modules:
// each is fetched and compiled once, the laboratory's at the first request.
import { asset } from "../assets";
import type { Job, Logged, Outcome } from "./module";
import type { FromWorker, ToWorker } from "./protocol";

/// The most bytes of output that a page takes from one run; the rest is counted and thrown away.
const outputLimit = 1 << 24;

type Part = "marl" | "laboratory";

const compiled: Partial<Record<Part, Promise<WebAssembly.Module>>> = {};
function compiledModule(part: Part): Promise<WebAssembly.Module> {
  compiled[part] ??= fetch(asset(part))
    .then(async (response) => {
      if (!response.ok) throw new Error(`${part}.wasm: ${response.status}`);
      return WebAssembly.compile(await response.arrayBuffer());
    })
    .catch((fault) => {
      compiled[part] = undefined; // the next run asks again
      throw fault;
    });
  return compiled[part];
}

function makeWorker(part: Part): Worker {
  const worker = new Worker(asset(`${part}Worker`));
  // A module that can't be fetched is reported by `start` and `ask`, which wait for the same promise.
  compiledModule(part).then(
    (module) => send(worker, { kind: "load", module }),
    () => {},
  );
  return worker;
}

function send(worker: Worker, message: ToWorker) {
  worker.postMessage(message);
}

let spare: Worker | undefined;

/// Makes a worker ready for the next run, unless one is.
export function warmUp() {
  spare ??= makeWorker("marl");
}

export interface End {
  outcome: Outcome | { ended: "stopped" };
  milliseconds: number;
  withheld: number;
}

export interface Run {
  stop(): void;
  end: Promise<End>;
}

export interface Listener {
  /// What the program writes, as it comes.
  output(stream: 1 | 2, bytes: Uint8Array): void;
  /// How much more it has written than a page takes.
  withheld(bytes: number): void;
}

/// Starts a job.
export function start(job: Job, listener: Listener): Run {
  warmUp();
  const worker = spare!;
  spare = undefined;
  const begun = performance.now();
  let withheld = 0;
  let finish: (end: End) => void;
  const end = new Promise<End>((resolve) => {
    finish = (value) => {
      worker.terminate();
      resolve(value);
      setTimeout(warmUp, 50);
    };
  });
  const fail = (word: string) =>
    finish({
      outcome: { ended: "fault", word },
      milliseconds: performance.now() - begun,
      withheld,
    });
  worker.onmessage = ({ data }: MessageEvent<FromWorker>) => {
    if (data.kind === "output") listener.output(data.stream, data.bytes);
    if (data.kind === "withheld") listener.withheld((withheld = data.bytes));
    if (data.kind === "end") finish(data);
  };
  worker.onerror = (event) => fail(event.message);
  compiledModule("marl").then(
    () => send(worker, { kind: "run", job, outputLimit }),
    (error) => fail(String(error)),
  );
  return {
    end,
    stop: () =>
      finish({
        outcome: { ended: "stopped" },
        milliseconds: performance.now() - begun,
        withheld,
      }),
  };
}

/// An answer of the laboratory, and what the program wrote, if the request ran one.
export interface Answer<Told> {
  answer: Told;
  output: Logged[];
}

interface Waiting {
  // biome-ignore lint/suspicious/noExplicitAny: each request has a form of its own
  resolve(answer: Answer<any>): void;
  reject(error: Error): void;
  onProgress?(state: number): void;
  timer: ReturnType<typeof setTimeout>;
}

/// A worker for laboratory requests, made at the first one. A request that takes too long ends the
/// worker, and with it all requests that wait there.
export class Laboratory {
  private worker: Worker | undefined;
  private next = 0;
  private readonly waiting = new Map<number, Waiting>();

  constructor(private readonly patience: number) {}

  ask<Told>(request: object, job?: Job, onProgress?: (state: number) => void): Promise<Answer<Told>> {
    this.worker ??= this.open();
    const worker = this.worker;
    const id = this.next++;
    return new Promise((resolve, reject) => {
      const timer = setTimeout(() => this.close("no answer in time"), this.patience);
      this.waiting.set(id, { resolve, reject, onProgress, timer });
      compiledModule("laboratory").then(
        () => send(worker, { kind: "ask", id, request, job }),
        (error) => this.close(String(error)),
      );
    });
  }

  close(word = "closed") {
    this.worker?.terminate();
    this.worker = undefined;
    for (const { reject, timer } of this.waiting.values()) {
      clearTimeout(timer);
      reject(new Error(word));
    }
    this.waiting.clear();
  }

  private open(): Worker {
    const worker = makeWorker("laboratory");
    worker.onmessage = ({ data }: MessageEvent<FromWorker>) => {
      if (data.kind !== "answer" && data.kind !== "failed" && data.kind !== "progress") return;
      const request = this.waiting.get(data.id);
      if (!request) return;
      if (data.kind === "progress") return request.onProgress?.(data.state);
      this.waiting.delete(data.id);
      clearTimeout(request.timer);
      if (data.kind === "answer") return request.resolve({ answer: data.answer, output: data.output });
      // What a failure leaves in the machine is not known: the next request gets a new worker.
      request.reject(new Error(data.word));
      this.close(data.word);
    };
    worker.onerror = (event) => this.close(event.message);
    return worker;
  }
}
