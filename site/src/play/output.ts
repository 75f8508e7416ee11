// What a run has written, as blocks of lines.
//
// Standard output and standard error stand in their order, the latter marked, with the two colours
// that a Report's picture uses. A block is as many lines as one piece of the page can hold: a page
// draws those that are in view and leaves the others alone, so a run may write as much as it likes. A
// line that is longer than a block goes on in the next one.

export type Stream = 1 | 2;

/// A piece of text in one style.
export interface Run {
  style: string;
  text: string;
}

export interface Block {
  runs: Run[];
  lines: number;
  size: number;
  /// Whether its first line is the rest of the block before.
  goesOn: boolean;
}

const mostLines = 200;
const mostCharacters = 4096;

const colours: Record<string, string> = { "31": "red", "32": "green" };

export class OutputModel {
  readonly blocks: Block[] = [];
  private readonly decoders = { 1: new TextDecoder(), 2: new TextDecoder() };
  private colour = "";
  private escape = "";
  private lastCharacter = "\n";
  private style = "out";

  /// With a mark, what stands behind it on standard output is a value.
  constructor(private readonly mark?: string) {}

  /// Adds what has come on a stream; gives the number of the first block that has changed.
  write(stream: Stream, bytes: Uint8Array): number {
    const first = Math.max(0, this.blocks.length - 1);
    const text = this.decoders[stream].decode(bytes, { stream: true });
    if (stream === 1) {
      const at = this.mark ? text.indexOf(this.mark) : -1;
      this.append(this.style, at < 0 ? text : text.slice(0, at));
      if (at >= 0) this.append((this.style = "value"), text.slice(at + 1));
      return first;
    }
    // An escape sequence may come in two pieces.
    for (const piece of (this.escape + text).split(/(\x1b(?:\[\d*m|\[?\d*$))/)) {
      if (!piece) continue;
      const whole = /^\x1b\[(\d*)m$/.exec(piece);
      this.escape = "";
      if (whole) this.colour = colours[whole[1]] ?? "";
      else if (piece.startsWith("\x1b")) this.escape = piece;
      else this.append(`err ${this.colour}`.trim(), piece);
    }
    return first;
  }

  /// All that was written, without the styles.
  text(): string {
    return this.blocks.map(({ runs }) => runs.map(({ text }) => text).join("")).join("");
  }

  /// What stands behind the mark.
  value(): string | undefined {
    if (this.style !== "value") return undefined;
    const runs = this.blocks.flatMap((block) => block.runs);
    return runs
      .flatMap(({ style, text }) => (style === "value" ? text : []))
      .join("")
      .trimEnd();
  }

  /// Takes what standard error holds from the last line on that is `line`; empty without such a line.
  cutErrors(line: string): string {
    const runs = this.blocks.flatMap((block) => block.runs);
    let from = runs.length;
    let text = "";
    while (from > 0 && runs[from - 1].style.startsWith("err")) text = runs[--from].text + text;
    const at = text.lastIndexOf(line);
    if (at < 0) return "";
    const kept = runs.slice(0, from);
    this.blocks.length = 0;
    this.lastCharacter = "\n";
    for (const { style, text: part } of kept) this.append(style, part);
    this.append("err", text.slice(0, at));
    return text.slice(at);
  }

  private append(style: string, text: string) {
    let position = 0;
    while (position < text.length) {
      const block = this.room();
      const end = endOfPiece(text, position, block);
      const piece = text.slice(position, end);
      const last = block.runs.at(-1);
      if (last?.style === style) last.text += piece;
      else block.runs.push({ style, text: piece });
      for (let at = piece.indexOf("\n"); at >= 0; at = piece.indexOf("\n", at + 1)) ++block.lines;
      block.size += piece.length;
      this.lastCharacter = piece.at(-1)!;
      position = end;
    }
  }

  /// The block that takes what comes next.
  private room(): Block {
    const last = this.blocks.at(-1);
    if (last && last.lines < mostLines && last.size < mostCharacters) return last;
    const made = { runs: [], lines: 0, size: 0, goesOn: this.lastCharacter !== "\n" };
    this.blocks.push(made);
    return made;
  }
}

/// Where the piece that fits into a block ends: behind a line where there is one, and never within
/// the two halves of one character.
function endOfPiece(text: string, from: number, block: Block): number {
  let end = Math.min(text.length, from + mostCharacters - block.size);
  let lines = block.lines;
  let behindLine = from;
  for (let at = text.indexOf("\n", from); at >= 0 && at < end; at = text.indexOf("\n", at + 1)) {
    behindLine = at + 1;
    if (++lines >= mostLines) return behindLine;
  }
  if (end === text.length) return end;
  if (behindLine > from) return behindLine;
  if (/[\ud800-\udbff]/.test(text[end - 1]) && end - from > 1) --end;
  return end;
}
