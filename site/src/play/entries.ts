// Entries of the reference by name, for a hover and for the search: made by the build from the
// tables of docs/reference.md, fetched when first asked for.

export interface Entry {
  name: string;
  /// What the reference says, as HTML.
  html: string;
  /// The same as plain text, for the search.
  text: string;
  /// Where on the reference's page.
  anchor: string;
  /// For the search alone: its name stands for something else in a program.
  hidden?: boolean;
}

let entries: Promise<Entry[]> | undefined;

export function allEntries(): Promise<Entry[]> {
  entries ??= fetch(new URL("entries.json", document.baseURI)).then((response) => response.json());
  return entries;
}

export async function entryFor(name: string): Promise<Entry | undefined> {
  return (await allEntries()).find((entry) => entry.name === name && !entry.hidden);
}
