// A program's run in a page: its output, how it ended, and the button that starts and stops it.
//
// A program whose entry is an expression and no function is run so that it shows its value.
import { showingValue, valueMark } from "../language/program";
import { check, type Message, pack, type Watched } from "../machine/laboratory";
import { filesFor } from "../machine/library";
import { type End, type Run, start } from "../machine/session";
import { endedInReport, endingOf, pictureBegin, sentenceOf, sizeText } from "./ending";
import { type Given, jobOf } from "./given";
import { OutputView } from "./output_view";

export interface RunnerParts {
  output: HTMLElement;
  status: HTMLElement;
  button: HTMLButtonElement;
}

export interface RunnerSettings {
  given(): Given;
  /// Asked to show the place of a fault.
  onPlace?(message: Message): void;
}

function element<K extends keyof HTMLElementTagNameMap>(name: K, className: string, text = "") {
  const made = document.createElement(name);
  made.className = className;
  made.textContent = text;
  return made;
}

const isFault = ({ severity }: Message) => severity === "fault";

/// The program that shows the value of its entry, where that is no function. What the entry's name
/// takes the check knows from the program with all that it builds on in it.
async function valueProgram(given: Given): Promise<string | undefined> {
  if (showingValue(given.text, true) === undefined) return undefined;
  const text = await pack(given).catch(() => given.text);
  const messages = await check({ ...given, text }).catch(() => []);
  if (messages.some(isFault)) return undefined;
  return showingValue(
    given.text,
    messages.some(({ kind }) => kind === "entry"),
  );
}

/// The program as it is run: one that is an expression shows its value.
async function asShown(given: Given): Promise<{ given: Given; isValue: boolean }> {
  const value = await valueProgram(given);
  return { given: { ...given, text: value ?? given.text }, isValue: value !== undefined };
}

/// The program with what it builds on in it. A library that can't be fetched leaves it to marl to
/// tell which names are missing.
async function asRun(given: Given): Promise<{ given: Given; isValue: boolean }> {
  const { given: whole, isValue } = await asShown(given);
  const text = await pack(whole).catch(() => whole.text);
  return { given: { ...whole, text }, isValue };
}

/// The program for the laboratory, which reads what it builds on by itself, and so knows where all
/// of it is written.
export async function asWatched(given: Given): Promise<Watched> {
  const whole = (await asShown(given)).given;
  return { job: jobOf(whole), files: await filesFor(whole).catch(() => ({})) };
}

export class Runner {
  private readonly view: OutputView;
  private run: Run | undefined;
  /// Counts the starts: what belongs to an older one is dropped.
  private turn = 0;
  private stopped = false;

  constructor(
    private readonly parts: RunnerParts,
    private readonly settings: RunnerSettings,
  ) {
    this.view = new OutputView(parts.output);
    parts.button.addEventListener("click", () => (this.isRunning() ? this.stop() : void this.start()));
  }

  isRunning() {
    return this.parts.button.classList.contains("running");
  }

  stop() {
    this.stopped = true;
    this.run?.stop();
  }

  async start() {
    this.run?.stop();
    const turn = ++this.turn;
    this.stopped = false;
    this.view.clear();
    this.setRunning(true);
    const given = this.settings.given();
    const { given: program, isValue } = await asRun(given);
    if (turn !== this.turn) return;
    this.view.clear(isValue ? valueMark : undefined);
    const run = start(jobOf(program), {
      output: (stream, bytes) => {
        if (turn === this.turn) this.view.write(stream, bytes);
      },
      withheld: (bytes) => {
        if (turn === this.turn) this.tell("running", ["running", `${sizeText(bytes)} more of output not shown`]);
      },
    });
    this.run = run;
    if (this.stopped) run.stop();
    const end = await run.end;
    await this.view.settled();
    if (turn !== this.turn) return;
    this.run = undefined;
    await this.showEnd(given, end);
    this.setRunning(false);
  }

  private setRunning(yes: boolean) {
    const { button, status, output } = this.parts;
    button.textContent = yes ? "Stop" : "Run";
    button.classList.toggle("running", yes);
    if (!yes) return;
    output.hidden = status.hidden = false;
    this.tell("running", ["running"]);
  }

  private tell(tone: string, words: string[]) {
    this.parts.status.className = `status ${tone}`;
    this.parts.status.textContent = words.join(" · ");
  }

  private async showEnd(given: Given, end: End) {
    if (endedInReport(end)) await this.showReport(given);
    const { tone, words } = endingOf(end, this.view.value());
    this.tell(tone, words);
  }

  /// What the check says about the program comes first, or the Report's own sentence; the picture is
  /// there to be unfolded.
  private async showReport(given: Given) {
    const picture = this.view.cutErrors(pictureBegin);
    if (!picture) return;
    const fault = (await check(given).catch(() => [])).find(isFault);
    const box = element("div", "report");
    const sentence = element("p", "sentence", fault?.say ?? sentenceOf(picture));
    if (fault) {
      const place = element("button", "place", `Line ${fault.line}`);
      place.type = "button";
      place.addEventListener("click", () => this.settings.onPlace?.(fault));
      sentence.prepend(this.settings.onPlace ? place : `Line ${fault.line}: `, " ");
    }
    const details = element("details", "");
    details.append(element("summary", "", "The Report, as marl prints it"), element("pre", "picture", picture));
    box.append(sentence, details);
    this.view.add(box);
  }
}
