// The examples by theme, each with a picture of what it prints.
import fs from "node:fs";
import path from "node:path";
import { escapeHtml, needsCommandLine, programHtml, type Snippet, sectionHtml, slug, snippetAt } from "./documents";
import { root, source } from "./places";

export interface Example extends Snippet {
  theme: string;
  /// The sentence that tells it.
  about: string;
}

const folder = path.join(root, "examples");

/// A program of several files is given the others, and their folder.
function withFiles(snippet: Snippet): Snippet {
  const at = path.dirname(snippet.name);
  if (at === ".") return snippet;
  const others = fs.readdirSync(path.join(folder, at)).filter((name) => name !== `${path.basename(snippet.name)}.marl`);
  const files = others.map((name) => ({ name, text: fs.readFileSync(path.join(folder, at, name), "utf8") }));
  return { ...snippet, files, arguments: ["."] };
}

/// The examples in the order of examples/README.md; the programs that need the library are under no
/// theme there.
export function readExamples(): Example[] {
  const examples: Example[] = [];
  let theme = "";
  for (const line of source("examples/README.md").split("\n")) {
    theme = /^## (.*)$/.exec(line)?.[1] ?? (line.startsWith("# ") ? "" : theme);
    const [, name, about] = /^\| `([\w/]+)` \| (.*) \|$/.exec(line) ?? [];
    if (name && theme) examples.push({ ...withFiles(snippetAt(folder, name)), theme, about });
  }
  return examples;
}

const plain = (about: string) => escapeHtml(about.replaceAll("`", ""));

/// The first lines that a program prints, as large as they leave room for.
function picture({ out, status }: Example): string {
  const lines = (out || `exit status ${status}`)
    .split("\n")
    .slice(0, 22)
    .map((line) => line.slice(0, 200));
  const height = lines.length;
  const width = Math.max(...lines.map((line) => line.length));
  const size = height < 6 && width < 24 ? "large" : height < 12 && width < 45 ? "middle" : "small";
  return `<pre class="thumb ${size}" aria-hidden="true">${escapeHtml(lines.join("\n"))}</pre>`;
}

function card(example: Example): string {
  const mark = needsCommandLine(example.text) ? ' <span class="badge">command line</span>' : "";
  return (
    `<li><a href="#${slug(example.name)}">${picture(example)}<strong>${example.name}</strong>` +
    `<span>${plain(example.about)}</span>${mark}</a></li>`
  );
}

export function galleryPage(examples: Example[], highlight: (text: string) => string) {
  const themes = [...new Set(examples.map(({ theme }) => theme))];
  const of = (theme: string) => examples.filter((example) => example.theme === theme);
  const galleries = themes.map(
    (theme) =>
      `<h2 id="${slug(theme)}">${escapeHtml(theme)}</h2><ul class="gallery">${of(theme).map(card).join("\n")}</ul>`,
  );
  const programs = examples.map((example) =>
    sectionHtml(
      `<h3 id="${slug(example.name)}">${example.name}</h3><p>${plain(example.about)} ` +
        `<a href="index.html#example=${example.name}">Open ${example.name} in the playground</a></p>${programHtml(example, highlight)}`,
    ),
  );
  return {
    title: "Examples",
    body:
      `<h1>Examples</h1>\n<p>Each program runs where it stands, and can be changed there. Those that are marked need a command line.</p>\n` +
      `${galleries.join("\n")}\n<h2 id="programs">The programs</h2>\n${programs.join("\n")}`,
    contents: [
      ...themes.map((theme) => ({ tag: "h2", text: theme, id: slug(theme) })),
      { tag: "h2", text: "The programs", id: "programs" },
      ...examples.map(({ name }) => ({ tag: "h3", text: name, id: slug(name) })),
    ],
  };
}
