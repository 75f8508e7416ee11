// Documents in Markdown as parts of pages: HTML with anchors as GitHub makes them, a table of contents,
// links between the pages, and each program with what it is given and what it must print.
import fs from "node:fs";
import path from "node:path";
import MarkdownIt from "markdown-it";
import type Token from "markdown-it/lib/token.mjs";
import { root } from "./places";

/// A program with what it is given, and what it does on the command line.
export interface Snippet {
  name: string;
  text: string;
  arguments: string[];
  input: string;
  files: { name: string; text: string }[];
  out: string;
  err: string;
  status: number;
}

/// An exercise: what the learner begins with, the program that checks it, and an answer that is right.
export interface Exercise {
  name: string;
  start: string;
  check: string;
  answer: string;
}

export interface Heading {
  tag: string;
  text: string;
  id: string;
}

export interface Section {
  /// The heading of the second level, without its number.
  title: string;
  id: string;
  body: string;
  programs: Snippet[];
  exercises: Exercise[];
}

export interface Document {
  title: string;
  body: string;
  contents: Heading[];
  programs: Snippet[];
  /// What the document shows of the programs' output, by the names of the files.
  shown: Record<string, string>;
  /// The parts: what stands before the first heading of the second level, and one for each of those.
  sections: Section[];
}

export interface Settings {
  highlight(program: string): string;
  /// The folder of the programs that the document names.
  snippets?: string;
  /// Ids for the first cell of a section with some content, by both.
  ids?: Map<string, string[]>;
  /// From the page to the site's first one.
  up?: string;
}

const pages: Record<string, string> = {
  "guide.md": "guide.html",
  "reference.md": "reference.html",
  "design.md": "design.html",
  "mistakes.md": "mistakes.html",
  "browser.md": "browser.html",
};

