// The reduction to look at: one state at a time, from any place of the run.
//
// States come from the laboratory in windows, each by a run of its own. How long the whole run is
// the profile tells, which is asked for when a first window doesn't reach the end.
import type { Job } from "../machine/module";
import { calls, profile, steps, whyZ, type Pending, type Step } from "../machine/laboratory";
import { picturesOf } from "./tree";
import type { Tabs } from "./tabs";

const windowSize = 250;

const template = `
<div class="steps">
<div class="panel-bar">
<button type="button" data-do="first" aria-label="First state">«</button>
<button type="button" data-do="back" aria-label="One step back">◀</button>
<button type="button" data-do="next" aria-label="One step forward">▶</button>
<button type="button" data-do="last" aria-label="Last state">»</button>
<input type="range" min="0" max="0" value="0" aria-label="Place in the run">
<output></output>
</div>
<form class="panel-bar">
<input name="call" placeholder="a name" aria-label="Name of a function" spellcheck="false" autocapitalize="off">
<button type="submit">Next call</button>
<button type="button" data-do="z">First Z</button>
</form>
<p class="said" role="status"></p>
<p class="rule"></p>
<pre class="state" tabindex="0" aria-label="The state: the context, a dot, the focus"></pre>
<div class="picture" tabindex="0" aria-label="The focus as a tree"></div>
<div class="waiting"><h3>What waits for it, the next one first</h3><ol></ol></div>
</div>`;

const encoder = new TextEncoder();
const decoder = new TextDecoder();

/// The line in three parts, the middle one being what the next step rewrites.
function cutLine({ line, redex }: Step): [string, string, string] {
  const bytes = encoder.encode(line);
  const end = redex.start + redex.length;
  return [bytes.subarray(0, redex.start), bytes.subarray(redex.start, end), bytes.subarray(end)]
    .map((part) => decoder.decode(part)) as [string, string, string];
}

export function setUpSteps(panel: HTMLElement, tabs: Tabs, jobOf: () => Job) {
  panel.innerHTML = template;
  const find = <E extends Element>(selector: string) => panel.querySelector<E>(selector)!;
  const slider = find<HTMLInputElement>("input[type=range]");
  const said = find<HTMLElement>(".said");
  const place = find<HTMLElement>("output");

  let job: Job | undefined;
  let key = "";
  let at = 0;
  let last: number | undefined;
  let report = "";
  let windows = new Map<number, Step[]>();
  const pending = new Set<Pending<unknown>>();

  const say = (text: string) => (said.textContent = text);

  async function waitFor<Answer>(made: Pending<Answer>): Promise<Answer | undefined> {
    pending.add(made);
    try {
      return await made.answer;
    } catch (fault) {
      if (!/stopped/.test(String(fault))) say(`The laboratory gave up: ${(fault as Error).message}`);
      return undefined;
    } finally {
      pending.delete(made);
    }
  }

  function begin() {
    const next = jobOf();
    const nextKey = JSON.stringify([decoder.decode(next.program.bytes), next.arguments, decoder.decode(next.input)]);
    if (nextKey === key) return;
    for (const each of pending) each.stop();
    job = next;
    key = nextKey;
    at = 0;
    last = undefined;
    report = "";
    windows = new Map();
    void show(0);
  }

  async function stateAt(n: number): Promise<Step | undefined> {
    const from = n - (n % windowSize);
    if (!windows.has(from)) {
      const asked = key;
      say("running ...");
      const answer = await waitFor(steps(job!, from, windowSize));
      if (!answer || asked !== key) return undefined;
      say("");
      if (!answer.started) say("This program is at fault, and does not run.");
      windows.set(from, answer.steps ?? []);
      if (answer.ended && answer.steps.length) {
        last = answer.steps.at(-1)!.n;
        report = answer.report;
      } else if (last === undefined) void measure();
    }
    return windows.get(from)![n - from];
  }

  let measured = "";
  /// How long the whole run is; a run that never ends stays without.
  async function measure() {
    if (measured === key) return;
    measured = key;
    const asked = key;
    const answer = await waitFor(profile(job!));
    if (!answer?.rows || asked !== key || last !== undefined) return;
    last = answer.rows.reduce((sum, row) => sum + row.steps, 0);
    showPlace();
  }

  function showPlace() {
    const known = last ?? Math.max(at, ...[...windows].map(([from, list]) => from + list.length - 1));
    slider.max = String(Math.max(known, at));
    slider.value = String(at);
    place.textContent = last === undefined ? `step ${at} of more` : `step ${at} of ${last}`;
  }

  async function show(n: number) {
    const asked = key;
    const step = await stateAt(Math.max(0, n));
    if (asked !== key || !step) return;
    at = step.n;
    const [before, redex, behind] = cutLine(step);
    const mark = document.createElement("mark");
    mark.textContent = redex;
    find(".state").replaceChildren(before, mark, behind);
    const rule = step.name ? `${step.rule} ${step.name}` : step.rule;
    find(".rule").textContent = step.rule === "end" ? `The end. ${report ? "It ends in a Report." : ""}` : `Next: ${rule}`;
    const { focus, frames } = picturesOf(step.context, step.focus);
    find(".picture").replaceChildren(focus);
    find<HTMLElement>(".waiting").hidden = frames.length === 0;
    find(".waiting ol").replaceChildren(
      ...frames.map((text) => {
        const item = document.createElement("li");
        item.textContent = text;
        return item;
      }),
    );
    panel.dataset.at = String(at);
    showPlace();
  }

  async function goToCall(name: string) {
    say("running ...");
    const answer = await waitFor(calls(job!, name));
    if (!answer) return;
    const found = answer.calls.find(({ n }) => n > at);
    say(found ? found.call : `${name} is not called behind this place`);
    if (found) await show(found.n);
  }

  async function goToZ() {
    say("running ...");
    const answer = await waitFor(whyZ(job!));
    if (!answer) return;
    const first = answer.chain?.[0];
    if (!first) return say("No Z reaches the result.");
    await show(first.n);
    say(`${first.call}${first.within.length ? `, within ${first.within[0]}` : ""}`);
  }

  const actions: Record<string, () => void> = {
    first: () => void show(0),
    back: () => void show(at - 1),
    next: () => void show(last === undefined ? at + 1 : Math.min(last, at + 1)),
    last: () => last !== undefined && void show(last),
    z: () => void goToZ(),
  };
  for (const button of panel.querySelectorAll<HTMLButtonElement>("[data-do]")) {
    button.addEventListener("click", () => {
      begin();
      actions[button.dataset.do!]();
    });
  }
  find<HTMLFormElement>("form").addEventListener("submit", (event) => {
    event.preventDefault();
    begin();
    const name = find<HTMLInputElement>("[name=call]").value.trim();
    if (name) void goToCall(name);
  });
  slider.addEventListener("change", () => void show(Number(slider.value)));
  tabs.onSelect("steps", begin);
}
