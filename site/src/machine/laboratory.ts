// The commands of the laboratory, as the pages use them: the one place that knows their JSON.
//
// `check` and `format` answer at once, from a worker that stays. Steps and a profile run the
// program, so each such request has a worker of its own, which `stop` ends.
import type { Job } from "./module";
import { type Answer, Laboratory } from "./session";

export interface Message {
  line: number;
  column: number;
  end_line: number;
  end_column: number;
  severity: "fault" | "warning";
  kind: string;
  say: string;
  source: string;
}

const still = new Laboratory(10_000);

/// What is wrong or doubtful in a program, without running it.
export async function check(text: string): Promise<Message[]> {
  const { answer } = await still.ask<{ messages?: Message[] } | null>({
    command: "check",
    name: "program",
    text,
  });
  return answer?.messages ?? [];
}

/// The program in its canonical layout, or what keeps it from having one.
export async function format(text: string): Promise<{ text?: string; messages?: Message[] }> {
  const { answer } = await still.ask<{ text?: string; messages?: Message[] } | null>({
    command: "format",
    text,
  });
  return answer ?? {};
}

/// A part of a state's expression. A node that its state has shown already is there `again`.
export type Tree = { id: number; leaf: string } | { id: number; of: [Tree, Tree] } | { id: number; again: true };

export interface Step {
  n: number;
  run: number;
  rule: string;
  name?: string;
  line: string;
  redex: { start: number; length: number };
  context: Tree;
  focus: Tree;
}

export interface Watched {
  started: boolean;
  ended: boolean;
  report: string;
}

export interface ProfileRow {
  name: string;
  calls: number;
  steps: number;
  nodes: number;
  self: number;
  below: number;
}

/// The beginning of a call, or its end.
export interface CallEvent {
  n: number;
  depth: number;
  call?: string;
  answer?: string;
}

/// A request that runs the program, in a worker of its own.
export interface Pending<Told> {
  answer: Promise<Answer<Told>>;
  stop(): void;
}

type OnProgress = (state: number) => void;

/// How long a request may run, in milliseconds.
const patience = 120_000;

function watch<Told>(request: object, job: Job, onProgress?: OnProgress): Pending<Told> {
  const laboratory = new Laboratory(patience);
  const text = new TextDecoder().decode(job.program.bytes);
  const answer = laboratory.ask<Told>({ ...request, text, arguments: job.arguments }, job, onProgress);
  return {
    answer: answer.finally(() => laboratory.close()),
    stop: () => laboratory.close("stopped"),
  };
}

export function steps(job: Job, from: number, count: number) {
  return watch<Watched & { steps: Step[] }>({ command: "steps", from, count }, job);
}

/// One state with nothing left out, as a line.
export function fullStep(job: Job, n: number) {
  return watch<Watched & { steps: Step[] }>({ command: "steps", from: n, count: 1, full: true }, job);
}

/// Where a run gets to: to its end, or to the state numbered `limit`.
export function walk(job: Job, limit: number, onProgress?: OnProgress) {
  return watch<Watched & { last: number }>({ command: "walk", limit }, job, onProgress);
}

/// The first call of a name in a state from `from` on; without `call` when there is none.
export function nextCall(job: Job, name: string, from: number, onProgress?: OnProgress) {
  return watch<Watched & { last: number; call?: string }>({ command: "walk", name, from }, job, onProgress);
}

/// The calls of a name, or of all that the program defines, with their answers.
export function calls(job: Job, name: string, limit: number, onProgress?: OnProgress) {
  return watch<Watched & { calls: CallEvent[] }>({ command: "calls", name, limit }, job, onProgress);
}

/// The calls that a Z in the result comes from, the first one first. A program that ends the
/// process has no result.
export function whyZ(job: Job) {
  return watch<Watched & { result?: string; chain?: { n: number; call: string; within: string[] }[] }>(
    { command: "why_z" },
    job,
  );
}

export function profile(job: Job) {
  return watch<Watched & { rows?: ProfileRow[]; folded: string }>({ command: "profile" }, job);
}
