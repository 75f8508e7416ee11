// The tour: the guide's sections, a page each, with an editor beside the text.
import fs from "node:fs";
import path from "node:path";
import { chapterOf, type Document, escapeHtml, type Section } from "./documents";
import { root, template } from "./places";

/// What every check may use.
export const checkHelpers = () => fs.readFileSync(path.join(root, "docs/exercises/helpers.marl"), "utf8");

/// What a page's script reads: no text in it can end the element that it stands in.
export const jsonForPage = (data: unknown) => JSON.stringify(data).replaceAll("<", "\\u003c");

export interface TourPage {
  name: string;
  title: string;
  main: string;
}

const exerciseNames = ({ exercises }: Section) => exercises.map(({ name }) => name).join(" ");

function chapterList(chapters: Section[]): string {
  const items = chapters.map(
    (chapter) =>
      `<li data-of-chapter="${chapter.id}" data-exercises="${exerciseNames(chapter)}">` +
      `<a href="../${chapterOf(chapter.title)}">${escapeHtml(chapter.title)}</a> <span class="told"></span></li>`,
  );
  return `<ol class="chapters">${items.join("\n")}</ol>`;
}

/// Makes the picture of a program that stands where the editor comes.
export type Picture = (program: string) => string;

/// The editor's place, with the program that a reader begins with.
function workplace({ programs, exercises }: Section, picture: Picture): string {
  const first = programs[0]?.text ?? exercises[0]?.start ?? "";
  return template("workplace.html")
    .replace("{{data}}", () => jsonForPage({ exercises, helpers: checkHelpers() }))
    .replace("{{program}}", () => picture(first));
}

/// The text of a chapter, with what it says of places in other ones leading there.
function linked({ body }: Section, chapters: Section[]): string {
  const isIn = (text: string, id: string) => text.includes(` id="${id}"`);
  return body.replace(/href="#([^"]*)"/g, (link, id: string) => {
    const other = isIn(body, id) ? undefined : chapters.find((each) => isIn(each.body, id));
    return other ? `href="../${chapterOf(other.title)}#${id}"` : link;
  });
}

function chapterPage(chapters: Section[], at: number, picture: Picture): TourPage {
  const chapter = chapters[at];
  const link = (to: Section | undefined, word: string, rel: string) =>
    to
      ? `<a rel="${rel}" href="../${chapterOf(to.title)}"><span>${word}</span> ${escapeHtml(to.title)}</a>`
      : `<a rel="${rel}" href="index.html"><span>${word}</span> All chapters</a>`;
  const hasPrograms = chapter.programs.length + chapter.exercises.length > 0;
  const body = linked(chapter, chapters)
    .replace(/<h2 id="([^"]*)">.*<\/h2>/, `<h1 id="$1">${escapeHtml(chapter.title)}</h1>`)
    .replace(/<(\/?)h3\b/g, "<$1h2");
  return {
    name: chapterOf(chapter.title),
    title: chapter.title,
    main:
      `<div class="tour${hasPrograms ? "" : " alone"}" data-chapter="${chapter.id}"><article>` +
      `<p class="where"><a href="index.html">Tour</a> · chapter ${at + 1} of ${chapters.length}</p>${body}` +
      `<nav class="turn" aria-label="Chapters">${link(chapters[at - 1], "Before:", "prev")}${link(chapters[at + 1], "Next:", "next")}</nav>` +
      `</article>${hasPrograms ? workplace(chapter, picture) : ""}</div>`,
  };
}

/// The tour's pages. What stands in the guide before its first section is the tour's beginning.
export function tourPages(guide: Document, picture: Picture): TourPage[] {
  const [beginning, ...chapters] = guide.sections;
  const first: TourPage = {
    name: "tour/index.html",
    title: "Tour",
    main:
      `<div class="tour" data-chapter=""><article>${beginning.body.replace(/<h1[^>]*>.*<\/h1>/, "<h1>A tour of marl</h1>")}` +
      `<p><a class="button run" href="../${chapterOf(chapters[0].title)}">Begin</a></p>` +
      `<h2>Chapters</h2>${chapterList(chapters)}</article>${workplace(beginning, picture)}</div>`,
  };
  return [first, ...chapters.map((_, at) => chapterPage(chapters, at, picture))];
}
