// What the documents say of programs, tried out by the build: it fails where something is not so.
import fs from "node:fs";
import path from "node:path";
import { examplesOf } from "./cheatsheet";
import { type Document, isProgram, needsCommandLine, type Snippet } from "./documents";
import { root, source, www } from "./places";
import { checkHelpers } from "./tour";

type Machine = typeof import("./machine");

const withoutColours = (text: string) => text.replaceAll(/\x1b\[\d*m/g, "");

export function fail(text: string): never {
  console.error(text);
  process.exit(1);
}

/// One program made of a text and what it uses, as a page makes it.
async function packed(
  { text, files = [] }: Pick<Snippet, "text"> & Partial<Pick<Snippet, "files">>,
  { askLaboratory }: Machine,
): Promise<string> {
  if (!text.includes("[use:")) return text;
  const themes = fs.readdirSync(path.join(root, "lib")).filter((name) => name.endsWith(".marl"));
  const given = Object.fromEntries([
    ...themes.map((name) => [`/library/${name}`, source(`lib/${name}`)]),
    ...files.map(({ name, text: content }) => [`/home/marl/${name}`, content]),
  ]);
  const answer = (await askLaboratory({ command: "pack", text, files: given })) as { text: string };
  return answer.text;
}

/// Runs a program of the guide as a reader would, and compares with what the guide shows; what it
/// does not show, with the file beside the program. One that needs what a page does not have is left
/// out: it is the only kind that may differ.
export async function checkSnippet(snippet: Snippet, shown: Record<string, string>, machine: Machine) {
  if (needsCommandLine(snippet.text) || !isProgram(snippet.text)) return;
  const { out, err, outcome } = await machine.runProgram({ ...snippet, text: await packed(snippet, machine) });
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
export async function checkExercises(guide: Document, machine: Machine) {
  const helpers = checkHelpers();
  for (const { name, start, check, answer } of guide.sections.flatMap((section) => section.exercises)) {
    const run = async (text: string) => {
      const whole = await packed({ text: machine.checked(text, check, helpers) }, machine);
      const { out, err, outcome } = await machine.runProgram({ text: whole });
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

/// Each link of a page leads to a file of the site, and to a place in it.
export function checkLinks() {
  const all = fs.readdirSync(www, { recursive: true, encoding: "utf8" });
  const pages = new Map(
    all.filter((name) => name.endsWith(".html")).map((name) => [name, fs.readFileSync(path.join(www, name), "utf8")]),
  );
  for (const [name, html] of pages) {
    for (const [, href] of html.matchAll(/ href="([^"]*)"/g)) {
      if (/^[a-z]+:|^\//.test(href)) continue;
      const [file, place] = href.split("#");
      const target = file ? path.join(path.dirname(name), file) : name;
      const isThere = all.includes(target);
      // What opens a program is no place.
      const hasPlace =
        !place || /^(example|program)=|^exercise-/.test(place) || pages.get(target)?.includes(` id="${place}"`);
      if (!isThere || !hasPlace) fail(`${name} has a link to ${href}, where nothing is`);
    }
  }
}
