// What helps whoever writes a program: completion, brackets that close, the sentences of the check under
// the faults, and the entry of the reference or the library for the name under the pointer or, with F1, the cursor.
import {
  acceptCompletion,
  autocompletion,
  closeBrackets,
  closeBracketsKeymap,
  completionKeymap,
} from "@codemirror/autocomplete";
import { type Diagnostic, linter, lintKeymap } from "@codemirror/lint";
import type { Extension, Text } from "@codemirror/state";
import { type EditorView, hoverTooltip, keymap } from "@codemirror/view";
import { page } from "../assets";
import { tokenize } from "../language/grammar";
import { definitionOf, useOf } from "../language/program";
import { check, type Message } from "../machine/laboratory";
import type { Source } from "../machine/library";
import { entryFor } from "../play/entries";
import { completeNames } from "./complete";
import { positionOf } from "./places";

function diagnosticsOf(doc: Text, messages: Message[]): Diagnostic[] {
  return messages.map((message) => {
    const from = positionOf(doc, message.line, message.column);
    const to = positionOf(doc, message.end_line, message.end_column);
    return {
      from,
      to: Math.min(doc.length, Math.max(to, from + 1)),
      severity: message.severity === "warning" ? "warning" : "error",
      message: message.say,
      source: message.kind,
      actions: themeIn(message).map((theme) => ({
        name: `Add [use: ${theme}]`,
        apply(view) {
          const use = useOf(view.state.doc.toString(), theme);
          if (use) view.dispatch({ changes: use, userEvent: "input" });
        },
      })),
    };
  });
}

/// The theme that has what a message says is missing, if there is just one.
const themeIn = ({ say }: Message) =>
  [...say.matchAll(/`\[use: (\w+)\]` gives one/g)].slice(0, 1).map(([, theme]) => theme);

/// The same message, with the theme of the library that has what isn't defined: a program that uses
/// nothing is checked without the library.
async function withTheme(message: Message): Promise<Message> {
  const name = /^`(\w+)` is not defined\.$/.exec(message.say)?.[1];
  const entry = name && (await entryFor(name));
  return entry && entry.kind === "library"
    ? { ...message, say: `${message.say} \`[use: ${entry.section}]\` gives one.` }
    : message;
}

/// Programs above this length are not checked while they are typed.
const longest = 1 << 18;

/// What the check of a program takes from the page, and tells it.
export interface Checking {
  beside(): Source["files"];
  onChecked(messages: Message[]): void;
}

function faults({ beside, onChecked }: Checking) {
  const lint = async ({ state: { doc } }: EditorView) => {
    // Without an answer from the laboratory there is nothing to say against a program, nor against an
    // entry that is no function: a page shows its value.
    const source = { text: doc.toString(), files: beside() };
    const found = doc.length > longest ? [] : await check(source).catch(() => []);
    const messages = await Promise.all(found.filter(({ kind }) => kind !== "entry").map(withTheme));
    onChecked(messages);
    return diagnosticsOf(doc, messages);
  };
  return linter(lint, { delay: 300 });
}

/// The entry for the token at a place of the text. What the program defines itself has none.
async function entryAt(doc: Text, position: number) {
  const line = doc.lineAt(position);
  const at = position - line.from;
  const token = tokenize(line.text, []).tokens.find(({ start, end }) => start <= at && at < end);
  const entry = token && (await entryFor(line.text.slice(token.start, token.end)));
  if (entry?.kind === "library" && definitionOf(doc.toString(), entry.name)) return undefined;
  return entry && { entry, pos: line.from + token.start, end: line.from + token.end };
}

const hover = hoverTooltip(async ({ state }, position) => {
  const found = await entryAt(state.doc, position);
  if (!found) return null;
  const { entry, pos, end } = found;
  return {
    pos,
    end,
    above: true,
    create() {
      const dom = document.createElement("div");
      dom.className = "hover-entry";
      dom.innerHTML = entry.html;
      return { dom };
    },
  };
});

/// What a hover tells, for the keyboard: the page that tells of the name under the cursor, or before it.
async function lookUp({ state: { doc, selection } }: EditorView) {
  const { head } = selection.main;
  const found = (await entryAt(doc, head)) ?? (await entryAt(doc, Math.max(0, head - 1)));
  open(page(found ? `${found.entry.page}#${found.entry.id}` : "reference.html"));
}

const keys = keymap.of([
  {
    key: "F1",
    run(view) {
      void lookUp(view);
      return true;
    },
  },
]);

/// `onChecked` gets what the check says, behind each change.
export function help(checking: Checking): Extension {
  return [
    closeBrackets(),
    autocompletion({ override: [completeNames], icons: false }),
    keymap.of([{ key: "Tab", run: acceptCompletion }]),
    keymap.of([...closeBracketsKeymap, ...completionKeymap, ...lintKeymap]),
    keys,
    faults(checking),
    hover,
  ];
}
