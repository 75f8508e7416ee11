// The cheat sheet: site/cheatsheet.md with tables of the reference in it, on one page of paper.
import fs from "node:fs";
import path from "node:path";
import { site } from "./places";
import type { Reference, ReferenceEntry } from "./reference";

const row = (...cells: string[]) => `| ${cells.map((cell) => cell.replaceAll("|", "\\|")).join(" | ")} |`;
const table = (rows: string[]) => [row("", ""), "|---|---|", ...rows].join("\n");

const line = ({ lines }: ReferenceEntry, label: string) => lines.find(([each]) => each === label)?.[1] ?? "";

/// The rows of the grammar: each level with what is written there.
function operators({ entries }: Reference): string {
  const levels = new Map<string, Set<string>>();
  for (const { kind, lines } of entries) {
    if (kind !== "operator") continue;
    for (const [label, text] of lines) {
      const level = /^level (\d+)/.exec(label)?.[1];
      if (level) levels.set(level, (levels.get(level) ?? new Set()).add(text));
    }
  }
  const sorted = [...levels].sort(([a], [b]) => Number(a) - Number(b));
  return table(sorted.map(([level, texts]) => row(level, [...texts].join(" · "))));
}

function named({ entries }: Reference, kind: string, names?: string[]): ReferenceEntry[] {
  const all = entries.filter((entry) => entry.kind === kind);
  return names ? names.map((name) => all.find((entry) => entry.name === name)!) : all;
}

/// A link within the reference leads there from here.
const fromHere = (text: string) => text.replaceAll("](#", "](reference.html#");

export function cheatsheetText(reference: Reference): string {
  const text = fs.readFileSync(path.join(site, "cheatsheet.md"), "utf8");
  const filled = text
    .replace("{{operators}}", () => operators(reference))
    .replace("{{combinators}}", () =>
      table(named(reference, "combinator").map((entry) => row(line(entry, "rule"), line(entry, "use")))),
    )
    .replace("{{kinds}}", () => table(named(reference, "kind").map((entry) => row(entry.cell, line(entry, "is")))))
    .replace(/\{\{builtins (.*)\}\}/, (_, names: string) =>
      table(
        named(reference, "built-in", names.split(" ")).map((entry) =>
          row(entry.cell, [line(entry, "arguments"), line(entry, "result")].filter(Boolean).join(" → ")),
        ),
      ),
    );
  return fromHere(filled);
}

/// The examples of the text: an expression, and its value as `lisp` prints it.
export function examplesOf(text: string): [string, string][] {
  return [...text.matchAll(/`([^`\n]+)` → `([^`]+)`/g)].map(([, expression, value]) => [expression, value]);
}
