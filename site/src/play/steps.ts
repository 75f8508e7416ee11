// The reduction to look at: one state at a time, from any place of the run.
//
// States come from the laboratory in windows, each by a run of its own, so the page holds little of
// a long run. How long the run is a walk tells, up to a limit that the reader may put off; it tells
// as well what the program has written by which state.
import type { Range } from "../language/program";
import { fullStep, nextCall, type Step, steps, type Watched, walk, whyZ } from "../machine/laboratory";
import type { Logged } from "../machine/module";
import type { Link } from "../machine/results";
import { type Given, jobOf } from "./given";
import { Progress, Staleness } from "./progress";
import { asWatched } from "./runner";
import { cutLine, linkText, piecesOfLine, placeIn, whySentence, withPictures, writtenBy } from "./steps_model";
import type { Panel } from "./tabs";
import { pictureOf, sharedParts, waitingIn } from "./tree";

const windowSize = 250;
const windowsKept = 8;
/// The states that are counted before the reader is asked.
const firstLimit = 1_000_000;
/// Milliseconds between two states that are played.
const pace = 350;

const template = `
<div class="steps scrolled" tabindex="0" role="group" aria-label="Steps; the arrow keys move">
<div class="panel-bar">
<button type="button" data-do="first" aria-label="First state">«</button>
<button type="button" data-do="back" aria-label="One step back">◀</button>
<button type="button" data-do="play" aria-label="Play">Play</button>
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
<div class="why" hidden><p role="status"></p><ol></ol></div>
<p class="rule"></p>
<pre class="state" tabindex="0" role="region" aria-label="The state: the context, a dot, the focus"></pre>
<div class="so-far" hidden><h2>Written so far</h2><pre tabindex="0" role="region" aria-label="Written so far"></pre></div>
<div class="picture" tabindex="0" role="region" aria-label="The focus as a tree"></div>
<div class="waiting"><h2>What waits for it, the next one first</h2><ol></ol></div>
</div>`;

interface Settings {
  given(): Given;
  /// Marks a place in the program.
  mark(place?: Range): void;
}

