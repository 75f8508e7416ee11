// Completion: what the reference knows, what the program defines, and the names of the definition
// that is being written.
import type { Completion, CompletionContext, CompletionResult } from "@codemirror/autocomplete";
import { piecesOf, tokensOf } from "../language/program";
import { allEntries, type Entry } from "../play/entries";

function ofReference(entry: Entry): Completion {
  return {
    label: entry.name,
    type: entry.kind,
    detail: entry.section,
    info() {
      const dom = document.createElement("div");
      dom.className = "hover-entry";
      dom.innerHTML = entry.html;
      return dom;
    },
  };
}

function ofProgram(text: string, position: number, typed: string): Completion[] {
  const found = new Map<string, string>();
  const piece = piecesOf(text).find(({ from, to }) => from <= position && position <= to);
  for (const { start, end, name } of tokensOf(text)) {
    const word = text.slice(start, end);
    if (word.length < 2) continue;
    if (name.startsWith("entity.name.function.marl")) found.set(word, "of this program");
    const isNear = piece && start >= piece.from && end <= piece.to;
    if (isNear && name.startsWith("variable.parameter") && start !== position - typed.length) {
      found.set(word, "a local name");
    }
  }
  return [...found].map(([label, detail]) => ({ label, detail, type: "variable", boost: 10 }));
}

export async function completeNames(context: CompletionContext): Promise<CompletionResult | null> {
  const word = context.matchBefore(/[a-z_]+|[A-Z]/);
  if (!word && !context.explicit) return null;
  const typed = word?.text ?? "";
  if (!context.explicit && typed.length < 2) return null;
  const text = context.state.doc.toString();
  const options = ofProgram(text, context.pos, typed);
  const own = new Set(options.map(({ label }) => label));
  for (const entry of await allEntries()) {
    if (entry.named && /^\w/.test(entry.name) && !own.has(entry.name)) options.push(ofReference(entry));
  }
  return { from: context.pos - typed.length, options, validFor: /^[a-z_]*$/ };
}
