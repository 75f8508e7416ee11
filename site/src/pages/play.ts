// The playground: the editor, what the program is given, and what became of it.
//
// What the editor shows is one document: the reader's own, a link's, an example. Another one takes its
// place as a whole. The first change of one that came by a link or is an example makes it the
// reader's: the address no longer tells it then, and the tab keeps it.
import { asset } from "../assets";
import { picturedText } from "../editor/plain_field";
import { ProgramField } from "../editor/program_field";
import { format, type Message } from "../machine/laboratory";
import { warmUp } from "../machine/session";
import { type Given, givenText } from "../play/given";
import { setUpKeys } from "../play/keys";
import { ago, documentOf, giveBack, makeId, Programs, take, titleOf } from "../play/programs";
import { Runner } from "../play/runner";
import { fragmentOf, givenBy, LinkFault } from "../play/share";
import { type Panel, setUpTabs } from "../play/tabs";
import { setUpFrame } from "./frame";

const by = <E extends HTMLElement>(id: string) => document.getElementById(id) as E;

const words = by<HTMLTextAreaElement>("arguments");
const input = by<HTMLTextAreaElement>("input");
const fileList = by("file-list");
const notice = by("notice");
const recent = by("recent");

const hello = givenText(picturedText(by("editor")));
const programs = new Programs(
  () => localStorage,
  () => sessionStorage,
);

/// The document that is shown, and whether it is the reader's, with changes to keep.
let shown = { id: makeId(), own: false };
/// What was shown before another document took its place.
let before: { given: Given; id: string; own: boolean } | undefined;

function lines(text: string): string[] {
  const all = text.split("\n");
  while (all.length && all.at(-1) === "") all.pop();
  return all;
}

function addFile(name: string, text: string) {
  const row = document.createElement("div");
  row.className = "file";
  row.innerHTML =
    '<input aria-label="File name" placeholder="name" spellcheck="false" autocapitalize="off"><button type="button">Remove</button>' +
    '<textarea rows="3" aria-label="Content of the file" spellcheck="false" autocapitalize="off"></textarea>';
  row.querySelector("input")!.value = name;
  row.querySelector("textarea")!.value = text;
  row.querySelector("button")!.addEventListener("click", () => {
    row.remove();
    changed();
  });
  row.addEventListener("input", changed);
  fileList.append(row);
}

function given(): Given {
  return {
    text: program.text(),
    arguments: lines(words.value),
    input: input.value,
    files: [...fileList.children]
      .map((row) => ({
        name: row.querySelector("input")!.value.trim(),
        text: row.querySelector("textarea")!.value,
      }))
      .filter(({ name }) => name),
  };
}

function fill(next: Given) {
  program.replace(next.text);
  words.value = next.arguments.join("\n");
  input.value = next.input;
  fileList.replaceChildren();
  for (const { name, text } of next.files) addFile(name, text);
  if (next.arguments.length || next.input || next.files.length) by<HTMLDetailsElement>("given").open = true;
  toPanels((panel) => panel.changed());
}

/// Puts another document in the place of this one.
function open(next: Given, id: string, own: boolean) {
  keep();
  before = { given: given(), ...shown };
  shown = { id, own };
  if (own) programs.setTab(id);
  fill(next);
}

let timer = 0;

function keep() {
  clearTimeout(timer);
  timer = 0;
  if (!shown.own) return;
  if (!programs.write(shown.id, given())) say("There is no room to keep this program here.");
}

/// The reader has changed something.
function changed() {
  if (!shown.own) {
    shown.own = true;
    programs.setTab(shown.id);
    void take(shown.id);
    if (location.hash) history.replaceState(null, "", location.pathname + location.search);
    notice.replaceChildren();
  }
  clearTimeout(timer);
  timer = setTimeout(keep, 250) as unknown as number;
  toPanels((panel) => panel.changed());
}

function say(text: string, action?: { label: string; run(): void }) {
  notice.textContent = text;
  if (!action) return;
  const button = document.createElement("button");
  button.type = "button";
  button.textContent = action.label;
  button.addEventListener("click", () => {
    notice.replaceChildren();
    action.run();
  });
  notice.append(" ", button);
}

function undoOpening() {
  if (!before) return;
  const { given: last, id, own } = before;
  if (location.hash) history.replaceState(null, "", location.pathname + location.search);
  open(last, id, own);
  if (own) void take(id);
  program.focus();
}

function goTo(message: Message) {
  void program.goTo(message.line, message.column);
}

/// The first fault below the editor as well, for who has no pointer to hold over it.
function showVerdict(messages: Message[]) {
  const verdict = by("verdict");
  const first = messages.find(({ severity }) => severity === "fault") ?? messages[0];
  verdict.className = first?.severity ?? "";
  const more = messages.length > 1 ? ` (${messages.length - 1} more)` : "";
  verdict.textContent = first ? `Line ${first.line}: ${first.say}${more}` : "";
}

const program = new ProgramField({
  parent: by("editor"),
  text: hello.text,
  label: "Program",
  numbered: true,
  onRun: () => run(),
  onStop: () => stop(),
  onChange: (byReader) => byReader && changed(),
  beside: () => given().files,
  onChecked: showVerdict,
});

const tabs = setUpTabs(document.querySelector('[role="tablist"]')!);
const runner = new Runner(
  { output: by("output"), status: by("status"), button: by<HTMLButtonElement>("run") },
  { given, onPlace: goTo },
);
by("run").addEventListener("click", () => tabs.select("output"));

const mark = (place?: { from: number; to: number }) => program.mark(place);
tabs.onSelect("output", () => mark());

/// The panels that have been opened; each is fetched when its tab is selected first.
const panels = new Map<string, Promise<Panel>>();