export function escapeHtml(text: string): string {
  const names: Record<string, string> = { "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;" };
  return text.replace(/[&<>"]/g, (c) => names[c]);
}

export function slug(title: string): string {
  return title
    .toLowerCase()
    .replace(/[^\p{L}\p{N} _-]/gu, "")
    .replace(/ /g, "-");
}

/// Where a link of a document leads on the site; nothing when that is no page.
function pageOf(href: string, up: string): string | undefined {
  if (/^[a-z]+:|^#/.test(href)) return href;
  const [file, anchor] = href.split("#");
  const base = path.posix.basename(file);
  const isExample = /(^|\/)examples(\/|$)/.test(file);
  const page = isExample ? "examples.html" : (pages[base] ?? (/\.(html|tar\.gz)$/.test(base) ? base : undefined));
  return page && up + (anchor ? `${page}#${anchor}` : page);
}

function plainText(inline: Token): string {
  return (inline.children ?? []).map((child) => child.content).join("");
}

/// The lists of links between a page's title and its first section: its table of contents in text.
function dropOwnContents(tokens: Token[]): Token[] {
  const kept: Token[] = [];
  let sections = 0;
  let lists = 0;
  for (const token of tokens) {
    if (token.type === "heading_open" && token.tag === "h2") ++sections;
    if (sections === 0 && /_list_open$/.test(token.type)) ++lists;
    if (lists === 0) kept.push(token);
    if (sections === 0 && /_list_close$/.test(token.type)) --lists;
  }
  return kept;
}

/// The files beside a program that it says it uses, and those that these use.
function usedFiles(folder: string, text: string, files: Snippet["files"] = []): Snippet["files"] {
  const words = [...text.matchAll(/\[use: ([^\]]*)\]/g)].flatMap(([, listed]) => (listed ?? "").split(/\s+/));
  for (const name of words.filter((word) => word.startsWith("./")).map((word) => word.slice(2))) {
    if (files.some((file) => file.name === name)) continue;
    const file = { name, text: fs.readFileSync(path.join(folder, name), "utf8") };
    files.push(file);
    usedFiles(folder, file.text, files);
  }
  return files;
}

/// Not a file of definitions, which begins with a note: only programs run.
export const isProgram = (text: string) => !/^\s*[[,]/.test(text);

/// A program in a folder, with what it is given, from the files beside it.
export function snippetAt(folder: string, name: string): Snippet {
  const read = (ending: string) => {
    const file = path.join(folder, name + ending);
    return fs.existsSync(file) ? fs.readFileSync(file, "utf8") : "";
  };
  return {
    name,
    text: read(".marl"),
    arguments: read(".args").split("\n").filter(Boolean),
    input: read(".in"),
    files: usedFiles(path.dirname(path.join(folder, name)), read(".marl")),
    out: read(".out"),
    err: read(".err"),
    status: Number(read(".status") || 0),
  };
}

/// What a program is given, as an attribute of the place that it stands in.
export function givenAttribute({ arguments: words, input, files }: Snippet): string {
  const given = {
    ...(words.length && { arguments: words }),
    ...(input && { input }),
    ...(files.length && { files }),
  };
  return Object.keys(given).length ? ` data-given="${escapeHtml(JSON.stringify(given))}"` : "";
}

export function needsCommandLine(text: string): boolean {
  return /\bsocket\b/.test(text);
}

/// A program with its buttons, and the place where its output will stand.
export function programHtml(snippet: Snippet, highlight: (text: string) => string): string {
  const why = isProgram(snippet.text)
    ? "needs a command line: a page has no sockets"
    : "definitions for other programs";
  const bar =
    needsCommandLine(snippet.text) || !isProgram(snippet.text)
      ? `<p class="bar"><span>${why}</span></p>`
      : '<div class="bar"><button type="button" class="run">Run</button><button type="button" class="change">Edit</button>' +
        '<span role="status" class="status"></span></div>';
  return (
    `<div class="program" data-name="${snippet.name}"${givenAttribute(snippet)}>` +
    `<pre class="code"><code>${highlight(snippet.text)}</code></pre>${bar}</div>\n`
  );
}

/// The page of the tour that a section is.
export function chapterOf(heading: string): string {
  return `tour/${slug(withoutNumber(heading))}.html`;
}

const withoutNumber = (heading: string) => heading.replace(/^\d+\. /, "");

function exerciseHtml(exercise: Exercise, highlight: (text: string) => string, chapter: string): string {
  return (
    `<div class="exercise" data-exercise="${exercise.name}">` +
    `<pre class="code"><code>${highlight(exercise.start)}</code></pre>` +
    `<p class="bar"><a class="button" href="${chapter}#exercise-${exercise.name}" data-open="${exercise.name}">Solve it</a>` +
    '<span class="done-mark" hidden>solved</span></p></div>\n'
  );
}

/// A part of a page that is laid out when it comes near. Its class says how many lines it has at the
/// most, as a power of two: what stood out of too low a place would seem to lie over the next part.
export function sectionHtml(body: string): string {
  const lines = body
    .replace(/<\/t[dh]>\n/g, " ")
    .replace(/<[^>]*>/g, "")
    .split("\n");
  const folded = lines.reduce((sum, line) => sum + Math.ceil(line.length / 85), 0);
  const gaps = body.match(/<(button|div|h\d|li|p|pre|tr)\b/g)?.length ?? 0;
  const power = Math.min(11, Math.max(3, Math.ceil(Math.log2(folded + gaps))));
  return `<section class="tall-${power}">${body}</section>\n`;
}

/// One walk over a document's tokens, which gathers what its sections hold.
class Renderer {
  private readonly md = new MarkdownIt({ html: false, linkify: false });
  private readonly used = new Map<string, number>();
  private readonly contents: Heading[] = [];
  private readonly programs: Snippet[] = [];
  private readonly exercises: Exercise[] = [];
  private readonly shown: Record<string, string> = {};
  private section = "";

  constructor(private readonly settings: Settings) {
    const { rules } = this.md.renderer;
    rules.fence = (tokens, i) => this.fence(tokens[i]);
    rules.code_inline = (tokens, i) => `<code>${escapeHtml(tokens[i].content)}</code>`;
    rules.table_open = () => '<div class="table" tabindex="0"><table>\n';
    rules.table_close = () => "</table></div>\n";
    // A head that says nothing is none.
    rules.th_open = (tokens, i) => (tokens[i + 1].content ? '<th scope="col">' : "<td>");
    rules.th_close = (tokens, i) => (tokens[i - 1].content ? "</th>" : "</td>");
    rules.td_open = (tokens, i) => this.cell(tokens[i + 1]);
    rules.heading_open = (tokens, i) => this.heading(tokens[i], tokens[i + 1]);
    rules.heading_close = (tokens, i) => `</${tokens[i].tag}>\n`;
  }

  private fence({ info, content }: Token): string {
    const { highlight, snippets, up = "" } = this.settings;
    const [language, name, third] = info.trim().split(/\s+/);
    if (language === "marl" && name === "exercise") {
      const answer = fs.readFileSync(path.join(root, "docs/exercises", `${third}.marl`), "utf8");
      this.exercises.push({ name: third, start: content, check: "", answer });
      return exerciseHtml(this.exercises.at(-1)!, highlight, up + chapterOf(this.section));
    }
    if (language === "marl" && name === "check") {
      this.exercises.at(-1)!.check = content;
      return "";
    }
    if (language === "marl" && name && snippets) {
      const snippet = snippetAt(snippets, name);
      this.programs.push(snippet);
      return programHtml(snippet, highlight);
    }
    if (language === "text" && name) this.shown[name] = content;
    const html = language === "marl" ? highlight(content) : escapeHtml(content);
    const kind = language === "text" ? "output" : language === "console" ? "console" : "code";
    return `<pre class="${kind}"><code>${html.replace(/\n$/, "")}</code></pre>\n`;
  }

  private cell(inline: Token): string {
    const key = `${this.section}\n${inline.content}`;
    const ids = this.settings.ids?.get(key);
    if (!ids) return "<td>";
    this.settings.ids!.delete(key);
    const [first, ...others] = ids;
    return `<td id="${first}">${others.map((id) => `<span id="${id}"></span>`).join("")}`;
  }

  private heading({ tag }: Token, inline: Token): string {
    const text = plainText(inline);
    const base = slug(text);
    const count = this.used.get(base) ?? 0;
    this.used.set(base, count + 1);
    const id = count ? `${base}-${count}` : base;
    if (/^h[12]$/.test(tag)) this.section = text;
    if (tag !== "h3" || this.settings.snippets) this.contents.push({ tag, text, id });
    return `<${tag} id="${id}">`;
  }

  private resolveLinks(tokens: Token[]) {
    for (const { children } of tokens) {
      const open: string[] = [];
      for (const child of children ?? []) {
        if (child.type === "link_open") {
          const page = pageOf(String(child.attrGet("href")), this.settings.up ?? "");
          child.tag = page ? "a" : "span";
          child.attrs = page ? [["href", page]] : null;
          open.push(child.tag);
        }
        if (child.type === "link_close") child.tag = open.pop()!;
      }
    }
  }

  private renderSection(tokens: Token[]): Section {
    const [programs, exercises, headings] = [this.programs.length, this.exercises.length, this.contents.length];
    const body = this.md.renderer.render(tokens, this.md.options, {});
    const first = this.contents[headings];
    return {
      title: withoutNumber(first?.text ?? ""),
      id: first?.id ?? "",
      body,
      programs: this.programs.slice(programs),
      exercises: this.exercises.slice(exercises),
    };
  }

  render(markdown: string): Document {
    const tokens = dropOwnContents(this.md.parse(markdown, {}));
    this.resolveLinks(tokens);
    const parts: Token[][] = [[]];
    for (const token of tokens) {
      if (token.type === "heading_open" && token.tag === "h2") parts.push([]);
      parts.at(-1)!.push(token);
    }
    const sections = parts.map((part) => this.renderSection(part));
    const [{ text: title }, ...contents] = this.contents;
    const body = sections.map((section, i) => (i ? sectionHtml(section.body) : section.body)).join("");
    return { title, body, contents, programs: this.programs, shown: this.shown, sections };
  }
}

export function renderDocument(markdown: string, settings: Settings): Document {
  return new Renderer(settings).render(markdown);
}

export function contentsHtml(contents: Heading[]): string {
  return contents
    .map(({ tag, text, id }) => `<li class="${tag}"><a href="#${id}">${escapeHtml(text)}</a></li>`)
    .join("\n");
}
