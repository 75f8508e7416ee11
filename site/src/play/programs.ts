// The programs that a reader has written here, each a document of its own.
//
// A document is one item of the storage, `marl.program.ID`: what it holds and when it was changed
// last. Which one a tab shows stands in the tab's own storage, so every tab keeps its own through a
// reload, and a lock tells the others that it is open: a new tab, and one that is a copy of another,
// never shares one with them.
import { firstLine, type Given } from "./given";

export interface Kept {
  id: string;
  given: Given;
  time: number;
}

const prefix = "marl.program.";
const tabKey = "marl.tab";
/// Older programs than so many are dropped.
const mostKept = 40;

/// What this file uses of a storage; one that is forbidden throws.
type Store = Pick<Storage, "getItem" | "setItem" | "removeItem" | "key" | "length">;

function attempt<T>(action: () => T): T | undefined {
  try {
    return action();
  } catch {
    return undefined; // storage is full or forbidden: a program lives as long as its page
  }
}

function isGiven(value: unknown): value is Given {
  const { text, arguments: words, input, files } = (value ?? {}) as Partial<Given>;
  return typeof text === "string" && Array.isArray(words) && typeof input === "string" && Array.isArray(files);
}

export class Programs {
  constructor(
    private readonly store: () => Store,
    private readonly tab: () => Store,
    private readonly now = () => Date.now(),
  ) {}

  read(id: string): Kept | undefined {
    return attempt(() => {
      const { given, time } = JSON.parse(this.store().getItem(prefix + id) ?? "null") ?? {};
      return isGiven(given) ? { id, given, time: Number(time) } : undefined;
    });
  }

  /// All of them, the last one first.
  list(): Kept[] {
    const ids = attempt(() => {
      const store = this.store();
      return Array.from({ length: store.length }, (_, i) => store.key(i) ?? "");
    });
    return (ids ?? [])
      .filter((key) => key.startsWith(prefix))
      .flatMap((key) => this.read(key.slice(prefix.length)) ?? [])
      .sort((a, b) => b.time - a.time);
  }

  /// False when there is no room for it.
  write(id: string, given: Given): boolean {
    const done = attempt(() => {
      this.store().setItem(prefix + id, JSON.stringify({ given, time: this.now() }));
      return true;
    });
    for (const { id: old } of this.list().slice(mostKept)) this.remove(old);
    return done ?? false;
  }

  remove(id: string) {
    attempt(() => this.store().removeItem(prefix + id));
  }

  ofTab(): string | undefined {
    return attempt(() => this.tab().getItem(tabKey)) ?? undefined;
  }

  setTab(id: string) {
    attempt(() => this.tab().setItem(tabKey, id));
  }
}

export const makeId = () => `${Date.now().toString(36)}-${Math.random().toString(36).slice(2, 8)}`;

let release: (() => void) | undefined;

/// Takes a document for this tab, and gives back the one it had. False when another tab has it, and
/// has it still after `patience` milliseconds.
export async function take(id: string, patience = 0): Promise<boolean> {
  if (!navigator.locks) return true;
  const options = patience ? { signal: AbortSignal.timeout(patience) } : { ifAvailable: true };
  const taken = await new Promise<(() => void) | undefined>((resolve) => {
    navigator.locks
      .request(prefix + id, options, (lock) => {
        if (!lock) return resolve(undefined);
        return new Promise<void>((done) => resolve(done));
      })
      .catch(() => resolve(undefined));
  });
  if (!taken) return false;
  giveBack();
  release = taken;
  return true;
}

/// Lets other tabs have this one's document, as when its page goes.
export function giveBack() {
  release?.();
  release = undefined;
}

/// A page that is loaded anew may wait for its former self to let go.
const reloadPatience = 1000;

/// The document that a tab begins with when it is given no other: its own from before a reload, else
/// the last one that no tab has open.
export async function documentOf(programs: Programs): Promise<Kept | undefined> {
  const own = programs.ofTab();
  const last = programs.list()[0]?.id;
  for (const id of new Set([own, last])) {
    const kept = id ? programs.read(id) : undefined;
    if (!kept) continue;
    if (await take(kept.id, id === own ? reloadPatience : 0)) return kept;
    // The tab is a copy of another one: it goes on with the same text, as a document of its own.
    if (id === own) {
      const copy = { ...kept, id: makeId() };
      await take(copy.id);
      return copy;
    }
  }
  return undefined;
}

/// When a program was changed, in words.
export function ago(time: number, now = Date.now()): string {
  const minutes = Math.round((now - time) / 60_000);
  if (minutes < 1) return "just now";
  if (minutes < 60) return `${minutes} min ago`;
  if (minutes < 24 * 60) return `${Math.round(minutes / 60)} h ago`;
  return new Date(time).toLocaleDateString("en", { day: "numeric", month: "short", year: "numeric" });
}

export const titleOf = ({ given }: Kept) => firstLine(given.text);
