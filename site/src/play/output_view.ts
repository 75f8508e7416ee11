// The output of a run on a page: the blocks that are in view are drawn, a part of what has come with
// each frame, so that the page answers whatever a program prints.
import { type Block, OutputModel, type Stream } from "./output";

/// The bytes that are taken at once, and the milliseconds of a frame in which others follow.
const piece = 1 << 15;
const mostOfFrame = 6;

export class OutputView {
  private model = new OutputModel();
  private pending: { stream: Stream; bytes: Uint8Array }[] = [];
  private frame = 0;

  constructor(private readonly element: HTMLElement) {}

  /// With a mark, what a run prints behind it is a value.
  clear(mark?: string) {
    cancelAnimationFrame(this.frame);
    this.frame = 0;
    this.pending = [];
    this.model = new OutputModel(mark);
    this.element.replaceChildren();
  }

  write(stream: Stream, bytes: Uint8Array) {
    for (let at = 0; at < bytes.length; at += piece) {
      this.pending.push({ stream, bytes: bytes.subarray(at, at + piece) });
    }
    this.frame ||= requestAnimationFrame(() => this.draw());
  }

  /// Waits until all that has come is on the page.
  async settled(): Promise<void> {
    while (this.pending.length) await new Promise(requestAnimationFrame);
  }

  value(): string | undefined {
    return this.model.value();
  }

  /// Takes a Report's picture off the page: what standard error holds from that line on.
  cutErrors(line: string): string {
    const cut = this.model.cutErrors(line);
    if (cut) {
      this.element.replaceChildren();
      this.show(0);
    }
    return cut;
  }

  /// Puts something of the page's own behind the output.
  add(element: Element) {
    this.element.append(element);
  }

  private draw() {
    this.frame = 0;
    const { element } = this;
    const follows = element.scrollTop + element.clientHeight >= element.scrollHeight - 40;
    const begun = performance.now();
    let first = Number.POSITIVE_INFINITY;
    while (this.pending.length && performance.now() - begun < mostOfFrame) {
      const { stream, bytes } = this.pending.shift()!;
      first = Math.min(first, this.model.write(stream, bytes));
    }
    this.show(first);
    if (follows) element.scrollTop = element.scrollHeight;
    if (this.pending.length) this.frame = requestAnimationFrame(() => this.draw());
  }

  private show(first: number) {
    const { blocks } = this.model;
    for (let i = first; i < blocks.length; ++i) {
      const row = this.row(Math.floor(i / blocksOfRow));
      const shown = row.children[i % blocksOfRow];
      if (shown) shown.replaceWith(elementOf(blocks[i]));
      else row.append(elementOf(blocks[i]));
    }
    for (let i = Math.floor(first / blocksOfRow); i * blocksOfRow < blocks.length; ++i) {
      const held = blocks.slice(i * blocksOfRow, (i + 1) * blocksOfRow);
      reserve(
        this.row(i),
        held.map(linesOf).reduce((sum, lines) => sum + lines, 0),
      );
    }
  }

  private row(i: number): HTMLElement {
    const made = this.element.children[i] ?? document.createElement("div");
    if (!made.parentElement) {
      made.className = "row";
      this.element.append(made);
    }
    return made as HTMLElement;
  }
}

/// Blocks stand in rows, so that what is out of view costs as little as a few elements.
const blocksOfRow = 64;

/// About how many lines a block is high, with long ones folded.
const linesOf = ({ lines, size }: Block) => Math.max(1, lines, Math.round(size / 70));

/// How high an element is until it comes into view.
function reserve(element: HTMLElement, lines: number) {
  element.style.containIntrinsicSize = `auto ${lines * 1.5}em`;
}

function elementOf(block: Block): HTMLElement {
  const made = document.createElement("pre");
  made.className = block.goesOn ? "block goes-on" : "block";
  reserve(made, linesOf(block));
  for (const { style, text } of block.runs) {
    const span = document.createElement("span");
    span.className = style;
    span.textContent = text;
    made.append(span);
  }
  return made;
}
