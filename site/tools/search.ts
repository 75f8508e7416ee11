// The search's index over the reference, the documents, the examples and the library.
import fs from "node:fs";
import path from "node:path";
import MiniSearch from "minisearch";
import { type Indexed, searchOptions } from "../src/search/options";
import { type Document, escapeHtml, type Snippet } from "./documents";
import { idOf, type Theme } from "./library";
import { site } from "./places";
import { inline, linesHtml, type Reference } from "./reference";

type Piece = Omit<Indexed, "id">;

/// Other words for what a name does, one name a line of site/search/synonyms.txt.
function readSynonyms(): Map<string, string> {
  const lines = fs.readFileSync(path.join(site, "search/synonyms.txt"), "utf8").split("\n");
  return new Map(
    lines
      .filter((line) => line && !line.startsWith("# "))
      .map((line) => {
        const cut = line.indexOf(":", 1);
        return [line.slice(0, cut).trim(), line.slice(cut + 1).trim()];
      }),
  );
}

const plain = (html: string) =>
  html
    .replace(/<\/?(a|code|em|span|strong)\b[^>]*>/g, "")
    .replace(/<[^>]*>/g, " ")
    .replace(/&(amp|lt|gt|quot);/g, " ")
    .replace(/\s+/g, " ")
    .trim();

function ofReference({ entries, sections }: Reference, synonyms: Map<string, string>): Piece[] {
  return [
    ...entries.map(({ name, kind, id, section, lines }) => ({
      title: name,
      also: synonyms.get(name) ?? "",
      text: [section, ...lines.flat()].join(" "),
      where: kind,
      href: `reference.html#${id}`,
      html: linesHtml(lines),
    })),
    ...sections
      .filter(({ text }) => text)
      .map(({ title, id, text }) => ({
        title,
        also: synonyms.get(title) ?? "",
        text,
        where: "Reference",
        href: `reference.html#${id}`,
        html: `<p>${inline(text.split("\n\n")[0])}</p>`,
      })),
  ];
}

function ofDocument(document: Document, href: string, synonyms: Map<string, string>): Piece[] {
  return document.sections.map(({ title, id, body }) => {
    const text = plain(body);
    const prose = plain(body.replace(/<(pre|h\d)\b[\s\S]*?<\/\1>/g, ""));
    return {
      title,
      also: synonyms.get(title) ?? "",
      text,
      where: document.title.replace("A guide to marl", "Guide"),
      href: `${href}#${id}`,
      html: `<p>${escapeHtml(prose.slice(0, 160))}${prose.length > 160 ? " …" : ""}</p>`,
    };
  });
}

/// The themes of the library and their definitions, each with the note in front of it.
function ofLibrary(themes: Theme[], synonyms: Map<string, string>): Piece[] {
  const piece = (title: string, text: string, where: string, id: string): Piece => ({
    title,
    also: synonyms.get(title) ?? "",
    text,
    where,
    href: `library.html#${id}`,
    html: `<p>${escapeHtml(text.replace(/\s+/g, " ").slice(0, 200))}</p>`,
  });
  return themes.flatMap((theme) => [
    piece(theme.name, theme.about, "library", theme.name),
    ...theme.definitions.map((definition) =>
      piece(definition.name, definition.note, `library, ${theme.name}`, idOf(theme, definition)),
    ),
  ]);
}

interface Indexable {
  reference: Reference;
  documents: { document: Document; href: string }[];
  examples: (Snippet & { about: string })[];
  library: Theme[];
}

/// The index as text, as the pages load it.
export function searchIndex({ reference, documents, examples, library }: Indexable): string {
  const synonyms = readSynonyms();
  const pieces: Piece[] = [
    ...ofReference(reference, synonyms),
    ...documents.flatMap(({ document, href }) => ofDocument(document, href, synonyms)),
    ...examples.map(({ name, about, text }) => ({
      title: name,
      also: synonyms.get(name) ?? "",
      text: `${about} ${text}`,
      where: "Example",
      href: `examples.html#${name}`,
      html: `<p>${escapeHtml(about.replaceAll("`", ""))}</p>`,
    })),
    ...ofLibrary(library, synonyms),
  ];
  const titles = new Set(pieces.map(({ title }) => title));
  for (const name of synonyms.keys()) {
    if (!titles.has(name)) throw new Error(`site/search/synonyms.txt: nothing is called ${name}`);
  }
  const index = new MiniSearch<Indexed>(searchOptions);
  index.addAll(pieces.map((piece, id) => ({ id, ...piece })));
  return JSON.stringify(index);
}
