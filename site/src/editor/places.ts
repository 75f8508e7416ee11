// Where the laboratory's places stand in the editor's text.
import type { Text } from "@codemirror/state";
import { charactersOf } from "../language/program";

/// The position of a line and a column in bytes, both counted from 1.
export function positionOf(doc: Text, line: number, column: number): number {
  if (line > doc.lines) return doc.length;
  const at = doc.line(Math.max(1, line));
  return Math.min(at.to, at.from + charactersOf(at.text, column - 1));
}
