// The editor: CodeMirror with what a small program needs, and nothing of the page around it.
import { defaultKeymap, history, historyKeymap, indentLess, indentMore } from "@codemirror/commands";
import { bracketMatching, indentUnit } from "@codemirror/language";
import { EditorState, type Extension, Prec, StateEffect, StateField } from "@codemirror/state";
import {
  Decoration,
  type DecorationSet,
  drawSelection,
  EditorView,
  highlightSpecialChars,
  keymap,
  lineNumbers,
} from "@codemirror/view";
import { styleNonce } from "../assets";
import type { Message } from "../machine/laboratory";
import type { Source } from "../machine/library";
import type { Checking } from "./help";
import { highlighting } from "./marl";
import { positionOf } from "./places";

export interface EditorSettings {
  parent: Element;
  text: string;
  label: string;
  numbered: boolean;
  onRun(): void;
  onStop(): void;
  /// Told of each change; `byReader` when it is no replacement of the page's own.
  onChange?(byReader: boolean): void;
  /// The files that the program may build on.
  beside?(): Source["files"];
  /// What the check says, behind each change of the text.
  onChecked?(messages: Message[]): void;
}

// Tab gives blanks, up to the next even column. Escape gives the key back to the keyboard's way
// through the page, up to the next key.
const tabulator: Extension = (() => {
  let leaves = false;
  const insertBlanks = (view: EditorView) => {
    if (view.state.selection.ranges.some((range) => !range.empty)) return indentMore(view);
    const { head } = view.state.selection.main;
    const column = head - view.state.doc.lineAt(head).from;
    view.dispatch(view.state.replaceSelection(" ".repeat(2 - (column % 2))), { scrollIntoView: true });
    return true;
  };
  return [
    EditorView.domEventHandlers({
      keydown(event) {
        if (event.key === "Escape") leaves = true;
        else if (event.key !== "Tab" && event.key !== "Shift") leaves = false;
        return false;
      },
      blur() {
        leaves = false;
        return false;
      },
    }),
    keymap.of([
      {
        key: "Tab",
        run: (view) => !leaves && insertBlanks(view),
        shift: (view) => !leaves && indentLess(view),
      },
    ]),
  ];
})();

const setMarked = StateEffect.define<{ from: number; to: number } | undefined>();

/// The place in the program that a step is about.
const marked = StateField.define<DecorationSet>({
  create: () => Decoration.none,
  update(shown, transaction) {
    for (const effect of transaction.effects) {
      if (!effect.is(setMarked)) continue;
      const place = effect.value;
      const mark = Decoration.mark({ class: "cm-at-step" });
      return place && place.to > place.from ? Decoration.set(mark.range(place.from, place.to)) : Decoration.none;
    }
    return transaction.docChanged ? Decoration.none : shown;
  },
  provide: (field) => EditorView.decorations.from(field),
});

const replaces = StateEffect.define<null>();

function makeView(settings: EditorSettings): EditorView {
  const key = (action: () => void) => () => {
    action();
    return true;
  };
  return new EditorView({
    parent: settings.parent,
    state: EditorState.create({
      doc: settings.text,
      extensions: [
        EditorView.cspNonce.of(styleNonce),
        settings.numbered ? lineNumbers() : [],
        history(),
        drawSelection(),
        highlightSpecialChars(),
        bracketMatching({ brackets: "()[]{}" }),
        indentUnit.of("  "),
        keymap.of([
          { key: "Mod-Enter", run: key(settings.onRun) },
          { key: "Shift-Enter", run: key(settings.onRun) },
          { key: "Mod-.", run: key(settings.onStop) },
        ]),
        tabulator,
        keymap.of([...defaultKeymap, ...historyKeymap]),
        EditorView.lineWrapping,
        EditorView.contentAttributes.of({
          "aria-label": settings.label,
          tabindex: "0",
          autocapitalize: "off",
          autocorrect: "off",
          spellcheck: "false",
        }),
        marked,
        highlighting,
        EditorView.updateListener.of((update) => {
          if (!update.docChanged) return;
          const isOwn = update.transactions.some(({ effects }) => effects.some((each) => each.is(replaces)));
          settings.onChange?.(!isOwn);
        }),
      ],
    }),
  });
}

/// Fetches what helps whoever writes, the check included, when somebody comes to write: a page whose
/// program is only run does without.
function helpWhenAsked(view: EditorView, checking: Checking) {
  let asked = false;
  const ask = async () => {
    if (asked) return;
    asked = true;
    const { help } = await import("./help");
    view.dispatch({ effects: StateEffect.appendConfig.of(Prec.high(help(checking))) });
  };
  for (const event of ["focusin", "pointerenter"]) view.dom.addEventListener(event, () => void ask(), { once: true });
}

/// The editor, for the page around it.
export interface Editor {
  text(): string;
  /// Puts another text in the place of this one. One that the reader has not typed is no change of the
  /// reader's.
  replace(text: string, byReader?: boolean): void;
  /// Writes where the cursor is.
  insert(text: string): void;
  focus(): void;
  /// Puts the cursor at a line and a column in bytes, both counted from 1.
  goTo(line: number, column: number): void;
  /// Marks a place in the program, or none.
  mark(place: { from: number; to: number } | undefined): void;
  select(selection: { anchor: number; head: number }): void;
  scrollTo(top: number): void;
}

export function makeEditor(settings: EditorSettings): Editor {
  const view = makeView(settings);
  helpWhenAsked(view, {
    beside: () => settings.beside?.() ?? [],
    onChecked: (messages) => settings.onChecked?.(messages),
  });
  const text = () => view.state.doc.toString();
  const select = (selection: { anchor: number; head: number }) => view.dispatch({ selection, scrollIntoView: true });
  return {
    text,
    replace(next, byReader = false) {
      if (next === text()) return;
      view.dispatch({
        changes: { from: 0, to: view.state.doc.length, insert: next },
        effects: byReader ? [] : replaces.of(null),
      });
    },
    insert: (characters) => view.dispatch(view.state.replaceSelection(characters), { scrollIntoView: true }),
    focus: () => view.focus(),
    goTo(line, column) {
      const at = positionOf(view.state.doc, line, column);
      select({ anchor: at, head: at });
      view.focus();
    },
    mark(place) {
      const effects: StateEffect<unknown>[] = [setMarked.of(place)];
      if (place) effects.push(EditorView.scrollIntoView(place.from, { y: "nearest", yMargin: 40 }));
      view.dispatch({ effects });
    },
    select,
    scrollTo(top) {
      view.scrollDOM.scrollTop = top;
    },
  };
}
