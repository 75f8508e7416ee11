// How a run ended, in words.
import type { End } from "../machine/session";

const failedStatus = 0x80000000;

/// "fine" is green, "doubtful" is not.
export interface Ending {
  tone: "fine" | "doubtful" | "failed";
  words: string[];
}

function duration(milliseconds: number): string {
  if (milliseconds < 10) return `${milliseconds.toFixed(1)} ms`;
  return milliseconds < 1000 ? `${Math.round(milliseconds)} ms` : `${(milliseconds / 1000).toFixed(2)} s`;
}

export function sizeText(bytes: number): string {
  if (bytes < 1e6) return `${bytes.toLocaleString("en")} bytes`;
  return `${(bytes / 1e6).toLocaleString("en", { maximumFractionDigits: 1 })} MB`;
}

/// What a status means that is no small number: the 32 bits of an integer, of which a shell shows 8.
function explained(status: number): string[] {
  if (status < 256) return [];
  const low = `a shell shows ${status & 0xff}, its low 8 bits`;
  return status > 0x7fffffff ? [`as a signed number ${status - 2 ** 32}`, low] : [low];
}

export const endedInReport = ({ outcome }: End) => outcome.ended === "exit" && outcome.status === failedStatus;

/// `value` is what an expression is, when the program was one and has come to its end.
export function endingOf(end: End, value?: string): Ending {
  const { outcome, milliseconds, withheld } = end;
  const time = duration(milliseconds);
  const cut = withheld > 0 ? [`${sizeText(withheld)} more of output not shown`] : [];
  if (outcome.ended === "stopped") return { tone: "failed", words: ["stopped", time, ...cut] };
  if (outcome.ended === "abort") return { tone: "failed", words: ["aborted", time, ...cut] };
  if (outcome.ended === "fault") {
    return { tone: "failed", words: [`ended by the machine: ${outcome.word}`, time, ...cut] };
  }
  if (endedInReport(end)) return { tone: "failed", words: ["ended in a Report", time, ...cut] };
  if (value === "Z") return { tone: "doubtful", words: ["the value is Z, a failure", time, ...cut] };
  if (value !== undefined) {
    return { tone: "fine", words: ["the value of an expression", time, ...cut] };
  }
  return {
    tone: "fine",
    words: [`exit status ${outcome.status}`, time, ...explained(outcome.status), ...cut],
  };
}

/// The line that a Report's picture begins with.
export const pictureBegin = `${" ".repeat(24)}/\\`;

/// The sentence of a Report's picture.
export function sentenceOf(picture: string): string {
  return /<say> ([\s\S]*)$/.exec(picture)?.[1].trim() ?? "";
}