export function setUpSteps(panel: HTMLElement, settings: Settings): Panel {
  panel.innerHTML = template;
  const find = <E extends Element>(selector: string) => panel.querySelector<E>(selector)!;
  const slider = find<HTMLInputElement>("input[type=range]");
  const place = find<HTMLElement>("output");
  const more = find<HTMLButtonElement>('[data-do="more"]');
  const why = find<HTMLElement>(".why");
  const playButton = find<HTMLButtonElement>('[data-do="play"]');
  const progress = new Progress(find(".said"), find('[data-do="stop"]'));
  const stale = new Staleness(find(".steps"), "the reduction", () => void begin());

  let watched: Promise<Watched> = Promise.resolve({ job: jobOf(settings.given()), files: {} });
  let key = "";
  /// The text that the steps are of, and the program that is run for it.
  let text = "";
  let program = "";
  /// Where the page is, and where the last click wants it to be.
  let at = 0;
  let wanted = 0;
  /// The number of the last state that is known of, and whether it is the run's.
  let last = 0;
  let ended = false;
  let isAtFault = false;
  let report = "";
  let log: Logged[] = [];
  let windows = new Map<number, Promise<Step[]>>();
  let playing: ReturnType<typeof setInterval> | undefined;

  const isCurrent =
    (asked = key) =>
    () =>
      asked === key;

  /// Begins anew when the program is another one.
  function begin() {
    const next = settings.given();
    stale.show(false);
    if (JSON.stringify(next) === key) return;
    key = JSON.stringify(next);
    text = next.text;
    watched = asWatched(next);
    progress.stop();
    pause();
    at = wanted = last = 0;
    ended = false;
    isAtFault = false;
    report = "";
    log = [];
    windows = new Map();
    more.hidden = why.hidden = true;
    progress.say("");
    for (const part of panel.querySelectorAll("output, .rule, .state, .picture, ol")) part.replaceChildren();
    void show(0).then(() => {
      if (!isAtFault) void count(firstLimit);
    });
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
    const asked = await watched;
    const answer = await progress.wait(steps(asked, from, windowSize), isCurrent());
    if (!answer) {
      windows.delete(from);
      return [];
    }
    program = new TextDecoder().decode(asked.job.program.bytes);
    isAtFault = !answer.started;
    if (isAtFault) progress.say("This program is at fault, and does not run.");
    noteEnd(answer, answer.steps.at(-1)?.n ?? 0);
    return answer.steps;
  }

  function noteEnd(answer: { started: boolean; ended: boolean; report: string }, n: number) {
    last = Math.max(last, n);
    if (!answer.ended && answer.started) return;
    ended = true;
    report = answer.report;
  }

  /// Looks for the end of the run, up to a limit, and for what is written on the way.
  async function count(limit: number) {
    more.hidden = true;
    const answer = await progress.wait(walk(await watched, limit, progress.at), isCurrent());
    if (!answer) return;
    noteEnd(answer, answer.last);
    log = answer.output;
    more.hidden = ended;
    showPlace();
    showWritten();
  }

  const number = (n: number) => n.toLocaleString("en");

  function showPlace() {
    slider.max = String(Math.max(last, at));
    slider.value = String(at);
    place.textContent = `step ${number(at)} of ${ended ? "" : "over "}${number(Math.max(last, at))}`;
  }

  function showWritten() {
    const written = writtenBy(log, at);
    find<HTMLElement>(".so-far").hidden = log.length === 0;
    find(".so-far pre").textContent = written.slice(-4000) || "nothing";
  }

  async function show(n: number) {
    wanted = Math.max(0, n);
    const [mine, asked] = [wanted, key];
    const from = mine - (mine % windowSize);
    const list = await windowFrom(from);
    const step = list[mine - from];
    if (mine !== wanted || asked !== key || !step) return;
    at = mine;
    draw(step);
    showPlace();
    showWritten();
    if (!panel.hidden) markSource(list.slice(0, mine - from + 1).reverse());
  }

  /// Marks what the step rewrites; while another file's part is at work, what the program had there
  /// last.
  function markSource(before: Step[]) {
    if (settings.given().text !== text) return;
    for (const { place } of before) {
      const range = placeIn(text, program, place);
      if (range) return settings.mark(range);
    }
    settings.mark();
  }

  function draw(step: Step) {
    drawState(step);
    const isEnd = step.rule === "end";
    const rule = step.name ? `${step.rule} ${withPictures(step.name)}` : step.rule;
    const within = step.run > 0 ? "In a run within the run. " : "";
    const ending = step.run > 0 ? "The end of it." : report ? "The end, in a Report." : "The end.";
    find(".rule").textContent = within + (isEnd ? ending : `Next: ${rule}`);
    const shared = sharedParts([step.context, step.focus]);
    find(".picture").replaceChildren(pictureOf(step.focus, shared, !isEnd));
    const taken = step.framesTaken;
    const waiting = waitingIn(step.context, shared);
    find<HTMLElement>(".waiting").hidden = waiting.length === 0;
    find(".waiting ol").replaceChildren(
      ...waiting.map((frame, i) => {
        const made = document.createElement(i < taken ? "mark" : "span");
        made.textContent = withPictures(frame);
        const item = document.createElement("li");
        item.append(made);
        return item;
      }),
    );
    panel.dataset.at = String(step.n);
  }

  /// The state as a line. What is left out of it unfolds where it stands.
  function drawState(step: Step) {
    const mark = document.createElement("mark");
    const [before, redex, behind] = cutLine(step);
    let holes = 0;
    const partsOf = (part: string) =>
      piecesOfLine(part).map((piece) => {
        if ("text" in piece) return piece.text;
        const index = holes++;
        const unfold = document.createElement("button");
        unfold.type = "button";
        unfold.className = "hole";
        unfold.title = "Unfold";
        unfold.textContent = piece.hole;
        unfold.addEventListener("click", () => void unfoldHole(step, index, unfold));
        return unfold;
      });
    const first = partsOf(before);
    mark.append(...partsOf(redex));
    find(".state").replaceChildren(...first, mark, ...partsOf(behind));
  }

  async function unfoldHole(step: Step, index: number, button: HTMLElement) {
    const answer = await progress.wait(fullStep(await watched, step.n), isCurrent());
    const left = answer?.steps[0]?.leftOut?.[index];
    if (left === undefined) return;
    const term = document.createElement("span");
    term.className = "unfolded";
    term.textContent = withPictures(left);
    button.replaceWith(term);
  }

  async function goToCall(name: string) {
    const answer = await progress.wait(nextCall(await watched, name, at + 1, progress.at), isCurrent());
    if (!answer) return;
    noteEnd(answer, answer.last);
    if (answer.call !== undefined) await show(answer.last);
    progress.say(answer.call ?? `${name} is not called behind this place.`);
    showPlace();
  }

  async function goToZ() {
    const answer = await progress.wait(whyZ(await watched), isCurrent());
    if (!answer) return;
    if (!answer.started) return progress.say("This program is at fault, and does not run.");
    if (!answer.chain) return progress.say("The program ends by itself, before it has a result.");
    const { chain, effect, effect_place, result = "", more = 0 } = answer;
    if (chain.length) await show(chain[0].n);
    const isOwn = effect_place?.file !== "program" || placeIn(text, program, { ...effect_place, length: 0 });
    find(".why p").textContent = withPictures(whySentence({ effect, result, chain, more }, !isOwn));
    find(".why ol").replaceChildren(...chain.map(itemOfLink));
    why.hidden = false;
  }

  /// A link of the chain, which leads to its state.
  function itemOfLink({ n, kind, call, within, place }: Link, index: number) {
    const button = document.createElement("button");
    button.type = "button";
    button.textContent = withPictures(linkText({ kind, call }));
    button.disabled = n < 0; // before the program's run
    button.addEventListener("click", () => void show(n));
    const item = document.createElement("li");
    const around = index === 0 && within.length ? `, within ${within.join(", within ")}` : "";
    item.append(button, withPictures(around), place && place.file !== "program" ? ` (${place.file})` : "");
    return item;
  }

  function pause() {
    clearInterval(playing);
    playing = undefined;
    playButton.textContent = "Play";
  }

  function play() {
    if (playing) return pause();
    playButton.textContent = "Pause";
    playing = setInterval(() => {
      if (panel.hidden || (ended && at >= last)) pause();
      // The next one waits for the one before.
      else if (wanted === at) void show(at + 1);
    }, pace);
  }

  const actions: Record<string, () => void> = {
    first: () => void show(0),
    back: () => void show(wanted - 1),
    next: () => void show(ended ? Math.min(last, wanted + 1) : wanted + 1),
    last: () => void show(last),
    play,
    z: () => void goToZ(),
    more: () => void count(10 * last),
  };
  const act = (action: string) => {
    if (action !== "play") pause();
    begin();
    actions[action]?.();
  };
  for (const button of panel.querySelectorAll<HTMLButtonElement>("[data-do]")) {
    button.addEventListener("click", () => act(button.dataset.do!));
  }
  const keys: Record<string, string> = {
    ArrowLeft: "back",
    ArrowRight: "next",
    Home: "first",
    End: "last",
    " ": "play",
  };
  find(".steps").addEventListener("keydown", (event) => {
    const { key: pressed, target } = event as KeyboardEvent;
    if (!keys[pressed] || (target as Element).closest("input, button")) return;
    event.preventDefault();
    act(keys[pressed]);
  });
  find<HTMLFormElement>("form").addEventListener("submit", (event) => {
    event.preventDefault();
    begin();
    const name = find<HTMLInputElement>("[name=call]").value.trim();
    if (name) void goToCall(name);
  });
  // A slider on its way shows what is at hand.
  slider.addEventListener("input", () => {
    pause();
    const n = Number(slider.value);
    if (windows.has(n - (n % windowSize))) void show(n);
    else place.textContent = `step ${number(n)}`;
  });
  slider.addEventListener("change", () => void show(Number(slider.value)));
  return {
    open: () => {
      begin();
      void show(wanted);
    },
    show: (n) => void show(n),
    changed: () => {
      pause();
      settings.mark();
      stale.show(key !== "" && JSON.stringify(settings.given()) !== key);
    },
    stop: () => {
      pause();
      progress.stop();
    },
  };
}
