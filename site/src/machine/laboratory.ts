// The commands of the laboratory, as the pages use them: the one place that knows their JSON.
//
// `check` and `format` answer at once, from a worker that stays. Steps and a profile run the
// program, so each such request has a worker of its own, which `stop` ends.
import type { Job } from "./module";
import type { Ending, Formatted, Message, Profiled, Step as AnyStep, Tree, Why } from "./results";
import { Laboratory } from "./session";

export type { Message, ProfileRow, Tree } from "./results";

const still = new Laboratory(10_000);

/// What is wrong or doubtful in a program, without running it.
export async function check(text: string): Promise<Message[]> {
  const answer = await still.ask({ command: "check", name: "program", text });
  return answer?.messages ?? [];
}

/// The program in its canonical layout, or what keeps it from having one.
export async function format(text: string): Promise<Formatted> {
  return (await still.ask({ command: "format", text })) ?? {};
}

/// A state with its trees, which the pages always ask for.
export type Step = AnyStep & { context: Tree; focus: Tree };

/// A request that runs the program, in a worker of its own.
export interface Pending<Answer> {
  answer: Promise<Answer>;
  stop(): void;
}

/// How long a request may run, in milliseconds.
const patience = 120_000;

function watch<Answer>(request: object, job: Job): Pending<Answer> {
  const laboratory = new Laboratory(patience);
  const text = new TextDecoder().decode(job.program.bytes);
  const answer = laboratory.ask({ ...request, text, arguments: job.arguments }, job);
  return {
    answer: answer.finally(() => laboratory.close()),
    stop: () => laboratory.close("stopped"),
  };
}

export function steps(job: Job, from: number, count: number) {
  return watch<Ending & { steps: Step[] }>({ command: "steps", from, count }, job);
}

/// Where a run gets to: to its end, or to the state numbered `limit`.
export function walk(job: Job, limit: number) {
  return watch<Ending & { last: number }>({ command: "walk", limit }, job);
}

/// The first call of a name in a state from `from` on; without `call` when there is none.
export function nextCall(job: Job, name: string, from: number) {
  return watch<Ending & { last: number; call?: string }>({ command: "walk", name, from }, job);
}

/// The calls that a Z in the result comes from, the first one first. A program that ends the
/// process has no result.
export function whyZ(job: Job) {
  return watch<Ending & Partial<Why>>({ command: "why_z" }, job);
}

export function profile(job: Job) {
  return watch<Ending & Pick<Profiled, "folded"> & Partial<Profiled>>({ command: "profile" }, job);
}
