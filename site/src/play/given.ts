// A program with all that it is given, as the pages hold it.
import type { Job } from "../machine/module";

export interface Given {
  text: string;
  arguments: string[];
  input: string;
  files: { name: string; text: string }[];
}

export const givenText = (text: string): Given => ({ text, arguments: [], input: "", files: [] });

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

/// What tells a program from others in a list: its first line with something in it.
export function firstLine(text: string): string {
  const line = text.split("\n").find((each) => each.trim()) ?? "";
  return line.trim().slice(0, 80) || "empty";
}
