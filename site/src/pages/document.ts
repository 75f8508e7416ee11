// The pages of text: programs that run where they stand, and the search over the reference.
import { setUpFrame } from "./frame";
import { Runner, type Given } from "../play/runner";
import { allEntries } from "../play/entries";

function button(label: string): HTMLButtonElement {
  const made = document.createElement("button");
  made.type = "button";
  made.textContent = label;
  return made;
}

/// Gives a program its buttons. The editor is fetched when somebody wants to change it.
function setUpProgram(box: HTMLElement) {
  const code = box.querySelector("pre")!;
  let text = () => code.textContent ?? "";
  const given = (): Given => ({
    text: text(),
    arguments: JSON.parse(box.dataset.arguments ?? "[]"),
    input: box.dataset.input ?? "",
    files: [],
  });
  const run = button("Run");
  run.className = "run";
  const change = button("Edit");
  const bar = document.createElement("div");
  bar.className = "bar";
  const status = document.createElement("div");
  status.setAttribute("role", "status");
  status.hidden = true;
  const output = document.createElement("pre");
  output.className = "run-output";
  output.tabIndex = 0;
  output.hidden = true;
  output.setAttribute("aria-label", "Output");
  bar.append(run, change, status);
  box.append(bar, output);
  const runner = new Runner({ output, status, button: run }, given, false);

  change.addEventListener("click", async () => {
    change.disabled = true;
    const { makeEditor } = await import("../editor/editor");
    const place = document.createElement("div");
    place.className = "editor";
    code.replaceWith(place);
    const view = makeEditor({
      parent: place,
      text: text(),
      label: "Program",
      numbered: false,
      onRun: () => void runner.start(),
    });
    text = () => view.state.doc.toString();
    change.remove();
    view.focus();
  });
}

/// Words as they are searched: a hyphen between two of them is a blank.
const folded = (text: string) => text.toLowerCase().replace(/(?<=\w)-(?=\w)/g, " ");

function setUpSearch(field: HTMLInputElement, list: HTMLElement) {
  let wanted = "";
  field.addEventListener("input", async () => {
    wanted = folded(field.value.trim());
    const asked = wanted;
    list.replaceChildren();
    if (!asked) return;
    const entries = await allEntries();
    if (asked !== wanted) return;
    const rank = ({ name, text }: { name: string; text: string }) => {
      const low = folded(name);
      if (low === asked) return 0;
      if (low.startsWith(asked)) return 1;
      if (low.includes(asked)) return 2;
      return folded(text).includes(asked) ? 3 : 4;
    };
    const found = entries
      .map((entry) => ({ entry, rank: rank(entry) }))
      .filter((each) => each.rank < 4)
      .sort((a, b) => a.rank - b.rank)
      .slice(0, 12);
    list.replaceChildren(
      ...found.map(({ entry }) => {
        const item = document.createElement("li");
        const link = document.createElement("a");
        link.href = `#${entry.anchor}`;
        link.innerHTML = entry.html;
        item.append(link);
        return item;
      }),
    );
    if (found.length === 0) {
      const none = document.createElement("li");
      none.textContent = "nothing found";
      list.append(none);
    }
  });
}

setUpFrame();
for (const box of document.querySelectorAll<HTMLElement>(".program")) setUpProgram(box);
if (matchMedia("(max-width: 900px)").matches) {
  document.querySelector<HTMLDetailsElement>(".contents details")!.open = false;
}
const field = document.querySelector<HTMLInputElement>("#search");
if (field) setUpSearch(field, document.getElementById("found")!);
