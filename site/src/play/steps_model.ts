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

/// How many of the frames that wait the next step takes: in the line, each of them ends with the
/// parenthesis of the context that holds it.
export function framesTaken({ line, redex, rule }: Pick<Step, "line" | "redex" | "rule">): number {
  if (rule === "pop") return 1;
  let text = decoder.decode(encoder.encode(line).subarray(redex.start));
  for (let before = ""; before !== text; ) [before, text] = [text, text.replace(/\[[^[\]]*\]/g, "")];
  let taken = 0;
  let open = 0;
  for (const c of text.slice(0, Math.max(0, text.indexOf(" . ")))) {
    if (c === "(") ++open;
    else if (c === ")" && open > 0) --open;
    else if (c === ")") ++taken;
  }
  return taken;
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

const isBalanced = (text: string) => {
  let open = 0;
  for (const c of text) {
    if (c === "(" || c === "[") ++open;
    if ((c === ")" || c === "]") && --open < 0) return false;
  }
  return open === 0;
};

/// What each hole of a shortened line stands for, from the line with nothing left out: the texts
/// between the holes are in it in their order, and what a hole stands for is whole.
export function filled(short: string, full: string): string[] {
  const [first, ...behind] = short.split(hole);
  let at = first.length;
  return behind.map((text, i) => {
    const isLast = i === behind.length - 1;
    let end = isLast ? full.length - text.length : full.indexOf(text, at + 1);
    while (!isLast && end >= 0 && !isBalanced(full.slice(at, end))) end = full.indexOf(text, end + 1);
    const found = full.slice(at, Math.max(at, end));
    at += found.length + text.length;
    return found;
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
