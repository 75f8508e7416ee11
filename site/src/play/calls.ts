// The tree of calls: each with its answer, and the way to its place among the steps.
import { piecesOf } from "../language/program";
import { type CallLine, calls } from "../machine/laboratory";
import type { Given } from "./given";
import { Progress, Staleness } from "./progress";
import { asWatched } from "./runner";
import { withPictures } from "./steps_model";
import type { Panel } from "./tabs";

export interface CallNode {
  n: number;
  call: string;
  answer?: string;
  below: CallNode[];
}

/// The calls by their nesting. One whose end is not told has no answer.
export function callTree(events: CallLine[]): CallNode[] {
  const top: CallNode[] = [];
  const open: CallNode[] = [];
  for (const { n, depth, call, answer } of events) {
    open.length = Math.min(open.length, call === undefined ? depth + 1 : depth);
    if (call === undefined) {
      const ended = open.pop();
      if (ended) ended.answer = answer;
      continue;
    }
    const node: CallNode = { n, call, below: [] };
    (open.at(-1)?.below ?? top).push(node);
    open.push(node);
  }
  return top;
}

/// The beginnings and ends that are told.
const mostEvents = 2000;

interface Settings {
  given(): Given;
  show(n: number): void;
}

export function setUpCalls(panel: HTMLElement, settings: Settings): Panel {
  panel.innerHTML = `<div class="calls scrolled" tabindex="0"><div class="panel-bar"><label>Calls of <select></select></label>
<button type="button" data-do="stop" hidden>Stop</button></div><p class="said" role="status"></p><ul></ul></div>`;
  const frame = panel.querySelector<HTMLElement>(".calls")!;
  const select = panel.querySelector("select")!;
  const list = panel.querySelector("ul")!;
  const progress = new Progress(panel.querySelector(".said")!, panel.querySelector("[data-do=stop]")!);
  const stale = new Staleness(frame, "the tree of calls", () => void begin());
  let key = "";

  function buttonOf(label: string, action: (button: HTMLButtonElement) => void): HTMLButtonElement {
    const button = document.createElement("button");
    button.type = "button";
    button.textContent = label;
    button.addEventListener("click", () => action(button));
    return button;
  }

  /// Folds what a call calls, or shows it again.
  function folder(inner: HTMLElement, call: string): HTMLButtonElement {
    const button = buttonOf("▾", () => {
      inner.hidden = !inner.hidden;
      button.textContent = inner.hidden ? "▸" : "▾";
      button.ariaExpanded = String(!inner.hidden);
    });
    button.className = "fold";
    button.ariaExpanded = "true";
    button.ariaLabel = `Calls of ${call}`;
    return button;
  }

  function itemOf({ n, call, answer, below }: CallNode): HTMLElement {
    const item = document.createElement("li");
    const place = buttonOf(withPictures(call), () => settings.show(n));
    place.title = `Step ${n}`;
    item.append(place, answer === undefined ? "" : ` = ${withPictures(answer)}`);
    if (below.length) {
      const inner = document.createElement("ul");
      inner.append(...below.map(itemOf));
      item.prepend(folder(inner, call));
      item.append(inner);
    }
    return item;
  }

  function fillNames(text: string) {
    const { value } = select;
    const names = [...new Set(piecesOf(text).flatMap(({ name }) => name ?? []))];
    select.replaceChildren(new Option("all definitions", ""), ...names.map((name) => new Option(name)));
    if (names.includes(value)) select.value = value;
  }

  async function begin() {
    const asked = settings.given();
    const next = JSON.stringify(asked);
    if (next !== key) fillNames(asked.text);
    key = next;
    const name = select.value;
    progress.stop();
    stale.show(false);
    list.replaceChildren();
    const watched = await asWatched(asked);
    const isWanted = () => key === next && select.value === name;
    if (!isWanted()) return;
    const answer = await progress.wait(calls(watched, name, mostEvents, progress.at), isWanted);
    if (!answer) return;
    if (!answer.started) return progress.say("This program is at fault, and does not run.");
    list.replaceChildren(...callTree(answer.calls).map(itemOf));
    if (!answer.calls.length) progress.say("No call of it.");
    else if (!answer.ended) progress.say(`The first ${mostEvents.toLocaleString("en")} beginnings and ends of calls.`);
  }

  select.addEventListener("change", () => void begin());
  return {
    open: () => {
      if (JSON.stringify(settings.given()) !== key) void begin();
    },
    changed: () => stale.show(key !== "" && JSON.stringify(settings.given()) !== key),
    stop: () => progress.stop(),
  };
}
