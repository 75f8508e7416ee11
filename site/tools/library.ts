// The library in marl as the site shows it: its texts, and what their notes say of each definition.
import fs from "node:fs";
import path from "node:path";
import type { Document, Heading } from "./documents";
import { escapeHtml, sectionHtml } from "./documents";
import { root, source } from "./places";

type Machine = typeof import("./machine");

export interface Definition {
  name: string;
  /// The name with its parameters, as it is defined.
  signature: string;
  note: string;
  /// What its tests say, each an expression and what it gives.
  tests: string[];
}

export interface Theme {
  name: string;
  text: string;
  about: string;
  definitions: Definition[];
}

/// What `marl-lab doc` tells of a theme; what has no note is for nobody else.
async function readTheme(name: string, { askLaboratory }: Machine): Promise<Theme> {
  const text = source(`lib/${name}.marl`);
  const told = (await askLaboratory({ command: "doc", text })) as { about: string; entries: Definition[] };
  return { name, text, about: told.about, definitions: told.entries.filter(({ note }) => note) };
}

export function readLibrary(machine: Machine): Promise<Theme[]> {
  const files = fs.readdirSync(path.join(root, "lib")).filter((name) => name.endsWith(".marl"));
  return Promise.all(files.sort().map((name) => readTheme(path.parse(name).name, machine)));
}

export const idOf = (theme: Theme, { name }: Definition) => `${theme.name}-${name}`;

const paragraphs = (text: string) =>
  text
    .split("\n\n")
    .map((part) => `<p>${escapeHtml(part)}</p>\n`)
    .join("");

function definitionHtml(theme: Theme, definition: Definition, highlight: (text: string) => string): string {
  const { signature, note, tests } = definition;
  const shown = tests.length ? `<pre class="code"><code>${tests.map(highlight).join("\n")}</code></pre>\n` : "";
  return `<h3 id="${idOf(theme, definition)}"><code>${escapeHtml(signature)}</code></h3>\n${paragraphs(note)}${shown}`;
}

/// For hovers and completion, in the form of those of the reference.
export function libraryEntries(themes: Theme[]) {
  return themes.flatMap((theme) =>
    theme.definitions.map((definition) => ({
      name: definition.name,
      kind: "library",
      section: theme.name,
      page: "library.html",
      id: idOf(theme, definition),
      named: true,
      html:
        `<strong><code>${escapeHtml(definition.signature)}</code></strong> <span>library, ${theme.name}</span>\n` +
        `${paragraphs(definition.note)}${definition.tests.map((test) => `<p><code>${escapeHtml(test)}</code></p>\n`).join("")}`,
    })),
  );
}

/// The library as a page: a section for each theme, with all that it offers.
export function libraryPage(
  themes: Theme[],
  highlight: (text: string) => string,
): Pick<Document, "title" | "body" | "contents"> {
  const example = "total(range(1,10)),\n\n[use: list number],\n\ntotal\\l\\fold(plus,0,l)\n";
  const intro =
    "<p>A program takes names from the library when a note behind its entry says which themes it builds on. In a " +
    'page that is all; on the command line <code>marl-lab run</code> does the same, as the <a href="guide.html">guide</a> ' +
    `tells. Below each name stand expressions and what they give.</p>\n<div class="program" data-name="library">` +
    `<pre class="code"><code>${highlight(example)}</code></pre><div class="bar"><button type="button" class="run">Run</button>` +
    '<button type="button" class="change">Edit</button><span role="status" class="status"></span></div></div>\n';
  const sections = themes.map((theme) => {
    const entries = theme.definitions.map((each) => definitionHtml(theme, each, highlight));
    return sectionHtml(`<h2 id="${theme.name}">${theme.name}</h2>\n${paragraphs(theme.about)}${entries.join("")}`);
  });
  const contents: Heading[] = themes.map(({ name }) => ({ tag: "h2", text: name, id: name }));
  return { title: "The library", body: `<h1>The library</h1>\n${intro}${sections.join("")}`, contents };
}
