// A program's run in a page: its output, how it ended, and the button that starts and stops it.
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

/// A run that is over within so many milliseconds is counted, by a second one.
const shortRun = 500;

const failedStatus = 0x80000000;

function duration(milliseconds: number): string {
  if (milliseconds < 10) return `${milliseconds.toFixed(1)} ms`;
  return milliseconds < 1000 ? `${Math.round(milliseconds)} ms` : `${(milliseconds / 1000).toFixed(2)} s`;
}

/// How a run ended, in a few words.
export function endText({ outcome, milliseconds, withheld }: End): string {
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

  constructor(
    private readonly parts: RunnerParts,
    private readonly given: () => Given,
    /// How many steps a run takes, in words; asked behind a short one.
    private readonly count?: (job: Job) => Promise<string>,
  ) {
    this.view = new OutputView(parts.output);
    parts.button.addEventListener("click", () => this.toggle());
  }

  toggle() {
    if (this.run) this.run.stop();
    else void this.start();
  }

  async start() {
    this.run?.stop();
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
    if (fine && end.milliseconds < shortRun) await this.addCount(job, status);
  }

  private async addCount(job: Job, status: HTMLElement) {
    const text = status.textContent;
    const steps = await this.count?.(job).catch(() => undefined);
    if (steps && status.textContent === text) status.textContent = `${text} · ${steps}`;
  }

  stop() {
    this.run?.stop();
  }
}
