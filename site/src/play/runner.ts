// A program's run in a page: its output, how it ended, and the button that starts and stops it.
import { walk, type Pending } from "../machine/laboratory";
import type { Job } from "../machine/module";
import { start, type End, type Run } from "../machine/session";
import { OutputView } from "./output";

export interface Given {
  text: string;
  arguments: string[];
  input: string;
  files: { name: string; text: string }[];
}

const encoder = new TextEncoder();

export function jobOf(given: Given): Job {
  return {
    program: { name: "program.marl", bytes: encoder.encode(given.text) },
    arguments: given.arguments,
    input: encoder.encode(given.input),
    files: given.files.map(({ name, text }) => ({ name, bytes: encoder.encode(text) })),
    folder: "/home/marl",
    environment: { HOME: "/home/marl", LANG: "C" },
  };
}

/// The steps that are counted behind a run, by a second one.
const countLimit = 1_000_000;

const failedStatus = 0x80000000;

function duration(milliseconds: number): string {
  if (milliseconds < 10) return `${milliseconds.toFixed(1)} ms`;
  return milliseconds < 1000 ? `${Math.round(milliseconds)} ms` : `${(milliseconds / 1000).toFixed(2)} s`;
}

/// How a run ended, in a few words.
function endText({ outcome, milliseconds, withheld }: End): string {
  const words = [];
  if (outcome.ended === "exit") {
    words.push(outcome.status === failedStatus ? "ended in a Report" : `exit status ${outcome.status}`);
  } else if (outcome.ended === "stopped") words.push("stopped");
  else if (outcome.ended === "abort") words.push("aborted");
  else words.push(`ended by the machine: ${outcome.word}`);
  words.push(duration(milliseconds));
  if (withheld > 0) words.push(`${withheld} more bytes of output not shown`);
  return words.join(" · ");
}

export interface RunnerParts {
  output: HTMLElement;
  status: HTMLElement;
  button: HTMLButtonElement;
}

export class Runner {
  private readonly view: OutputView;
  private run: Run | undefined;
  private counting: Pending<unknown> | undefined;

  constructor(
    private readonly parts: RunnerParts,
    private readonly given: () => Given,
    /// Whether the steps are counted as well.
    private readonly counts: boolean,
  ) {
    this.view = new OutputView(parts.output);
    parts.button.addEventListener("click", () => this.toggle());
  }

  private toggle() {
    if (this.run) this.run.stop();
    else void this.start();
  }

  async start() {
    this.run?.stop();
    this.counting?.stop();
    this.view.clear();
    const { button, status, output } = this.parts;
    output.hidden = status.hidden = false;
    button.textContent = "Stop";
    button.classList.add("running");
    status.className = "status running";
    status.textContent = "running";
    const job = jobOf(this.given());
    const run = start(job, (stream, bytes) => {
      if (this.run === run) this.view.write(stream, bytes);
    });
    this.run = run;
    const end = await run.end;
    if (this.run !== run) return;
    this.run = undefined;
    this.view.flush();
    const fine = end.outcome.ended === "exit" && end.outcome.status !== failedStatus;
    status.className = `status ${fine ? "fine" : "failed"}`;
    status.textContent = endText(end);
    button.textContent = "Run";
    button.classList.remove("running");
    if (this.counts && end.outcome.ended !== "stopped") await this.addCount(job);
  }

  /// A run that is stopped or replaced while it is counted goes without.
  private async addCount(job: Job) {
    const counting = walk(job, countLimit);
    this.counting = counting;
    const answer = await counting.answer.catch(() => undefined);
    if (!answer?.started) return;
    const steps = `${answer.ended ? "" : "over "}${answer.last.toLocaleString("en")} steps`;
    this.parts.status.textContent += ` · ${steps}`;
  }
}