function toPanels(action: (panel: Panel) => void) {
  for (const panel of panels.values()) void panel.then(action);
}

const makers: Record<string, () => Promise<Panel>> = {
  steps: async () => (await import("../play/steps")).setUpSteps(by("panel-steps"), { given, mark }),
  calls: async () => (await import("../play/calls")).setUpCalls(by("panel-calls"), { given, show: showStep }),
  profile: async () => (await import("../play/profile")).setUpProfile(by("panel-profile"), given),
};

async function openPanel(name: string): Promise<Panel> {
  const made = panels.get(name) ?? makers[name]();
  panels.set(name, made);
  const panel = await made;
  panel.open();
  return panel;
}

for (const name of Object.keys(makers)) tabs.onSelect(name, () => void openPanel(name));

async function showStep(n: number) {
  tabs.select("steps");
  (await panels.get("steps"))?.show?.(n);
}

function run() {
  tabs.select("output");
  void runner.start();
}

function stop() {
  runner.stop();
  toPanels((panel) => panel.stop());
}

interface Example {
  name: string;
  text: string;
  arguments: string[];
  input: string;
  files: Given["files"];
}

async function openExample(name: string) {
  const response = await fetch(asset("examples"));
  const examples: Example[] = await response.json();
  const example = examples.find((each) => each.name === name);
  if (!example) return say(`There is no example ${name}.`);
  open(example, makeId(), false);
  say(`${name} is open.`, { label: "Undo", run: undoOpening });
  program.focus();
}

/// Opens what the address tells; false when it tells nothing.
async function openFragment(): Promise<boolean> {
  const { hash } = location;
  const example = /^#example=([\w/]+)$/.exec(hash);
  try {
    if (example) await openExample(example[1]);
    const linked = await givenBy(hash);
    if (linked) open(linked, makeId(), false);
    if (!example && !linked && hash.length > 1) say("This link is unknown: it holds no program.");
    return Boolean(example ?? linked);
  } catch (fault) {
    say(fault instanceof LinkFault ? fault.message : "The examples could not be fetched.");
    return false;
  }
}

by<HTMLSelectElement>("example").addEventListener("change", (event) => {
  const picked = event.target as HTMLSelectElement;
  if (picked.value) void openExample(picked.value);
  picked.value = "";
});

by("share").addEventListener("click", async () => {
  keep();
  try {
    history.replaceState(null, "", await fragmentOf(given()));
  } catch (fault) {
    return say((fault as Error).message);
  }
  shown.own = false; // the address tells it now; the next change makes it the reader's again
  try {
    await navigator.clipboard.writeText(location.href);
    say("The link is on the clipboard.");
  } catch {
    say("The link is in the address bar.");
  }
});

by("format").addEventListener("click", async () => {
  const { text, messages } = await format(program.text());
  if (text !== undefined) await program.rewrite(text);
  else say(messages?.[0]?.say ?? "This program has no layout.");
});

function listRecent() {
  keep();
  const all = programs.list();
  const items = all.map((kept) => {
    const item = document.createElement("li");
    item.innerHTML =
      '<button type="button" class="open"><code></code><span></span></button><button type="button" class="drop">Delete</button>';
    const [line, time] = item.querySelectorAll("code, span");
    line.textContent = titleOf(kept);
    time.textContent = kept.id === shown.id ? `${ago(kept.time)}, open here` : ago(kept.time);
    const [opener, dropper] = item.querySelectorAll("button");
    opener.addEventListener("click", async () => {
      recent.hidePopover();
      if (kept.id === shown.id) return;
      const free = await take(kept.id);
      open(kept.given, free ? kept.id : makeId(), true);
      if (!free) say("This program is open in another tab: here is a copy.");
    });
    dropper.setAttribute("aria-label", `Delete ${titleOf(kept)}`);
    dropper.addEventListener("click", () => {
      programs.remove(kept.id);
      if (kept.id === shown.id) shown.own = false;
      item.remove();
    });
    return item;
  });
  const list = document.createElement("ul");
  list.append(...items);
  const fresh = document.createElement("button");
  fresh.type = "button";
  fresh.className = "fresh";
  fresh.textContent = "New program";
  fresh.addEventListener("click", () => {
    recent.hidePopover();
    open(givenText(""), makeId(), false);
    say("A new program.", { label: "Undo", run: undoOpening });
    program.focus();
  });
  recent.replaceChildren(fresh, items.length ? list : "Programs that you change are kept here, in this browser alone.");
}

recent.addEventListener("beforetoggle", (event) => {
  if ((event as ToggleEvent).newState === "open") listRecent();
});

for (const field of [words, input]) field.addEventListener("input", changed);
by("add-file").addEventListener("click", () => {
  addFile("", "");
  fileList.lastElementChild!.querySelector("input")!.focus();
});
addEventListener("hashchange", () => void openFragment());
addEventListener("pagehide", () => {
  keep();
  giveBack();
});
window.addEventListener("pageshow", (event) => {
  if (event.persisted && shown.own) void take(shown.id);
});
document.addEventListener("visibilitychange", () => {
  if (document.hidden) keep();
});
document.addEventListener("keydown", (event) => {
  if (event.key === "." && (event.ctrlKey || event.metaKey)) stop();
});

setUpFrame();
setUpKeys(document.querySelector<HTMLElement>(".keys")!, program, by("run"));
warmUp();
void (async () => {
  if (!(await openFragment())) {
    const kept = await documentOf(programs);
    if (kept) {
      shown = { id: kept.id, own: true };
      programs.setTab(kept.id);
      fill(kept.given);
    }
  }
  by<HTMLButtonElement>("run").disabled = false;
  const status = by("status");
  if (status.classList.contains("loading")) {
    status.className = "status ready";
    status.textContent = "ready";
  }
  document.body.dataset.ready = "yes";
})();
