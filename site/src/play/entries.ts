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
}

let entries: Promise<Map<string, Entry>> | undefined;

export function allEntries(): Promise<Map<string, Entry>> {
  entries ??= fetch(new URL("entries.json", document.baseURI))
    .then((response) => response.json() as Promise<Entry[]>)
    .then((list) => new Map(list.map((entry) => [entry.name, entry])));
  return entries;
}

export async function entryFor(name: string): Promise<Entry | undefined> {
  return (await allEntries()).get(name);
}
