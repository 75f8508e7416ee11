// The commands of the laboratory, as the pages use them: the one place that knows their JSON.
//
// `check` and `format` answer at once, from a worker that stays. Steps and a profile run the
// program, so each such request has a worker of its own, which `stop` ends.
import { filesFor, type Source, usesFiles } from "./library";
import type { Job } from "./module";
import type { Step as AnyStep, CallLine, Checked, Ending, Formatted, Message, Profiled, Tree, Why } from "./results";
import { type Answer, Laboratory } from "./session";

export type { CallLine, Message, ProfileRow, Tree } from "./results";

const still = new Laboratory(10_000);

/// What is wrong or doubtful in a program, without running it.
export async function check(source: Source): Promise<Message[]> {
  const { text } = source;
  const files = await filesFor(source);
  const { answer } = await still.ask<Partial<Checked> | null>({ command: "check", text, files });
  return answer?.messages ?? [];
}

/// The program with all that it builds on in it. One that builds on nothing, or is at fault, stays
/// as it is.
export async function pack(source: Source): Promise<string> {
  const { text } = source;
  if (!usesFiles(text)) return text;
  const files = await filesFor(source);
  const { answer } = await still.ask<{ text?: string }>({ command: "pack", text, files });
  return answer.text || text;
}

/// The program in its canonical layout, or what keeps it from having one.
export async function format(text: string): Promise<Formatted> {
  const { answer } = await still.ask<Formatted | null>({ command: "format", text });
  return answer ?? {};
}

/// A state with its trees.
export type Step = AnyStep & { context: Tree; focus: Tree };

/// A run that is watched: the job of the program as it is written, and what that builds on.
export interface Watched {
  job: Job;
  files: Record<string, string>;
}

/// A request that runs the program, in a worker of its own.
export interface Pending<Told> {
  answer: Promise<Answer<Told>>;
  stop(): void;
}

type OnProgress = (state: number) => void;

/// How long a request may run, in milliseconds.
const patience = 120_000;

function watch<Told>(request: object, { job, files }: Watched, onProgress?: OnProgress): Pending<Told> {
  const laboratory = new Laboratory(patience);
  const text = new TextDecoder().decode(job.program.bytes);
  const answer = laboratory.ask<Told>({ ...request, text, files, arguments: job.arguments }, job, onProgress);
  return {
    answer: answer.finally(() => laboratory.close()),
    stop: () => laboratory.close("stopped"),
  };
}

export function steps(watched: Watched, from: number, count: number) {
  return watch<Ending & { steps: Step[] }>({ command: "steps", from, count }, watched);
}

/// One state with nothing left out, as a line.
export function fullStep(watched: Watched, n: number) {
  return watch<Ending & { steps: AnyStep[] }>({ command: "steps", from: n, count: 1, full: true }, watched);
}

/// Where a run gets to: to its end, or to the state numbered `limit`.
export function walk(watched: Watched, limit: number, onProgress?: OnProgress) {
  return watch<Ending & { last: number }>({ command: "walk", limit }, watched, onProgress);
}

/// The first call of a name in a state from `from` on; without `call` when there is none.
export function nextCall(watched: Watched, name: string, from: number, onProgress?: OnProgress) {
  return watch<Ending & { last: number; call?: string }>({ command: "walk", name, from }, watched, onProgress);
}

/// The calls of a name, or of all that the program defines, with their answers.
export function calls(watched: Watched, name: string, limit: number, onProgress?: OnProgress) {
  return watch<Ending & { calls: CallLine[] }>({ command: "calls", name, limit }, watched, onProgress);
}

/// The calls that a Z in the result comes from, the first one first. A program that ends the
/// process has no result.
export function whyZ(watched: Watched) {
  return watch<Ending & Partial<Why>>({ command: "why_z" }, watched);
}

export function profile(watched: Watched) {
  return watch<Ending & Pick<Profiled, "folded"> & Partial<Profiled>>({ command: "profile" }, watched);
}
