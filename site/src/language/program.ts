// A program cut into its pieces, the entry and what stands between commas, by the grammar.
import { type Open, type Token, tokenize } from "./grammar";

export interface Range {
  from: number;
  to: number;
}

export interface Piece extends Range {
  /// What it defines; none for the entry, and for a note.
  name?: string;
}

const encoder = new TextEncoder();
const decoder = new TextDecoder();

/// How long the first bytes of a text are.
export const charactersOf = (text: string, bytes: number) =>
  decoder.decode(encoder.encode(text).subarray(0, bytes)).length;

/// All tokens of a text, with their places in it.
export function* tokensOf(text: string): Generator<Token> {
  let open: Open = [];
  let from = 0;
  for (const line of text.split("\n")) {
    const read = tokenize(line, open);
    open = read.open;
    for (const { start, end, name } of read.tokens) yield { start: from + start, end: from + end, name };
    from += line.length + 1;
  }
}

export function piecesOf(text: string): Piece[] {
  const pieces: Piece[] = [{ from: 0, to: text.length }];
  for (const { start, end, name } of tokensOf(text)) {
    const last = pieces.at(-1)!;
    if (name.startsWith("punctuation.separator.definition")) {
      last.to = start;
      pieces.push({ from: end, to: text.length });
    } else if (name.startsWith("entity.name.function")) {
      last.name = text.slice(start, end).replace(/^\[(.*)\]$/, "$1");
    }
  }
  return pieces;
}

/// The definition of a name: its place without the white space around it. The last one holds.
export function definitionOf(text: string, name: string): Piece | undefined {
  const piece = piecesOf(text).findLast((each) => each.name === name);
  if (!piece) return undefined;
  const body = text.slice(piece.from, piece.to);
  return {
    ...piece,
    from: piece.from + body.length - body.trimStart().length,
    to: piece.to - (body.length - body.trimEnd().length),
  };
}

/// What to insert, and where, so that the program says that it uses a theme of the library; nothing
/// when it does already. It goes into the last note of that kind, or behind the entry.
export function useOf(text: string, theme: string): { from: number; insert: string } | undefined {
  const pieces = piecesOf(text);
  let last: number | undefined;
  for (const { from, to } of pieces) {
    const note = /^\s*\[use:([^\]]*)\]\s*$/.exec(text.slice(from, to));
    if (!note) continue;
    if (note[1].split(/\s+/).includes(theme)) return undefined;
    last = from + text.slice(from, to).search(/\s*\]\s*$/);
  }
  if (last !== undefined) return { from: last, insert: ` ${theme}` };
  const entry = text.slice(0, pieces[0].to).trimEnd();
  return { from: entry.length, insert: `,\n\n[use: ${theme}]` };
}

/// Stands in front of a value that a run shows.
export const valueMark = "\u0002";

/// What stands around an entry whose value is shown.
const valueFrame = ["the_address\\the_value{", "\n}the_mark{putchar 2}the_end{puts(init(lisp the_value))}0"];

/// The program that shows the value of its entry, where the entry is an expression and no function:
/// with a name in front, the laboratory knows (`warned`); else it shows by how it begins.
export function showingValue(text: string, warned: boolean): string | undefined {
  const [entry] = piecesOf(text);
  const written = text.slice(entry.from, entry.to);
  if (!written.trim() || /^\s*[a-z_]+\s*\\/.test(written)) return undefined;
  if (/^\s*[a-z_]/.test(written) && !/^\s*[a-z_]+(\s+[a-z_]+)?\s*\{/.test(written) && !warned) return undefined;
  return `${valueFrame[0]}${written}${valueFrame[1]}${text.slice(entry.to)}`;
}

/// Where a part of the program that is run for a text stands in the text; nothing for a part of what
/// shows the value.
export function unframed(text: string, run: string, part: Range): Range | undefined {
  if (text === run) return part;
  const [before, behind] = valueFrame.map(({ length }) => length);
  const end = piecesOf(text)[0].to;
  const { from, to } = { from: part.from - before, to: part.to - before };
  if (from >= 0 && to <= end) return { from, to };
  return from < end + behind ? undefined : { from: from - behind, to: to - behind };
}

/// The program in which what a check asks takes the place of the entry.
export function checked(text: string, check: string, helpers: string): string {
  const [entry] = piecesOf(text);
  return `${check.trim()},\n${helpers.trim()}${text.slice(entry.to) ? "\n" : ""}${text.slice(entry.to)}`;
}

/// How far a line is indented that begins behind `before`; nothing within a text or a note.
export function indentBehind(before: string, line: string): number | undefined {
  let open: Open = [];
  let seen = false;
  for (const each of before.split("\n")) {
    const read = tokenize(each, open);
    open = read.open;
    seen ||= read.tokens.length > 0;
  }
  const names = open.map(({ rule }) => rule.name ?? rule.beginCaptures?.["0"].name ?? "");
  if (names.some((name) => /^(string|comment)/.test(name))) return undefined;
  const top = names.at(-1) ?? "";
  if (!seen || top.startsWith("punctuation.separator.definition")) return 0;
  const depth = names.filter((name) => /parens|let/.test(name)).length;
  return 2 * (depth + 1) - (/^\s*[)}\]]/.test(line) && depth > 0 ? 2 : 0);
}
