// A row of the characters that a phone's keyboard hides, above that keyboard.
import type { ProgramField } from "../editor/program_field";

const characters = [..."\\{}[](),;"];

export function setUpKeys(row: HTMLElement, program: ProgramField, run: HTMLElement) {
  for (const character of characters) {
    const key = document.createElement("button");
    key.type = "button";
    key.textContent = character;
    // The editor keeps the focus, and so the keyboard stays.
    key.addEventListener("pointerdown", (event) => event.preventDefault());
    key.addEventListener("click", () => program.insert(character));
    row.append(key);
  }
  run.addEventListener("pointerdown", (event) => event.preventDefault());
  // Some browsers draw the keyboard over the page.
  const viewport = window.visualViewport;
  viewport?.addEventListener("resize", () => {
    const hidden = Math.max(0, innerHeight - viewport.height - viewport.offsetTop);
    document.documentElement.style.setProperty("--keyboard", `${hidden}px`);
  });
}
