// A playground for other pages: the editor, the output, and the way to all of it. The program comes by
// the address; who holds the page hears how high it is.
import { asset, page } from "../assets";
import { picturedText } from "../editor/plain_field";
import { ProgramField } from "../editor/program_field";
import { warmUp } from "../machine/session";
import { type Given, givenText } from "../play/given";
import { Runner } from "../play/runner";
import { fragmentOf, givenBy } from "../play/share";

const by = <E extends HTMLElement>(id: string) => document.getElementById(id) as E;
const hash = location.hash;

async function programOfAddress(): Promise<{ given: Given; fault?: string }> {
  const hello = givenText(picturedText(by("editor")));
  const example = /^#example=([\w/]+)$/.exec(hash)?.[1];
  try {
    if (!example) return { given: (await givenBy(hash)) ?? hello };
    const examples: (Given & { name: string })[] = await (await fetch(asset("examples"))).json();
    const found = examples.find(({ name }) => name === example);
    return found ? { given: found } : { given: hello, fault: `There is no example ${example}.` };
  } catch (fault) {
    return { given: hello, fault: (fault as Error).message };
  }
}

async function setUp() {
  const { given, fault } = await programOfAddress();
  const program = new ProgramField({
    parent: by("editor"),
    text: given.text,
    label: "Program",
    numbered: false,
    onRun: () => void runner.start(),
    onStop: () => runner.stop(),
  });
  const now = () => ({ ...given, text: program.text() });
  const run = by<HTMLButtonElement>("run");
  const runner = new Runner({ output: by("output"), status: by("status"), button: run }, { given: now });
  run.disabled = false;
  if (fault) by("status").textContent = fault;
  by("whole").addEventListener("click", async (event) => {
    event.preventDefault();
    const fragment = await fragmentOf(now()).catch(() => hash);
    open(`${page("index.html")}${fragment}`);
  });
  const tell = () => parent.postMessage({ height: document.documentElement.scrollHeight }, "*");
  new ResizeObserver(tell).observe(document.body);
  warmUp();
  document.body.dataset.ready = "yes";
}

if (new URLSearchParams(location.search).has("embed")) void setUp();
else location.replace(`${page("index.html")}${hash}`);
