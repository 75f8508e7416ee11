// What a run costs, by name: a table, and the stacks of calls as a picture in which width is steps.
import { type ProfileRow, profile } from "../machine/laboratory";
import type { Given } from "./given";
import { Progress, Staleness } from "./progress";
import { asWatched } from "./runner";
import type { Panel } from "./tabs";

interface Frame {
  name: string;
  steps: number;
  below: Map<string, Frame>;
}

export function framesOf(folded: string): Frame {
  const root: Frame = { name: "", steps: 0, below: new Map() };
  for (const line of folded.split("\n")) {
    const cut = line.lastIndexOf(" ");
    if (cut < 0) continue;
    const count = Number(line.slice(cut + 1));
    let frame = root;
    frame.steps += count;
    for (const name of line.slice(0, cut).split(";")) {
      let next = frame.below.get(name);
      if (!next) frame.below.set(name, (next = { name, steps: 0, below: new Map() }));
      next.steps += count;
      frame = next;
    }
  }
  return root;
}

const rowHeight = 22;
const deepest = 40;

function flame(root: Frame, element: HTMLElement) {
  let depth = 0;
  const add = (frame: Frame, left: number, level: number) => {
    for (const child of [...frame.below.values()].sort((a, b) => b.steps - a.steps)) {
      const width = (child.steps / root.steps) * 100;
      if (width < 0.15 || level >= deepest) break;
      const box = document.createElement("div");
      box.className = `flame-box tone-${[...child.name].reduce((sum, c) => sum + c.charCodeAt(0), 0) % 5}`;
      Object.assign(box.style, { left: `${left}%`, width: `${width}%`, top: `${level * rowHeight}px` });
      box.textContent = child.name;
      box.title = `${child.name}: ${child.steps} steps, ${width.toFixed(1)} %`;
      element.append(box);
      depth = Math.max(depth, level + 1);
      add(child, left, level + 1);
      left += width;
    }
  };
  element.replaceChildren();
  add(root, 0, 0);
  element.style.height = `${depth * rowHeight}px`;
}

const columns = ["name", "calls", "steps", "nodes"] as const;

/// The rows, by the column whose title was chosen last.
function tableOf(rows: ProfileRow[]): HTMLTableElement {
  const table = document.createElement("table");
  const body = table.createTBody();
  const head = table.createTHead().insertRow();
  const fill = (by: (typeof columns)[number]) => {
    for (const each of head.cells)
      each.ariaSort = each.textContent === by ? (by === "name" ? "ascending" : "descending") : "none";
    const sorted = [...rows].sort((a, b) => (by === "name" ? (a.name < b.name ? -1 : 1) : b[by] - a[by]));
    body.replaceChildren();
    for (const { name, calls, steps, nodes } of sorted) {
      const row = body.insertRow();
      row.insertCell().append(Object.assign(document.createElement("code"), { textContent: name }));
      for (const count of [calls, steps, nodes]) row.insertCell().textContent = count.toLocaleString("en");
    }
  };
  for (const column of columns) {
    const title = Object.assign(document.createElement("button"), { type: "button", textContent: column });
    title.addEventListener("click", () => fill(column));
    head.append(document.createElement("th"));
    head.lastElementChild!.append(title);
  }
  fill("steps");
  return table;
}

export function setUpProfile(panel: HTMLElement, given: () => Given): Panel {
  panel.innerHTML = `<div class="profile scrolled" tabindex="0"><div class="panel-bar"><p class="said" role="status"></p>
<button type="button" data-do="stop" hidden>Stop</button></div>
<div class="flame" aria-hidden="true"></div><div class="table"></div></div>`;
  const picture = panel.querySelector<HTMLElement>(".flame")!;
  const table = panel.querySelector(".table")!;
  const progress = new Progress(panel.querySelector(".said")!, panel.querySelector("[data-do=stop]")!);
  const stale = new Staleness(panel.firstElementChild!, "the profile", () => void begin());
  let key = "";

  async function begin() {
    const asked = given();
    const next = JSON.stringify(asked);
    key = next;
    progress.stop();
    stale.show(false);
    table.replaceChildren();
    picture.replaceChildren();
    picture.style.height = "0";
    const watched = await asWatched(asked);
    const isWanted = () => key === next;
    if (!isWanted()) return;
    const answer = await progress.wait(profile(watched), isWanted);
    if (!answer) {
      if (isWanted()) key = "";
      return;
    }
    const { rows, folded, started } = answer;
    if (!started || !rows) return progress.say("This program is at fault, and does not run.");
    const total = rows.reduce((sum, row) => sum + row.steps, 0);
    progress.say(`${total.toLocaleString("en")} steps of the plain machine`);
    flame(framesOf(folded), picture);
    table.replaceChildren(tableOf(rows));
  }

  return {
    open: () => {
      if (JSON.stringify(given()) !== key) void begin();
    },
    changed: () => stale.show(key !== "" && JSON.stringify(given()) !== key),
    stop: () => progress.stop(),
  };
}
