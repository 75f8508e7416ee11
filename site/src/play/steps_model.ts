// What a state of the reduction shows, apart from how a page draws it.
import type { Step } from "../machine/laboratory";
import type { Logged } from "../machine/module";

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

/// The definition that a run has taken up last, by the steps up to a state, the last one first.
export function lastFired(steps: Pick<Step, "rule" | "name">[], names: Set<string>): string | undefined {
  return steps.find(({ rule, name }) => rule === "fire" && name !== undefined && names.has(name))?.name;
}
