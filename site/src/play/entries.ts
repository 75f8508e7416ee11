// Entries of the reference and the library by name, for hovers and completion: made by the build from
// docs/reference.json and the library's notes, fetched when first asked for.
import { asset } from "../assets";

export interface Entry {
  name: string;
  /// "library" for what a program must say that it uses.
  kind: string;
  /// The section of the reference, or the theme of the library.
  section: string;
  /// The page that it stands on, and where.
  page: string;
  id: string;
  /// What is said of it, as HTML.
  html: string;
  /// Whether a program can name it.
  named: boolean;
}

let entries: Promise<Entry[]> | undefined;

export function allEntries(): Promise<Entry[]> {
  entries ??= fetch(asset("entries"))
    .then((response) => response.json())
    .catch(() => {
      entries = undefined; // asked again with the next name
      return [];
    });
  return entries;
}

export async function entryFor(name: string): Promise<Entry | undefined> {
  return (await allEntries()).find((entry) => entry.named && entry.name === name);
}
