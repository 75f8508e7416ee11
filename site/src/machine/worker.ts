// The worker that a machine lives in: it runs one job, or answers the laboratory's requests.
//
// A run never lets go of the worker, so its output is posted while it runs. A program that prints
// in small pieces without end must not flood the page: behind a burst of posts the rest is gathered
// into larger ones, and behind the limit it is only counted.
import createMarl from "marl-module";
import { type Factory, type Job, Machine } from "./module";
import type { FromWorker, ToWorker } from "./protocol";

const scope = self as unknown as DedicatedWorkerGlobalScope;
const post = (message: FromWorker, transfer: Transferable[] = []) => scope.postMessage(message, transfer);

let machine: Promise<Machine>;

/// Posts that may follow each other at once, and the bytes from which on a post is worth its while.
const burst = 500;
const largePiece = 1 << 16;

/// Milliseconds.
const betweenTidings = 250;

class Outlet {
  withheld = 0;
  private told = performance.now();
  private sent = 0;
  private readonly pending: { stream: 1 | 2; bytes: Uint8Array }[] = [];
  private pendingSize = 0;
  private credit = burst;
  private last = performance.now();

  constructor(private readonly limit: number) {}

  write(stream: 1 | 2, bytes: Uint8Array) {
    const room = this.limit - this.sent;
    if (bytes.length > room) {
      this.withheld += bytes.length - room;
      bytes = bytes.slice(0, room);
    }
    if (bytes.length === 0) return this.tellWithheld();
    this.sent += bytes.length;
    this.pending.push({ stream, bytes });
    this.pendingSize += bytes.length;
    const now = performance.now();
    this.credit = Math.min(burst, this.credit + (now - this.last) / 4);
    this.last = now;
    if (this.credit >= 1 || this.pendingSize >= largePiece) this.flush();
  }

  private tellWithheld() {
    const now = performance.now();
    if (now - this.told < betweenTidings) return;
    this.told = now;
    this.flush();
    post({ kind: "withheld", bytes: this.withheld });
  }

  flush() {
    for (let i = 0; i < this.pending.length; ) {
      const { stream } = this.pending[i];
      let j = i;
      while (j < this.pending.length && this.pending[j].stream === stream) ++j;
      const parts = this.pending.slice(i, j).map((each) => each.bytes);
      const bytes = new Uint8Array(parts.reduce((sum, part) => sum + part.length, 0));
      let position = 0;
      for (const part of parts) {
        bytes.set(part, position);
        position += part.length;
      }
      post({ kind: "output", stream, bytes }, [bytes.buffer]);
      this.credit -= 1;
      i = j;
    }
    this.pending.length = 0;
    this.pendingSize = 0;
  }
}

async function run(job: Job, outputLimit: number) {
  const outlet = new Outlet(outputLimit);
  const ready = await machine;
  const start = performance.now();
  const outcome = ready.run(job, (stream, bytes) => outlet.write(stream, bytes));
  const milliseconds = performance.now() - start;
  outlet.flush();
  post({ kind: "end", outcome, milliseconds, withheld: outlet.withheld });
}

async function answer(id: number, request: object, job?: Job) {
  try {
    const onProgress = (state: number) => post({ kind: "progress", id, state });
    post({ kind: "answer", id, ...(await machine).ask(request, job, onProgress) });
  } catch (fault) {
    post({ kind: "failed", id, word: String(fault) });
  }
}

scope.onmessage = ({ data }: MessageEvent<ToWorker>) => {
  if (data.kind === "load") {
    machine = Machine.make(createMarl as Factory, data.module);
  } else if (data.kind === "run") {
    void run(data.job, data.outputLimit);
  } else {
    void answer(data.id, data.request, data.job);
  }
};
