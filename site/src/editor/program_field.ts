// The program on a page: a plain field until somebody comes to write, the editor from then on.
//
// The editor is most of what a page would have to fetch and set up, and who only reads or runs a program
// does without. The plain field takes the focus and each key from the first one on; once the editor is
// there, it takes the field's place with its text, its selection and the focus. Where the editor can't be
// fetched, the plain field stays.
import type { Editor, EditorSettings } from "./editor";
import { PlainField } from "./plain_field";

type Place = { from: number; to: number };

export class ProgramField {
  private readonly plain: PlainField;
  /// The program before the reader has changed it.
  private untouched: string;
  private made: Editor | undefined;
  private coming: Promise<Editor> | undefined;
  private marked: Place | undefined;

  constructor(private readonly settings: EditorSettings) {
    const { parent } = settings;
    this.untouched = settings.text;
    this.plain = new PlainField({ ...settings, onInput: () => settings.onChange?.(true) });
    parent.addEventListener("focusin", () => this.prepare());
    // A finger may only scroll here.
    parent.addEventListener("pointerenter", (event) => {
      if ((event as PointerEvent).pointerType === "mouse") this.prepare();
    });
  }

  text(): string {
    return this.made ? this.made.text() : this.plain.text();
  }

  /// Puts another program in the place of this one.
  replace(text: string) {
    if (this.made) return this.made.replace(text);
    this.untouched = text;
    this.plain.set(text);
    this.settings.onChange?.(false);
  }

  /// Writes the program anew in the reader's name, who can undo that.
  async rewrite(text: string) {
    const editor = await this.editor().catch(ignore);
    if (editor) return editor.replace(text, true);
    this.plain.set(text);
    this.settings.onChange?.(true);
  }

  /// Writes where the cursor is.
  insert(text: string) {
    this.focus();
    (this.made ?? this.plain).insert(text);
  }

  focus() {
    (this.made ?? this.plain.field).focus();
  }

  /// Puts the cursor at a line and a column in bytes, both counted from 1.
  async goTo(line: number, column: number) {
    (await this.editor().catch(ignore))?.goTo(line, column);
  }

  /// Marks the place that a step is about.
  mark(place?: Place) {
    this.marked = place;
    if (this.made) this.made.mark(place);
    else if (place) void this.editor().then((editor) => editor.mark(this.marked), ignore);
  }

  private prepare() {
    if (!this.made) void this.editor().catch(ignore);
  }

  private editor(): Promise<Editor> {
    this.coming ??= this.takeOver().catch((fault) => {
      this.coming = undefined; // who comes next asks again
      throw fault;
    });
    return this.coming;
  }

  private async takeOver(): Promise<Editor> {
    const { makeEditor } = await import("./editor");
    const { plain, untouched, settings } = this;
    await plain.rest();
    const hasFocus = document.activeElement === plain.field;
    const scrolled = plain.scrolled();
    const made = makeEditor({ ...settings, text: untouched });
    made.replace(plain.text());
    made.select(plain.selection());
    // The focus goes from one to the other without a break, in which a phone would fold its keyboard.
    if (hasFocus) made.focus();
    plain.remove();
    made.scrollTo(scrolled);
    this.made = made;
    return made;
  }
}

function ignore() {}
