// The commands of the laboratory, as the pages use them: the one place that knows their JSON.
//
// `check` and `format` answer at once, from a worker that stays. Steps and a profile run the
// program, so each such request has a worker of its own, which `stop` ends.
import { Laboratory } from "./session";

export interface Message {
  line: number;
  column: number;
  end_line: number;
  end_column: number;
  severity: "fault" | "warning";
  kind: string;
  say: string;
  source: string;
}

const still = new Laboratory(10_000);

/// What is wrong or doubtful in a program, without running it.
export async function check(text: string): Promise<Message[]> {
  const answer = await still.ask({ command: "check", name: "program", text });
  return answer?.messages ?? [];
}

/// The program in its canonical layout, or what keeps it from having one.
export async function format(text: string): Promise<{ text?: string; messages?: Message[] }> {
  return (await still.ask({ command: "format", text })) ?? {};
}

/// A request that runs the program.
export interface Pending<Answer> {
  answer: Promise<Answer | null>;
  stop(): void;
}

export function askOnce<Answer>(request: object, patience = 60_000): Pending<Answer> {
  const laboratory = new Laboratory(patience);
  return {
    answer: laboratory.ask(request).finally(() => laboratory.close()),
    stop: () => laboratory.close("stopped"),
  };
}
