// marl for CodeMirror: highlighting and indentation by the grammar.
import {
  HighlightStyle,
  indentService,
  LanguageSupport,
  StreamLanguage,
  syntaxHighlighting,
} from "@codemirror/language";
import { type Tag, tags } from "@lezer/highlight";
import { type Open, styleOf, type Token, tokenize } from "../language/grammar";
import { indentBehind } from "../language/program";

const tokenTable: Record<string, Tag> = {
  note: tags.comment,
  text: tags.string,
  definition: tags.definition(tags.variableName),
  parameter: tags.local(tags.variableName),
  builtin: tags.standard(tags.variableName),
  number: tags.number,
  combinator: tags.atom,
  local: tags.special(tags.variableName),
  name: tags.variableName,
  binder: tags.controlKeyword,
  operator: tags.operator,
  separator: tags.separator,
  bracket: tags.paren,
  stray: tags.invalid,
};

interface LineState {
  open: Open;
  line: string;
  tokens: Token[];
  next: Open;
}

const stream = StreamLanguage.define<LineState>({
  name: "marl",
  startState: () => ({ open: [], line: "\0", tokens: [], next: [] }),
  copyState: (state) => ({ ...state }),
  token(input, state) {
    if (input.sol() || input.string !== state.line) {
      if (input.sol()) state.open = state.next;
      const read = tokenize(input.string, state.open);
      state.line = input.string;
      state.tokens = read.tokens;
      state.next = read.open;
    }
    const token = state.tokens.find((each) => each.end > input.pos);
    if (!token) {
      input.skipToEnd();
      return null;
    }
    input.pos = token.end;
    return styleOf(token.name).slice(2) || null;
  },
  tokenTable,
  languageData: {
    closeBrackets: { brackets: ["(", "[", "{"] },
    indentOnInput: /^\s*[)}\]]$/,
  },
});

const style = HighlightStyle.define(Object.entries(tokenTable).map(([name, tag]) => ({ tag, class: `m-${name}` })));

const indentation = indentService.of(
  (context, position) =>
    indentBehind(context.state.doc.sliceString(0, position), context.textAfterPos(position)) ?? null,
);

export const highlighting = new LanguageSupport(stream, [syntaxHighlighting(style), indentation]);
