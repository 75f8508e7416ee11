// The pages, from what has been read.
import fs from "node:fs";
import path from "node:path";
import type { Bundle } from "./bundle";
import { fail } from "./checks";
import { contentsHtml, type Document, needsCommandLine, renderDocument } from "./documents";
import { type Example, galleryPage } from "./gallery";
import { libraryPage, type Theme } from "./library";
import { writePage } from "./page";
import { source, template, www } from "./places";
import { type Picture, tourPages } from "./tour";

type Highlight = (text: string) => string;

export interface DocumentPage {
  name: string;
  document: Pick<Document, "title" | "body" | "contents">;
  description: string;
  script?: string;
}

export function writeDocument({ name, document, description, script = "document" }: DocumentPage, assets: Bundle) {
  const main = template("document.html")
    .replace("{{contents}}", () => contentsHtml(document.contents))
    .replace("{{body}}", () => document.body);
  writePage(name, { title: `${document.title} · marl`, description, main, script, kind: "reading" }, assets);
}

/// The reference has the search above its text.
export function writeReference(page: DocumentPage, assets: Bundle) {
  const body = page.document.body.replace("</h1>\n", `</h1>\n${template("search.html")}`);
  writeDocument({ ...page, document: { ...page.document, body } }, assets);
}

export function writeExamples(examples: Example[], assets: Bundle, highlight: Highlight) {
  const document = galleryPage(examples, highlight);
  writeDocument({ name: "examples.html", document, description: "Programs that do something." }, assets);
}

export function writeLibrary(themes: Theme[], assets: Bundle, highlight: Highlight) {
  const document = libraryPage(themes, highlight);
  const description = "What programs can build on: lists, dictionaries, text, numbers, files and more.";
  writeDocument({ name: "library.html", document, description }, assets);
}

/// The parts of the README that a page for installing is made of.
function installText(): string {
  const sections = source("README.md").split(/^(?=## )/m);
  const wanted = ["Four commands", "Install", "The exit status in a script"];
  const found = wanted.map(
    (title) =>
      sections.find((section) => section.startsWith(`## ${title}\n`)) ?? fail(`README.md has no section ${title}`),
  );
  const intro =
    "# Install marl\n\nThe [playground](index.html) needs nothing. For the command line, take the source of this\n" +
    "version ([marl-source.tar.gz](marl-source.tar.gz), or a clone of the repository).\n\n";
  return intro + found.join("");
}

export function writeInstall(assets: Bundle, highlight: Highlight) {
  const document = renderDocument(installText(), { highlight });
  const description = "How to get marl for the command line.";
  writeDocument({ name: "install.html", document, description, script: "plain" }, assets);
}

export function writeCheatsheet(text: string, assets: Bundle, highlight: Highlight) {
  const sections = renderDocument(text, { highlight }).sections.slice(1);
  const columns = sections.map(({ body }) => `<section>${body}</section>`).join("");
  const page = {
    title: "Cheat sheet · marl",
    description: "marl on one page of paper.",
    main: `<div class="cheatsheet"><h1>marl on a page <button type="button" id="print">Print</button></h1><div class="columns">${columns}</div></div>`,
    script: "plain",
    kind: "wide",
  } as const;
  writePage("cheatsheet.html", page, assets);
}

export function writeTour(guide: Document, assets: Bundle, picture: Picture) {
  for (const { name, title, main } of tourPages(guide, picture)) {
    const description = `A tour of marl: ${title}.`;
    writePage(name, { title: `${title} · a tour of marl`, description, main, script: "tour", kind: "wide" }, assets);
  }
}

export function writeSearch(assets: Bundle) {
  const page = {
    title: "Search · marl",
    description: "Search in the guide, the reference and the examples.",
    main: `<div class="searching"><h1>Search</h1>${template("search.html")}</div>`,
    script: "search",
    kind: "reading",
  } as const;
  writePage("search.html", page, assets);
}

function exampleOptions(examples: Example[]): string {
  const themes = [...new Set(examples.map(({ theme }) => theme))];
  const option = ({ name, about }: Example) => `<option value="${name}">${name}: ${about.replaceAll("`", "")}</option>`;
  return themes
    .map((theme) => {
      const of = examples.filter((example) => example.theme === theme && !needsCommandLine(example.text));
      return `<optgroup label="${theme}">${of.map(option).join("\n")}</optgroup>`;
    })
    .join("\n");
}

export function writePlaygrounds(examples: Example[], assets: Bundle, picture: Picture) {
  const program = picture(template("hello.marl"));
  const preload = assets.parts.map((part) => `<link rel="modulepreload" href="${part}">\n`).join("");
  writePage(
    "index.html",
    {
      title: "marl",
      description: "A small lazy functional language. Write a program, run it, watch it reduce.",
      main: template("play.html")
        .replace("{{examples}}", exampleOptions(examples))
        .replace("{{program}}", () => program),
      script: "play",
      kind: "wide",
      isPlain: true,
      preload,
    },
    assets,
  );
  writePage(
    "play.html",
    {
      title: "marl, a program",
      description: "A program in marl, to run and to change.",
      main: template("embed.html").replace("{{program}}", () => program),
      script: "embed",
      kind: "bare",
      isPlain: true,
    },
    assets,
  );
}

/// A server shows it for any address, so its own links begin at the site's: SITE_BASE, or the host.
export function writeNotFound(assets: Bundle) {
  const base = process.env.SITE_BASE ?? "/";
  writePage(
    "404.html",
    {
      title: "Not found · marl",
      description: "There is no such page.",
      main: '<div class="searching"><h1>There is no such page</h1><p>Perhaps it has moved: <a href="search.html">search</a>, or begin at the <a href="index.html">playground</a>.</p></div>',
      script: "plain",
      kind: "reading",
    },
    assets,
  );
  const file = path.join(www, "404.html");
  fs.writeFileSync(file, fs.readFileSync(file, "utf8").replace("<title>", `<base href="${base}">\n<title>`));
}
