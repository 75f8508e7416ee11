// What the documents say of programs, tried out by the build: it fails where something is not so.
import { examplesOf } from "./cheatsheet";
import { type Document, needsCommandLine, type Snippet } from "./documents";
import { checkHelpers } from "./tour";

type Machine = typeof import("./machine");

const withoutColours = (text: string) => text.replaceAll(/\x1b\[\d*m/g, "");

export function fail(text: string): never {
  console.error(text);
  process.exit(1);
}

/// Runs a program of the guide as a reader would, and compares with what the guide shows; what it
/// does not show, with the file beside the program. One that needs what a page does not have is left
/// out: it is the only kind that may differ.
export async function checkSnippet(snippet: Snippet, shown: Record<string, string>, { runProgram }: Machine) {
  if (needsCommandLine(snippet.text)) return;
  const { out, err, outcome } = await runProgram(snippet);
  const expected = JSON.stringify([
    shown[`${snippet.name}.out`] ?? snippet.out,
    shown[`${snippet.name}.err`] ?? withoutColours(snippet.err),
    snippet.status,
  ]);
  const status = outcome.ended === "exit" ? outcome.status & 0xff : outcome.ended;
  const actual = JSON.stringify([out, withoutColours(err), status]);
  if (actual !== expected) fail(`docs/guide.md, ${snippet.name}: it shows ${expected}, and the run gives ${actual}`);
}

/// An exercise's check takes its answer, and does not take what the learner begins with.
export async function checkExercises(guide: Document, { runProgram, checked }: Machine) {
  const helpers = checkHelpers();
  for (const { name, start, check, answer } of guide.sections.flatMap((section) => section.exercises)) {
    const run = async (text: string) => {
      const { out, err, outcome } = await runProgram({ text: checked(text, check, helpers) });
      return { right: outcome.ended === "exit" && outcome.status === 0, said: out + err };
    };
    const solved = await run(answer);
    if (!solved.right) fail(`docs/exercises/${name}.marl is not right: ${solved.said}`);
    if ((await run(start)).right) fail(`docs/guide.md, exercise ${name}: what it begins with is right`);
  }
}

/// The examples of the cheat sheet give the values that it shows.
export async function checkExamples(text: string, { runProgram }: Machine) {
  for (const [expression, value] of examplesOf(text)) {
    const { out } = await runProgram({ text: `a\\done{puts(init(lisp(${expression})))}0` });
    if (out.trimEnd() !== value) fail(`site/cheatsheet.md: ${expression} is ${out.trimEnd()}, not ${value}`);
  }
}
