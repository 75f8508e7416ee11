// Tabs by the pattern that screen readers and keyboards know: arrows move among those in sight.

export interface Tabs {
  select(name: string): void;
  /// Calls back when a tab comes in front.
  onSelect(name: string, action: () => void): void;
}

/// What the page needs of a panel: to tell it that it is in front, or that the program has changed, and
/// to stop what it does.
export interface Panel {
  open(): void;
  changed(): void;
  stop(): void;
  /// Goes to a step.
  show?(n: number): void;
}

export function setUpTabs(list: Element): Tabs {
  const tabs = [...list.querySelectorAll<HTMLButtonElement>('[role="tab"]')];
  const actions = new Map<string, () => void>();
  const nameOf = (tab: HTMLElement) => tab.id.replace("tab-", "");
  const select = (name: string) => {
    for (const tab of tabs) {
      const chosen = nameOf(tab) === name;
      tab.setAttribute("aria-selected", String(chosen));
      tab.tabIndex = chosen ? 0 : -1;
      document.getElementById(tab.getAttribute("aria-controls")!)!.hidden = !chosen;
    }
    // On a narrow screen the panels are below the editor.
    if (matchMedia("(max-width: 900px)").matches) list.scrollIntoView();
    actions.get(name)?.();
  };
  for (const tab of tabs) {
    tab.addEventListener("click", () => select(nameOf(tab)));
    tab.addEventListener("keydown", (event) => {
      const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
      if (!step) return;
      const shown = tabs.filter((each) => !each.hidden);
      const next = shown[(shown.indexOf(tab) + step + shown.length) % shown.length];
      next.focus();
      select(nameOf(next));
    });
  }
  return { select, onSelect: (name, action) => void actions.set(name, action) };
}
