// The playground: the editor, what the program is given, and what became of it.
import { setUpFrame } from "./frame";
import { Runner, type Given } from "../play/runner";
import { warmUp } from "../machine/session";
import { format, type Message } from "../machine/laboratory";
import { makeEditor, replaceText } from "../editor/editor";
import { setUpTabs, type Tabs } from "../play/tabs";
import { fragmentOf, givenBy } from "../play/share";
import { setUpSteps } from "../play/steps";
import { setUpProfile } from "../play/profile";

const hello: Given = {
  text: `a\\done{puts(init[Hello, world!])}fact 5,

[A program is an entry and definitions, with commas
 between them. Its integer is the exit status.
 Change something, and run it.],

fact\\n\\(n=0)1(n*fact(n-1))
`,
  arguments: [],
  input: "",
  files: [],
};

const key = "marl.program";
const by = <E extends HTMLElement>(id: string) => document.getElementById(id) as E;

const words = by<HTMLTextAreaElement>("arguments");
const input = by<HTMLTextAreaElement>("input");
const fileList = by("file-list");
const notice = by("notice");

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
    keep();
  });
  row.addEventListener("input", keep);
  fileList.append(row);
}

function given(): Given {
  return {
    text: editor.state.doc.toString(),
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

function show(next: Given) {
  if (editor.state.doc.toString() !== next.text) replaceText(editor, next.text);
  words.value = next.arguments.join("\n");
  input.value = next.input;
  fileList.replaceChildren();
  for (const { name, text } of next.files) addFile(name, text);
  if (next.arguments.length || next.input || next.files.length) by<HTMLDetailsElement>("given").open = true;
}

/// The last program, for the next visit.
function keep() {
  try {
    localStorage.setItem(key, JSON.stringify(given()));
  } catch {
    // Storage is full or forbidden: the program lives as long as the page.
  }
}

function kept(): Given | undefined {
  try {
    const text = localStorage.getItem(key);
    return text ? { ...hello, ...JSON.parse(text) } : undefined;
  } catch {
    return undefined;
  }
}

function say(text: string) {
  notice.textContent = text;
  setTimeout(() => {
    if (notice.textContent === text) notice.textContent = "";
  }, 4000);
}

/// The first fault below the editor as well, for who has no pointer to hold over it.
function showVerdict(messages: Message[]) {
  const verdict = by("verdict");
  const first = messages.find(({ severity }) => severity === "fault") ?? messages[0];
  verdict.hidden = !first;
  if (!first) return;
  verdict.className = first.severity;
  const more = messages.length > 1 ? ` (${messages.length - 1} more)` : "";
  verdict.textContent = `Line ${first.line}: ${first.say}${more}`;
}

const editor = makeEditor({
  parent: by("editor"),
  text: hello.text,
  label: "Program",
  numbered: true,
  onRun: () => run(),
  onChange: keep,
  onChecked: showVerdict,
});

const tabs: Tabs = setUpTabs(document.querySelector('[role="tablist"]')!);
const runner = new Runner(
  { output: by("output"), status: by("status"), button: by<HTMLButtonElement>("run") },
  given,
  true,
);
by("run").addEventListener("click", () => tabs.select("output"));

setUpSteps(by("panel-steps"), tabs, given);
setUpProfile(by("panel-profile"), tabs, given);

function run() {
  tabs.select("output");
  void runner.start();
}

async function openExample(name: string) {
  const response = await fetch(new URL("examples.json", document.baseURI));
  const examples: { name: string; text: string; arguments: string[]; input: string }[] = await response.json();
  const example = examples.find((each) => each.name === name);
  if (!example) return;
  show({ text: example.text, arguments: example.arguments, input: example.input, files: [] });
  editor.focus();
}

async function openFragment(): Promise<boolean> {
  const shared = await givenBy(location.hash);
  if (shared) show(shared);
  const example = /^#example=(\w+)$/.exec(location.hash);
  if (example) await openExample(example[1]);
  return Boolean(shared ?? example);
}

by<HTMLSelectElement>("example").addEventListener("change", (event) => {
  const { value } = event.target as HTMLSelectElement;
  if (value) void openExample(value);
});

by("share").addEventListener("click", async () => {
  history.replaceState(null, "", await fragmentOf(given()));
  try {
    await navigator.clipboard.writeText(location.href);
    say("The link is on the clipboard.");
  } catch {
    say("The link is in the address bar.");
  }
});

by("format").addEventListener("click", async () => {
  const { text, messages } = await format(editor.state.doc.toString());
  if (text !== undefined) replaceText(editor, text);
  else say(messages?.[0]?.say ?? "This program has no layout.");
});

for (const field of [words, input]) field.addEventListener("input", keep);
by("add-file").addEventListener("click", () => {
  addFile("", "");
  fileList.lastElementChild!.querySelector("input")!.focus();
});
addEventListener("hashchange", () => void openFragment());

setUpFrame();
warmUp();
void (async () => {
  if (!(await openFragment())) {
    const last = kept();
    if (last) show(last);
  }
  document.body.dataset.ready = "yes";
})();
