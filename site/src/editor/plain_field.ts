// A field to write a program in, without an editor: a picture of the program in its colours, and over it
// the browser's own field, whose text is not drawn.
//
// Both break their lines as the editor does, so what one shows stands where the other shows it. The
// picture is the page's own from the first; the field is laid over it by this script.
import { picturedHtml } from "../language/grammar";
import type { EditorSettings } from "./editor";

type Shared = Pick<EditorSettings, "parent" | "text" | "label" | "numbered" | "onRun" | "onStop">;

export interface PlainSettings extends Shared {
  /// Told of each change of the reader's.
  onInput(): void;
}

/// The program that a page shows a picture of from the first.
export const picturedText = (place: Element) => (place.querySelector("pre")?.textContent ?? "").slice(0, -1);

/// A longer program's picture goes without colours and numbers.
const longest = 1 << 15;

export class PlainField {
  readonly field = document.createElement("textarea");
  private readonly picture: HTMLElement;
  private readonly box = document.createElement("div");
  /// Whether the reader is selecting by a pointer, or composing a character.
  private busy = false;
  /// Whether Tab goes on through the page.
  private leaves = false;

  constructor(private readonly settings: PlainSettings) {
    const { parent, label, numbered, text } = settings;
    const { field, box } = this;
    box.className = "plain";
    this.picture = parent.querySelector("pre") ?? document.createElement("pre");
    this.picture.className = numbered ? "before numbered" : "before";
    this.picture.ariaHidden = "true";
    field.ariaLabel = label;
    field.spellcheck = false;
    field.autocapitalize = "off";
    field.setAttribute("autocorrect", "off");
    box.append(this.picture, field);
    parent.replaceChildren(box);
    this.set(text);
    field.addEventListener("input", () => {
      this.draw();
      settings.onInput();
    });
    field.addEventListener("keydown", (event) => this.press(event));
    field.addEventListener("blur", () => {
      this.leaves = false;
    });
    const isBusy = (yes: boolean) => () => {
      this.busy = yes;
    };
    for (const event of ["pointerdown", "compositionstart"]) field.addEventListener(event, isBusy(true));
    for (const event of ["pointerup", "pointercancel"]) addEventListener(event, isBusy(false));
    field.addEventListener("compositionend", isBusy(false));
  }

  text() {
    return this.field.value;
  }

  set(text: string) {
    this.field.value = text;
    this.field.setSelectionRange(0, 0);
    this.draw();
  }

  /// Writes where the cursor is, as if it were typed.
  insert(text: string) {
    const { field } = this;
    field.setRangeText(text, field.selectionStart, field.selectionEnd, "end");
    field.dispatchEvent(new Event("input"));
  }

  selection(): { anchor: number; head: number } {
    const { selectionStart: from, selectionEnd: to, selectionDirection } = this.field;
    return selectionDirection === "backward" ? { anchor: to, head: from } : { anchor: from, head: to };
  }

  scrolled() {
    return this.box.scrollTop;
  }

  /// Waits until something else can take the field's place: in a task of its own, and neither while a
  /// pointer selects nor while a character is composed.
  async rest() {
    do await new Promise((resolve) => setTimeout(resolve));
    while (this.busy);
  }

  remove() {
    this.box.remove();
  }

  private draw() {
    const text = this.field.value;
    if (this.picture.textContent === `${text}\n`) return;
    if (text.length > longest) this.picture.textContent = `${text}\n`;
    else this.picture.innerHTML = picturedHtml(text);
  }

  private press(event: KeyboardEvent) {
    const { key, shiftKey, ctrlKey, metaKey } = event;
    const isCommand = ctrlKey || metaKey;
    if (key === "Enter" && (isCommand || shiftKey)) this.settings.onRun();
    else if (key === "." && isCommand) this.settings.onStop();
    else if (key === "Tab" && !shiftKey && !this.leaves) this.indent();
    else {
      if (key === "Escape") this.leaves = true;
      else if (key !== "Tab" && key !== "Shift") this.leaves = false;
      return;
    }
    event.preventDefault();
  }

  /// Blanks up to the next even column.
  private indent() {
    const { value, selectionStart } = this.field;
    const column = selectionStart - (value.lastIndexOf("\n", selectionStart - 1) + 1);
    this.insert(" ".repeat(2 - (column % 2)));
  }
}
