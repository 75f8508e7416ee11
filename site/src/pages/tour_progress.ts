// What the browser keeps of a reader's way through the tour, and how the pages show it.

const prefix = "marl.tour.";

/// The storage, as far as it is to be had.
export const stored = {
  read(key: string): string | undefined {
    try {
      return localStorage.getItem(prefix + key) ?? undefined;
    } catch {
      return undefined;
    }
  },
  write(key: string, text: string) {
    try {
      localStorage.setItem(prefix + key, text);
    } catch {
      // The way through the tour is kept as long as the page.
    }
  },
  remove(key: string) {
    try {
      localStorage.removeItem(prefix + key);
    } catch {
      // There is nothing to remove.
    }
  },
};

export function noteRead(chapter: string) {
  stored.write(`read.${chapter}`, "yes");
}

export function noteSolved(exercise: string) {
  stored.write(`solved.${exercise}`, "yes");
  showProgress();
}

/// Marks the chapters that are read and the exercises that are solved.
export function showProgress() {
  for (const box of document.querySelectorAll<HTMLElement>("[data-exercise]")) {
    const mark = box.querySelector<HTMLElement>(".done-mark");
    if (mark) mark.hidden = stored.read(`solved.${box.dataset.exercise}`) === undefined;
  }
  for (const item of document.querySelectorAll<HTMLElement>("[data-of-chapter]")) {
    const names = (item.dataset.exercises ?? "").split(" ").filter(Boolean);
    const solved = names.filter((name) => stored.read(`solved.${name}`) !== undefined).length;
    const isRead = stored.read(`read.${item.dataset.ofChapter}`) !== undefined;
    const isDone = isRead && solved === names.length;
    item.classList.toggle("is-done", isDone);
    const told = item.querySelector(".told");
    const exercises = names.length ? `${solved} of ${names.length} solved` : "";
    if (told)
      told.textContent = isDone ? ["done", exercises].filter(Boolean).join(", ") : isRead ? exercises || "read" : "";
  }
}
