// Entries of the reference by name, for hovers and completion: made by the build from
// docs/reference.json, fetched when first asked for.
import { asset } from "../assets";

export interface Entry {
  name: string;
  kind: string;
  section: string;
  /// Where on the reference's page.
  id: string;
  /// What the reference says, as HTML.
  html: string;
  /// Whether a program can name it.
  named: boolean;
}

let entries: Promise<Entry[]> | undefined;

export function allEntries(): Promise<Entry[]> {
  entries ??= fetch(asset("reference"))
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
