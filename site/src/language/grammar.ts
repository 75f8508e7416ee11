// The grammar of editors/, read line by line.
//
// That grammar is in the form that editors share: rules that match within a line, and rules with a
// begin and an end that hold others between them. Its patterns are regular expressions that
// JavaScript understands as they are. What is open at the end of a line is the state of the next.
import grammar from "../../../editors/vscode/syntaxes/marl.tmLanguage.json";

interface Rule {
  include?: string;
  name?: string;
  match?: string;
  begin?: string;
  end?: string;
  beginCaptures?: { "0": { name: string } };
  endCaptures?: { "0": { name: string } };
  applyEndPatternLast?: number;
  patterns?: Rule[];
}

interface Compiled {
  rule: Rule;
  start: RegExp;
  end?: RegExp;
  inner: Compiled[];
}

/// The rules that are open, outermost first.
export type Open = readonly Compiled[];

export interface Token {
  start: number;
  end: number;
  /// The grammar's name for it, innermost; empty for what has none.
  name: string;
}

const repository = grammar.repository as Record<string, Rule>;
const made = new Map<Rule, Compiled>();

function compile(rule: Rule): Compiled[] {
  if (rule.include) return compile(repository[rule.include.slice(1)]);
  const source = rule.match ?? rule.begin;
  if (source === undefined) return (rule.patterns ?? []).flatMap(compile);
  let compiled = made.get(rule);
  if (!compiled) {
    compiled = {
      rule,
      start: new RegExp(source, "gu"),
      end: rule.end === undefined ? undefined : new RegExp(rule.end, "gu"),
      inner: [],
    };
    made.set(rule, compiled);
    compiled.inner = (rule.patterns ?? []).flatMap(compile);
  }
  return [compiled];
}

const top = (grammar.patterns as Rule[]).flatMap(compile);

function find(pattern: RegExp, line: string, from: number): RegExpExecArray | null {
  pattern.lastIndex = from;
  return pattern.exec(line);
}

/// The tokens of one line, without its newline, and what is open behind it.
export function tokenize(line: string, open: Open): { tokens: Token[]; open: Open } {
  const tokens: Token[] = [];
  const stack = [...open];
  const add = (start: number, end: number, name?: string) => {
    const named = name ?? [...stack].reverse().find((each) => each.rule.name)?.rule.name ?? "";
    if (end > start) tokens.push({ start, end, name: named });
  };
  let position = 0;
  for (;;) {
    const current = stack.at(-1);
    let best: { at: number; size: number; rule?: Compiled } | undefined;
    const offer = (match: RegExpExecArray | null, rule?: Compiled) => {
      if (match && (!best || match.index < best.at)) {
        best = { at: match.index, size: match[0].length, rule };
      }
    };
    const offerEnd = () => current?.end && offer(find(current.end, line, position));
    if (!current?.rule.applyEndPatternLast) offerEnd();
    for (const rule of current ? current.inner : top) offer(find(rule.start, line, position), rule);
    if (current?.rule.applyEndPatternLast) offerEnd();
    if (!best) break;
    const found = best;
    add(position, found.at);
    position = found.at + found.size;
    if (!found.rule) {
      add(found.at, position, current!.rule.endCaptures?.["0"].name);
      stack.pop();
    } else if (found.rule.end) {
      stack.push(found.rule);
      add(found.at, position, found.rule.rule.beginCaptures?.["0"].name);
    } else {
      add(found.at, position, found.rule.rule.name);
    }
  }
  add(position, line.length);
  return { tokens, open: stack };
}

/// The class of a token in style sheets, from its name in the grammar; empty for plain text.
export function styleOf(name: string): string {
  const kinds: [string, string][] = [
    ["comment", "note"],
    ["string", "text"],
    ["entity.name", "definition"],
    ["variable.parameter", "parameter"],
    ["support.function", "builtin"],
    ["constant.numeric", "number"],
    ["constant.language", "combinator"],
    ["variable.other.local", "local"],
    ["variable.other.global", "name"],
    ["keyword.operator.level-1.", "binder"],
    ["keyword.operator", "operator"],
    ["punctuation.separator.definition", "separator"],
    ["punctuation", "bracket"],
    ["invalid", "stray"],
  ];
  const kind = kinds.find(([prefix]) => name.startsWith(prefix));
  return kind ? `m-${kind[1]}` : "";
}

/// A program as HTML with a span around each token that has a style.
export function highlightedHtml(program: string): string {
  const escaped = (text: string) => text.replace(/[&<>]/g, (c) => ({ "&": "&amp;", "<": "&lt;", ">": "&gt;" })[c]!);
  let open: Open = [];
  return program
    .split("\n")
    .map((line) => {
      const read = tokenize(line, open);
      open = read.open;
      return read.tokens
        .map(({ start, end, name }) => {
          const style = styleOf(name);
          const text = escaped(line.slice(start, end));
          return style ? `<span class="${style}">${text}</span>` : text;
        })
        .join("");
    })
    .join("\n");
}

/// The same with an element around each line, for a page to number them; each ends with its newline.
export function picturedHtml(program: string): string {
  return highlightedHtml(program)
    .split("\n")
    .map((line) => `<span class="line">${line}\n</span>`)
    .join("");
}
