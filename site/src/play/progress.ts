// The line of a panel that tells what its requests do: how far they are, how they ended, and that what
// the panel shows belongs to an older text.
import type { Pending } from "../machine/laboratory";
import type { Answer } from "../machine/session";

export class Progress {
  private readonly pending = new Set<Pending<unknown>>();
  private timer: ReturnType<typeof setInterval> | undefined;
  private begun = 0;
  private state = 0;

  constructor(
    private readonly said: HTMLElement,
    private readonly stopButton: HTMLElement,
  ) {
    stopButton.addEventListener("click", () => this.stop());
  }

  say(text: string) {
    this.said.textContent = text;
  }

  /// Tells how far a request is.
  readonly at = (state: number) => {
    this.state = state;
    this.tell();
  };

  stop() {
    for (const each of [...this.pending]) each.stop();
  }

  /// The answer of a request; nothing when it has been stopped or given up, or belongs to what is no
  /// longer asked for.
  async wait<Told>(
    made: Pending<Told>,
    isWanted: () => boolean,
  ): Promise<(Told & Pick<Answer<Told>, "output">) | undefined> {
    this.pending.add(made);
    this.stopButton.hidden = false;
    if (!this.timer) {
      this.begun = performance.now();
      this.state = 0;
      this.say("running ...");
      this.timer = setInterval(() => this.tell(), 500);
    }
    let ended = "";
    try {
      const { answer, output } = await made.answer;
      return isWanted() ? { ...answer, output } : undefined;
    } catch (fault) {
      const { message } = fault as Error;
      ended = message === "stopped" ? "stopped" : `The laboratory gave up: ${message}`;
      return undefined;
    } finally {
      this.pending.delete(made);
      if (this.pending.size === 0) {
        clearInterval(this.timer);
        this.timer = undefined;
        this.stopButton.hidden = true;
        this.say("");
      }
      if (ended && isWanted()) this.say(ended);
    }
  }

  private tell() {
    if (!this.timer) return;
    const seconds = Math.round((performance.now() - this.begun) / 1000);
    const steps = this.state ? `${this.state.toLocaleString("en")} steps, ` : "";
    this.say(`running ... ${steps}${seconds} s`);
  }
}

/// A note above a panel that was made of an older text, with a button that makes it anew.
export class Staleness {
  private readonly note = document.createElement("p");

  constructor(panel: Element, what: string, renew: () => void) {
    this.note.className = "stale";
    this.note.hidden = true;
    this.note.setAttribute("role", "status");
    const button = document.createElement("button");
    button.type = "button";
    button.textContent = "Make anew";
    button.addEventListener("click", renew);
    this.note.append(`The program has changed since. This is ${what} of the older text. `, button);
    panel.prepend(this.note);
  }

  show(yes: boolean) {
    this.note.hidden = !yes;
  }
}
