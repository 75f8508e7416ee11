// The entries of the reference, one a name, from its tables: for hovers and for the search.
import MarkdownIt from "markdown-it";
import { anchorOf, escapeHtml, slug } from "./documents.mjs";

const md = new MarkdownIt();
/// As HTML without links: an entry is a link itself.
const inline = (text) => md.renderInline(text).replace(/<\/?a\b[^>]*>/g, "");

/// The tables under the headings of a text, with the section that they stand in.
function tablesOf(markdown) {
  const tables = [];
  let section = "";
  let table;
  for (const line of markdown.split("\n")) {
    if (line.startsWith("#")) section = line.replace(/^#+ /, "");
    if (!line.startsWith("|")) {
      table = undefined;
      continue;
    }
    const cells = line.split(/(?<!\\)\|/).slice(1, -1).map((cell) => cell.trim().replaceAll("\\|", "|"));
    if (!table) tables.push((table = { section, head: cells, rows: [] }));
    else if (!/^-+$/.test(cells[0])) table.rows.push(cells);
  }
  return tables;
}

const isName = (cell) => /^`[a-z_]{2,}`$/.test(cell);

function builtinEntries({ section, head, rows }) {
  const arity = head.indexOf("arity");
  return rows.flatMap((cells) => {
    const names = cells.slice(0, arity).filter(isName).map((cell) => cell.slice(1, -1));
    const rest = head.map((title, i) => ({ title, text: cells[i] ?? "" })).slice(arity);
    const said = rest.filter(({ text }) => text).map(({ title, text }) => `<dt>${title}</dt><dd>${inline(text)}</dd>`);
    return names.map((name) => ({
      name,
      html: `<strong><code>${name}</code></strong> <span>${section}</span><dl>${said.join("")}</dl>`,
      text: [name, section, ...rest.map(({ text }) => text)].join(" "),
      anchor: anchorOf(name),
    }));
  });
}

function combinatorEntry([name, rule, head, use]) {
  const letter = name.slice(1, -1);
  return {
    name: letter,
    html: `<strong><code>${letter}</code></strong> <span>${head}</span><p>${inline(rule)}</p><p>${inline(use)}</p>`,
    text: [letter, "combinator", rule, head, use].join(" "),
    anchor: anchorOf(letter),
  };
}

/// The rows of the grammar, by the operators that they show.
function operatorEntries(rows) {
  const entries = new Map();
  for (const [level, written, fold, means] of rows) {
    for (const [, code] of written.matchAll(/`+ ?(.*?) ?`+/g)) {
      for (const operator of code.replace(/value|body|[\w()[\]]/g, "").replace(/\s|,/g, "")) {
        const said = `<p><code>${escapeHtml(code)}</code> ${inline(means)}` +
          ` <span>level ${level}${fold ? `, ${fold}` : ""}</span></p>`;
        const before = entries.get(operator);
        if (before?.html.includes(said)) continue;
        entries.set(operator, {
          name: operator,
          html: (before?.html ?? "") + said,
          text: `${before?.text ?? ""} ${operator} operator ${means}`.trim(),
          anchor: "grammar",
        });
      }
    }
  }
  return [...entries.values()];
}

function sectionEntry({ section, head, rows }) {
  return rows
    .filter(([first]) => first && !isName(first))
    .map((cells) => ({
      name: cells[0].replace(/`/g, ""),
      html: `<strong>${inline(cells[0])}</strong> <span>${section}</span><p>${cells.slice(1).filter(Boolean).map(inline).join(" · ")}</p>`,
      text: [section, ...cells].join(" "),
      anchor: slug(section),
      hidden: true,
    }));
}

/// The sections by their prose, for the search.
function proseEntries(markdown) {
  return markdown.split(/^#+ /m).slice(2).map((section) => {
    const [name, ...lines] = section.split("\n");
    const prose = lines.join("\n").replace(/^```[^]*?^```/gm, "").replace(/^\|.*$/gm, "").trim();
    const [first] = prose.split("\n\n");
    return {
      name,
      html: `<strong>${inline(name)}</strong><p>${inline(first)}</p>`,
      text: prose,
      anchor: slug(name),
      hidden: true,
    };
  });
}

/// All entries; those that are hidden are for the search alone.
export function referenceEntries(markdown) {
  const entries = [];
  for (const table of tablesOf(markdown)) {
    if (table.head.includes("arity")) entries.push(...builtinEntries(table));
    else if (table.section === "Combinators") entries.push(...table.rows.map(combinatorEntry));
    else if (table.section === "Grammar") entries.push(...operatorEntries(table.rows));
    else entries.push(...sectionEntry(table));
  }
  entries.push(...proseEntries(markdown));
  return entries;
}
