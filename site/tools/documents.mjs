// docs/*.md as pages: HTML with anchors as GitHub makes them, a table of contents, links between the
// pages, and each program of the guide with what it is given and what it must print.
import fs from "node:fs";
import path from "node:path";
import MarkdownIt from "markdown-it";

const pages = { "guide.md": "guide.html", "reference.md": "reference.html", "design.md": "design.html" };

export function escapeHtml(text) {
  return text.replace(/[&<>"]/g, (c) => ({ "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;" })[c]);
}

export function slug(title) {
  return title.toLowerCase().replace(/[^\p{L}\p{N} _-]/gu, "").replace(/ /g, "-");
}

function pageOf(href) {
  if (/^[a-z]+:|^#/.test(href)) return href;
  const [file, anchor] = href.split("#");
  const base = path.posix.basename(file);
  const page = file.includes("examples/") ? "examples.html" : (pages[base] ?? base);
  return anchor ? `${page}#${anchor}` : page;
}

function plainText(inline) {
  return inline.children.map((child) => child.content).join("");
}

/// The lists of links between a page's title and its first section: its table of contents in text.
function dropOwnContents(tokens) {
  const kept = [];
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

/// What a program of the guide is given, from the files beside it.
export function snippetAt(folder, name) {
  const read = (ending) => {
    const file = path.join(folder, name + ending);
    return fs.existsSync(file) ? fs.readFileSync(file, "utf8") : "";
  };
  return {
    name,
    text: read(".marl"),
    arguments: read(".args").split("\n").filter(Boolean),
    input: read(".in"),
    out: read(".out"),
    err: read(".err"),
    status: Number(read(".status") || 0),
  };
}

function programHtml(snippet, highlight) {
  const given = [];
  if (snippet.arguments.length) given.push(`data-arguments="${escapeHtml(JSON.stringify(snippet.arguments))}"`);
  if (snippet.input) given.push(`data-input="${escapeHtml(snippet.input)}"`);
  return `<div class="program" data-name="${snippet.name}" ${given.join(" ")}>` +
    `<pre class="code"><code>${highlight(snippet.text)}</code></pre></div>\n`;
}

/// A document as the parts of a page: title, body, contents; its programs, and what it shows of their
/// output, by the names of the files.
export function renderDocument(markdown, { snippets, highlight }) {
  const md = new MarkdownIt({ html: false, linkify: false });
  const contents = [];
  const programs = [];
  const shown = {};
  const used = new Map();
  md.renderer.rules.fence = (tokens, i) => {
    const { info, content } = tokens[i];
    const [language, name] = info.trim().split(/\s+/);
    if (language === "marl" && name && snippets) {
      const snippet = snippetAt(snippets, name);
      programs.push(snippet);
      return programHtml(snippet, highlight);
    }
    if (language === "text" && name) shown[name] = content;
    const html = language === "marl" ? highlight(content) : escapeHtml(content);
    const kind = language === "text" ? "output" : language === "console" ? "console" : "code";
    return `<pre class="${kind}"><code>${html.replace(/\n$/, "")}</code></pre>\n`;
  };
  md.renderer.rules.code_inline = (tokens, i) => `<code>${escapeHtml(tokens[i].content)}</code>`;
  md.renderer.rules.table_open = () => '<div class="table"><table>\n';
  md.renderer.rules.table_close = () => "</table></div>\n";
  md.renderer.rules.heading_open = (tokens, i) => {
    const text = plainText(tokens[i + 1]);
    const base = slug(text);
    const count = used.get(base) ?? 0;
    used.set(base, count + 1);
    const id = count ? `${base}-${count}` : base;
    const { tag } = tokens[i];
    if (tag !== "h3" || snippets) contents.push({ tag, text, id });
    return `<${tag} id="${id}">`;
  };
  md.renderer.rules.heading_close = (tokens, i) => `</${tokens[i].tag}>\n`;
  const tokens = dropOwnContents(md.parse(markdown, {}));
  for (const token of tokens) {
    for (const child of token.children ?? []) {
      if (child.type === "link_open") child.attrSet("href", pageOf(child.attrGet("href")));
    }
  }
  const body = markBuiltins(md.renderer.render(tokens, md.options, {}));
  const title = contents[0].text;
  return { title, body, contents: contents.slice(1), programs, shown };
}

/// The cells that name a built-in or a combinator become places to link to.
function markBuiltins(html) {
  return html.replace(/<td><code>([a-z_]{2,}|[A-Z])<\/code><\/td>/g, (cell, name) =>
    `<td id="${anchorOf(name)}"><code>${name}</code></td>`);
}

export function anchorOf(name) {
  return `name-${[...name].map((c) => (/[A-Za-z0-9_]/.test(c) ? c : c.charCodeAt(0).toString(16))).join("")}`;
}

export function contentsHtml(contents) {
  return contents
    .map(({ tag, text, id }) => `<li class="${tag}"><a href="#${id}">${escapeHtml(text)}</a></li>`)
    .join("\n");
}
