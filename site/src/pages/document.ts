// The pages of text: programs that run where they stand, and can be changed there.
import { page } from "../assets";
import { Runner } from "../play/runner";
import { fragmentOf } from "../play/share";
import { givenOf } from "./document_given";
import { setUpFrame } from "./frame";
import { setUpSearch } from "./search_box";

/// The program in an embedded playground of its own, in the place of this one.
async function embed(box: HTMLElement) {
  const frame = document.createElement("iframe");
  frame.title = `Program ${box.dataset.name ?? ""}`;
  frame.className = "embedded";
  frame.src = `${page("play.html?embed")}${await fragmentOf(givenOf(box))}`;
  frame.style.height = `${Math.max(200, box.offsetHeight)}px`;
  addEventListener("message", ({ source, data, origin }) => {
    if (origin === location.origin && source === frame.contentWindow && typeof data?.height === "number") {
      frame.style.height = `${data.height}px`;
    }
  });
  box.replaceChildren(frame);
}

/// The output's place is made with the first run, when somebody has asked for it.
function setUpProgram(box: HTMLElement) {
  const button = box.querySelector<HTMLButtonElement>("button.run");
  const status = box.querySelector<HTMLElement>(".status");
  if (!button || !status) return;
  const output = document.createElement("div");
  output.className = "run-output output";
  output.tabIndex = 0;
  output.hidden = true;
  output.setAttribute("role", "region");
  output.setAttribute("aria-label", "Output");
  box.append(output);
  new Runner({ output, status, button }, { given: () => givenOf(box) });
  box.querySelector(".change")?.addEventListener("click", () => void embed(box));
}

setUpFrame();
for (const box of document.querySelectorAll<HTMLElement>(".program")) setUpProgram(box);
const field = document.querySelector<HTMLInputElement>("#search");
if (field) setUpSearch(field);
