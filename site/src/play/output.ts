// What a run has written, as it comes: standard output and standard error in their order, the
// latter marked, with the two colours that a Report's picture uses.

type Stream = 1 | 2;

const colours: Record<string, string> = { "31": "red", "32": "green" };

export class OutputView {
  private readonly decoders = { 1: new TextDecoder(), 2: new TextDecoder() };
  private pending: { stream: Stream; text: string }[] = [];
  private frame = 0;
  private last: { stream: Stream; colour: string; node: Text } | undefined;
  private colour = "";
  private escape = "";

  constructor(private readonly element: HTMLElement) {}

  clear() {
    cancelAnimationFrame(this.frame);
    this.frame = 0;
    this.pending = [];
    this.last = undefined;
    this.colour = this.escape = "";
    this.decoders[1] = new TextDecoder();
    this.decoders[2] = new TextDecoder();
    this.element.replaceChildren();
  }

  write(stream: Stream, bytes: Uint8Array) {
    this.pending.push({ stream, text: this.decoders[stream].decode(bytes, { stream: true }) });
    this.frame ||= requestAnimationFrame(() => this.flush());
  }

  /// Shows at once what has come so far.
  flush() {
    cancelAnimationFrame(this.frame);
    this.frame = 0;
    for (const { stream, text } of this.pending) this.show(stream, text);
    this.pending = [];
    this.element.scrollTop = this.element.scrollHeight;
  }

  private show(stream: Stream, text: string) {
    if (stream === 1) return this.append(1, "", text);
    // An escape sequence may come in two pieces.
    for (const piece of (this.escape + text).split(/(\x1b(?:\[\d*m|\[?\d*$))/)) {
      const whole = /^\x1b\[(\d*)m$/.exec(piece);
      this.escape = "";
      if (whole) this.colour = colours[whole[1]] ?? "";
      else if (piece.startsWith("\x1b")) this.escape = piece;
      else this.append(2, this.colour, piece);
    }
  }

  private append(stream: Stream, colour: string, text: string) {
    if (!text) return;
    if (this.last?.stream === stream && this.last.colour === colour) {
      this.last.node.appendData(text);
      return;
    }
    const node = document.createTextNode(text);
    const span = document.createElement("span");
    span.className = `${stream === 1 ? "out" : "err"} ${colour}`.trim();
    span.append(node);
    this.element.append(span);
    this.last = { stream, colour, node };
  }
}
