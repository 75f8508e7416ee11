// Completion: what the reference and the library know, what the program defines, and the names of the
// definition that is being written. A name of the library brings the use of its theme with it.
import {
  type Completion,
  type CompletionContext,
  type CompletionResult,
  pickedCompletion,
} from "@codemirror/autocomplete";
import type { EditorView } from "@codemirror/view";
import { piecesOf, tokensOf, useOf } from "../language/program";
import { allEntries, type Entry } from "../play/entries";

/// Writes the name, and where it is missing the use of its theme.
function insertWithUse(view: EditorView, completion: Completion, theme: string, from: number, to: number) {
  const use = useOf(view.state.doc.toString(), theme);
  const name = { from, to, insert: completion.label };
  const before = use && use.from < from ? use.insert.length : 0;
  view.dispatch({
    changes: use ? [name, use] : name,
    selection: { anchor: from + completion.label.length + before },
    annotations: pickedCompletion.of(completion),
    userEvent: "input.complete",
  });
}

function ofEntry(entry: Entry): Completion {
  const isOfLibrary = entry.kind === "library";
  return {
    label: entry.name,
    type: entry.kind,
    detail: isOfLibrary ? `${entry.section}, library` : entry.section,
    ...(isOfLibrary && {
      apply: (view, completion, from, to) => insertWithUse(view, completion, entry.section, from, to),
    }),
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

/// In a note `[use: ...]` the themes of the library.
async function completeThemes(context: CompletionContext): Promise<CompletionResult> {
  const typed = context.matchBefore(/[a-z]*/)?.text ?? "";
  const ofLibrary = (await allEntries()).filter(({ kind }) => kind === "library");
  const themes = [...new Set(ofLibrary.map(({ section }) => section))];
  return {
    from: context.pos - typed.length,
    options: themes.map((label) => ({ label, type: "library", detail: "theme of the library" })),
    validFor: /^[a-z]*$/,
  };
}

export async function completeNames(context: CompletionContext): Promise<CompletionResult | null> {
  if (context.matchBefore(/\[use:[^\]]*/)) return completeThemes(context);
  const word = context.matchBefore(/[a-z_]+|[A-Z]/);
  if (!word && !context.explicit) return null;
  const typed = word?.text ?? "";
  if (!context.explicit && typed.length < 2) return null;
  const text = context.state.doc.toString();
  const options = ofProgram(text, context.pos, typed);
  const own = new Set(options.map(({ label }) => label));
  for (const entry of await allEntries()) {
    if (entry.named && /^\w/.test(entry.name) && !own.has(entry.name)) options.push(ofEntry(entry));
  }
  return { from: context.pos - typed.length, options, validFor: /^[a-z_]*$/ };
}
