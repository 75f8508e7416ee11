// What a state of the reduction shows, apart from how a page draws it.
import { charactersOf, type Range, unframed } from "../language/program";
import type { Step } from "../machine/laboratory";
import type { Logged } from "../machine/module";
import type { Link, Why } from "../machine/results";

const encoder = new TextEncoder();
const decoder = new TextDecoder();

/// Control characters as their pictures, so that a state stays on its line.
export const withPictures = (text: string) =>
  [...text].map((c) => (c < " " ? String.fromCharCode(0x2400 + c.charCodeAt(0)) : c)).join("");

/// The line in three parts, the middle one being what the next step rewrites.
export function cutLine({ line, redex }: Pick<Step, "line" | "redex">): string[] {
  const bytes = encoder.encode(line);
  const end = redex.start + redex.length;
  return [bytes.subarray(0, redex.start), bytes.subarray(redex.start, end), bytes.subarray(end)].map((part) =>
    withPictures(decoder.decode(part)),
  );
}

/// A line's text, and what stands for something longer in it.
export type Piece = { text: string } | { hole: string };

const hole = /<(?:over )?\d+ \w+>/;

export function piecesOfLine(text: string): Piece[] {
  return text.split(new RegExp(`(${hole.source})`)).flatMap((part, i) => {
    if (!part) return [];
    return [i % 2 ? { hole: part } : { text: part }];
  });
}

/// What a run has written up to a state.
export const writtenBy = (log: Logged[], n: number) =>
  log
    .filter(({ state }) => state < n)
    .map(({ text }) => text)
    .join("");

/// Where what a step rewrites stands in the text that the program `run` was made of; nothing for what
/// another file has written.
export function placeIn(text: string, run: string, place: Step["place"]): Range | undefined {
  if (place?.file !== "program") return undefined;
  const lines = run.split("\n");
  const { line, column, length } = place;
  const before = lines.slice(0, line - 1).reduce((size, each) => size + each.length + 1, 0);
  const from = before + charactersOf(lines[line - 1], column - 1);
  return unframed(text, run, { from, to: from + charactersOf(run.slice(from, from + length), length) });
}

/// What is said of a Z that reaches an effect or the result. `isValue` is for the effect that shows the
/// value of an expression.
export function whySentence(why: Pick<Why, "effect" | "result" | "chain" | "more">, isValue: boolean) {
  const { effect, result, chain, more } = why;
  const given = isValue ? "There is a Z in the value" : `${effect} is given a Z`;
  const what = effect === undefined ? `The result is ${result}` : given;
  if (!chain.length) return `${what}. No step has made a Z that is in it.`;
  return `${what}${more ? `; behind these links are ${more} more` : ""}`;
}

const linkTexts: Partial<Record<Link["kind"], (call: string) => string>> = {
  literal: (call) => `Z is written in ${call}`,
  backquote: (call) => `Z is what the backquote on ${call} has left`,
  "empty list": (call) => `${call} = Z, of an empty list`,
  "no list": (call) => `${call} = Z, of what is no list`,
};

export const linkText = ({ kind, call }: Pick<Link, "kind" | "call">) => linkTexts[kind]?.(call) ?? `${call} = Z`;
