// The editor: CodeMirror with what a small program needs, and nothing of the page around it.
import { EditorState, type Extension } from "@codemirror/state";
import { EditorView, keymap, lineNumbers, drawSelection, highlightSpecialChars } from "@codemirror/view";
import { defaultKeymap, history, historyKeymap, indentLess, insertTab } from "@codemirror/commands";
import { bracketMatching } from "@codemirror/language";
import { closeBrackets, closeBracketsKeymap } from "@codemirror/autocomplete";
import { lintKeymap } from "@codemirror/lint";
import type { Message } from "../machine/laboratory";
import { marl } from "./marl";

export interface EditorSettings {
  parent: Element;
  text: string;
  label: string;
  numbered: boolean;
  onRun(): void;
  onChange?(): void;
  /// What the check says, behind each change of the text.
  onChecked?(messages: Message[]): void;
}

// Escape gives the tabulator back to the keyboard's way through the page, up to the next key.
const tabulator: Extension = (() => {
  let leaves = false;
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
        run: (view) => !leaves && insertTab(view),
        shift: (view) => !leaves && indentLess(view),
      },
    ]),
  ];
})();

export function makeEditor(settings: EditorSettings): EditorView {
  const run = () => {
    settings.onRun();
    return true;
  };
  return new EditorView({
    parent: settings.parent,
    state: EditorState.create({
      doc: settings.text,
      extensions: [
        settings.numbered ? lineNumbers() : [],
        history(),
        drawSelection(),
        highlightSpecialChars(),
        bracketMatching({ brackets: "()[]{}" }),
        closeBrackets(),
        keymap.of([{ key: "Mod-Enter", run }, { key: "Shift-Enter", run }]),
        tabulator,
        keymap.of([...closeBracketsKeymap, ...defaultKeymap, ...historyKeymap, ...lintKeymap]),
        EditorView.lineWrapping,
        EditorView.contentAttributes.of({
          "aria-label": settings.label,
          autocapitalize: "off",
          autocorrect: "off",
          spellcheck: "false",
        }),
        marl((messages) => settings.onChecked?.(messages)),
        EditorView.updateListener.of((update) => {
          if (update.docChanged) settings.onChange?.();
        }),
      ],
    }),
  });
}

export function replaceText(view: EditorView, text: string) {
  view.dispatch({ changes: { from: 0, to: view.state.doc.length, insert: text } });
}
