// What a run costs, by name: a table, and the stacks of calls as a picture in which width is steps.
import { profile, type Pending, type ProfileRow } from "../machine/laboratory";
import { jobOf, type Given } from "./runner";
import type { Tabs } from "./tabs";

interface Frame {
  name: string;
  steps: number;
  below: Map<string, Frame>;
}

function framesOf(folded: string): Frame {
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
      box.style.cssText = `left:${left}%;width:${width}%;top:${level * rowHeight}px`;
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
    for (const each of head.cells) each.ariaSort = each.textContent === by ? (by === "name" ? "ascending" : "descending") : "none";
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

export function setUpProfile(panel: HTMLElement, tabs: Tabs, given: () => Given) {
  panel.innerHTML = `<div class="profile"><p class="said"><span role="status"></span> <button type="button" hidden>Stop</button></p>
<div class="flame" aria-hidden="true"></div><div class="table"></div></div>`;
  const said = panel.querySelector<HTMLElement>("[role=status]")!;
  const stop = panel.querySelector("button")!;
  const picture = panel.querySelector<HTMLElement>(".flame")!;
  const table = panel.querySelector(".table")!;
  let key = "";
  let running: Pending<unknown> | undefined;
  stop.addEventListener("click", () => running?.stop());

  tabs.onSelect("profile", async () => {
    const asked = given();
    const next = JSON.stringify(asked);
    if (next === key) return;
    key = next;
    running?.stop();
    table.replaceChildren();
    picture.replaceChildren();
    picture.style.height = "0";
    said.textContent = "running ...";
    stop.hidden = false;
    const made = profile(jobOf(asked));
    running = made;
    const answer = await made.answer.catch(({ message }: Error) => message);
    if (key !== next) return;
    stop.hidden = true;
    if (typeof answer === "string") {
      key = "";
      said.textContent = answer === "stopped" ? answer : `The laboratory gave up: ${answer}`;
      return;
    }
    const { rows, folded, started } = answer;
    if (!started || !rows) {
      said.textContent = "This program is at fault, and does not run.";
      return;
    }
    const total = rows.reduce((sum, row) => sum + row.steps, 0);
    said.textContent = `${total.toLocaleString("en")} steps of the plain machine`;
    flame(framesOf(folded), picture);
    table.replaceChildren(tableOf(rows));
  });
}
