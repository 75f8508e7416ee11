// The entries of docs/reference.json as the pages show them.

import MarkdownIt from "markdown-it";
import { escapeHtml } from "./documents";
import { source } from "./places";

export interface ReferenceEntry {
  name: string;
  kind: string;
  section: string;
  id: string;
  cell: string;
  arity?: number;
  lines: [string, string][];
}

export interface Reference {
  entries: ReferenceEntry[];
  sections: { title: string; id: string; text: string }[];
  examples: [string, string][];
}

export const readReference = (): Reference => JSON.parse(source("docs/reference.json"));

const md = new MarkdownIt();
/// As HTML without links: an entry is a link itself.
export const inline = (text: string) => md.renderInline(text).replace(/<\/?a\b[^>]*>/g, "");

/// The first lines of an entry as HTML; a line without a label is a paragraph.
export function linesHtml(lines: [string, string][]): string {
  const rows = lines.filter(([label]) => label);
  const paragraphs = lines.filter(([label]) => !label);
  const list = rows.map(([label, text]) => `<dt>${escapeHtml(label)}</dt><dd>${inline(text)}</dd>`).join("");
  return `${list && `<dl>${list}</dl>`}${paragraphs.map(([, text]) => `<p>${inline(text)}</p>`).join("")}`;
}

const named = new Set(["built-in", "combinator", "operator"]);

/// For hovers and completion.
export function pageEntries({ entries }: Reference) {
  return entries.map(({ name, kind, section, id, lines }) => ({
    name,
    kind,
    section,
    page: "reference.html",
    id,
    named: named.has(kind),
    html: `<strong><code>${escapeHtml(name)}</code></strong> <span>${kind}, ${escapeHtml(section)}</span>${linesHtml(lines)}`,
  }));
}

/// The ids of the cells that entries stand in, by section and content.
export function cellIds({ entries }: Reference): Map<string, string[]> {
  const ids = new Map<string, string[]>();
  for (const { section, cell, id } of entries) {
    const key = `${section}\n${cell}`;
    ids.set(key, [...(ids.get(key) ?? []), id]);
  }
  return ids;
}
