// The reduction to look at: one state at a time, from any place of the run.
//
// States come from the laboratory in windows, each by a run of its own, so the page holds little of
// a long run. How long the run is a walk tells, up to a limit that the reader may put off.
import type { Job } from "../machine/module";
import { nextCall, steps, walk, whyZ, type Pending, type Step } from "../machine/laboratory";
import { pictureOf, sharedParts, waitingIn } from "./tree";
import { jobOf, type Given } from "./runner";
import type { Tabs } from "./tabs";

const windowSize = 250;
const windowsKept = 8;
/// The states that are counted before the reader is asked.
const firstLimit = 1_000_000;

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
<button type="button" data-do="more" hidden>Count on</button>
<button type="button" data-do="stop" hidden>Stop</button>
</form>
<p class="said" role="status"></p>
<p class="rule"></p>
<pre class="state" tabindex="0" aria-label="The state: the context, a dot, the focus"></pre>
<div class="picture" tabindex="0" aria-label="The focus as a tree"></div>
<div class="waiting"><h3>What waits for it, the next one first</h3><ol></ol></div>
</div>`;

const encoder = new TextEncoder();
const decoder = new TextDecoder();

/// Control characters as their pictures, so that a state stays on its line.
const withPictures = (text: string) =>
  text.replace(/[\0-\x1f]/g, (c) => String.fromCharCode(0x2400 + c.charCodeAt(0)));

/// The line in three parts, the middle one being what the next step rewrites.
function cutLine({ line, redex }: Step): string[] {
  const bytes = encoder.encode(line);
  const end = redex.start + redex.length;
  return [bytes.subarray(0, redex.start), bytes.subarray(redex.start, end), bytes.subarray(end)]
    .map((part) => withPictures(decoder.decode(part)));
}

/// How many of the frames that wait the next step takes: in the line, each of them ends with the
/// parenthesis of the context that holds it.
function framesTaken({ line, redex, rule }: Step): number {
  if (rule === "pop") return 1;
  let text = decoder.decode(encoder.encode(line).subarray(redex.start));
  for (let before = ""; before !== text; ) [before, text] = [text, text.replace(/\[[^[\]]*\]/g, "")];
  let taken = 0;
  let open = 0;
  for (const c of text.slice(0, Math.max(0, text.indexOf(" . ")))) {
    if (c === "(") ++open;
    else if (c === ")" && open > 0) --open;
    else if (c === ")") ++taken;
  }
  return taken;
}

export function setUpSteps(panel: HTMLElement, tabs: Tabs, given: () => Given) {
  panel.innerHTML = template;
  const find = <E extends Element>(selector: string) => panel.querySelector<E>(selector)!;
  const slider = find<HTMLInputElement>("input[type=range]");
  const said = find<HTMLElement>(".said");
  const place = find<HTMLElement>("output");
  const stop = find<HTMLButtonElement>('[data-do="stop"]');
  const more = find<HTMLButtonElement>('[data-do="more"]');

  let job: Job | undefined;
  let key = "";
  /// Where the page is, and where the last click wants it to be.
  let at = 0;
  let wanted = 0;
  /// The number of the last state that is known of, and whether it is the run's.
  let last = 0;
  let ended = false;
  let report = "";
  let windows = new Map<number, Promise<Step[]>>();
  const pending = new Set<Pending<unknown>>();

  const say = (text: string) => (said.textContent = text);

  async function waitFor<Answer>(made: Pending<Answer>): Promise<Answer | undefined> {
    const asked = key;
    pending.add(made);
    stop.hidden = false;
    try {
      const answer = await made.answer;
      return asked === key ? answer : undefined;
    } catch (fault) {
      const { message } = fault as Error;
      if (asked === key) say(message === "stopped" ? "stopped" : `The laboratory gave up: ${message}`);
      return undefined;
    } finally {
      pending.delete(made);
      stop.hidden = pending.size === 0;
    }
  }

  function stopAll() {
    for (const each of [...pending]) each.stop();
  }

  function begin() {
    const next = given();
    if (JSON.stringify(next) === key) return;
    job = jobOf(next);
    key = JSON.stringify(next);
    stopAll();
    at = wanted = last = 0;
    ended = false;
    report = "";
    windows = new Map();
    more.hidden = true;
    say("");
    for (const part of panel.querySelectorAll("output, .rule, .state, .picture, ol")) part.replaceChildren();
    void show(0).then(() => count(firstLimit));
  }

  function windowFrom(from: number): Promise<Step[]> {
    let list = windows.get(from);
    if (!list) {
      list = fetchWindow(from);
      windows.set(from, list);
      if (windows.size > windowsKept) windows.delete(windows.keys().next().value!);
    }
    return list;
  }

  async function fetchWindow(from: number): Promise<Step[]> {
    say("running ...");
    const answer = await waitFor(steps(job!, from, windowSize));
    if (!answer) {
      windows.delete(from);
      return [];
    }
    say(answer.started ? "" : "This program is at fault, and does not run.");
    noteEnd(answer, answer.steps.at(-1)?.n ?? 0);
    return answer.steps;
  }

  function noteEnd(answer: { started: boolean; ended: boolean; report: string }, n: number) {
    last = Math.max(last, n);
    if (!answer.ended && answer.started) return;
    ended = true;
    report = answer.report;
  }

  /// Looks for the end of the run, up to a limit.
  async function count(limit: number) {
    more.hidden = true;
    if (!ended) {
      const answer = await waitFor(walk(job!, limit));
      if (!answer) return;
      noteEnd(answer, answer.last);
      more.hidden = ended;
    }
    showPlace();
  }

  function showPlace() {
    slider.max = String(Math.max(last, at));
    slider.value = String(at);
    const number = (n: number) => n.toLocaleString("en");
    place.textContent = `step ${number(at)} of ${ended ? "" : "over "}${number(Math.max(last, at))}`;
  }

  async function show(n: number) {
    wanted = Math.max(0, n);
    const [mine, asked] = [wanted, key];
    const from = mine - (mine % windowSize);
    const step = (await windowFrom(from))[mine - from];
    if (mine !== wanted || asked !== key || !step) return;
    at = mine;
    draw(step);
    showPlace();
  }

  function draw(step: Step) {
    const [before, redex, behind] = cutLine(step);
    find(".state").replaceChildren(before, Object.assign(document.createElement("mark"), { textContent: redex }), behind);
    const isEnd = step.rule === "end";
    const rule = step.name ? `${step.rule} ${withPictures(step.name)}` : step.rule;
    const within = step.run > 0 ? "In a run within the run. " : "";
    const ending = step.run > 0 ? "The end of it." : report ? "The end, in a Report." : "The end.";
    find(".rule").textContent = within + (isEnd ? ending : `Next: ${rule}`);
    const shared = sharedParts([step.context, step.focus]);
    find(".picture").replaceChildren(pictureOf(step.focus, shared, !isEnd));
    const taken = framesTaken(step);
    const waiting = waitingIn(step.context, shared);
    find<HTMLElement>(".waiting").hidden = waiting.length === 0;
    find(".waiting ol").replaceChildren(
      ...waiting.map((text, i) => {
        const frame = document.createElement(i < taken ? "mark" : "span");
        frame.textContent = withPictures(text);
        const item = document.createElement("li");
        item.append(frame);
        return item;
      }),
    );
    panel.dataset.at = String(step.n);
  }

  async function goToCall(name: string) {
    say("running ...");
    const answer = await waitFor(nextCall(job!, name, at + 1));
    if (!answer) return;
    noteEnd(answer, answer.last);
    if (answer.call !== undefined) await show(answer.last);
    say(answer.call ?? `${name} is not called behind this place.`);
    showPlace();
  }

  async function goToZ() {
    say("running ...");
    const answer = await waitFor(whyZ(job!));
    if (!answer) return;
    if (!answer.chain) return say("The program ends by itself, before it has a result.");
    const [first, ...others] = answer.chain;
    if (!first) return say("No step has made a Z that is in the result.");
    await show(first.n);
    const within = first.within.length ? `, within ${first.within[0]}` : "";
    const then = others.map(({ call }) => `, then ${call}`).join("");
    say(withPictures(`Z is the answer of ${first.call}${within}${then}`));
  }

  const actions: Record<string, () => void> = {
    first: () => void show(0),
    back: () => void show(wanted - 1),
    next: () => void show(ended ? Math.min(last, wanted + 1) : wanted + 1),
    last: () => void show(last),
    z: () => void goToZ(),
    more: () => void count(10 * last),
    stop: stopAll,
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
  // A slider on its way shows what is at hand.
  slider.addEventListener("input", () => {
    const n = Number(slider.value);
    if (windows.has(n - (n % windowSize))) void show(n);
    else place.textContent = `step ${n.toLocaleString("en")}`;
  });
  slider.addEventListener("change", () => void show(Number(slider.value)));
  tabs.onSelect("steps", begin);
}
