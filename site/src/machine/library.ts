// What a program builds on that says so in a note `[use: list ./tax.marl]`: themes of the library,
// which are fetched when the first program names one, and files that are given beside the program.
import { asset } from "../assets";

/// A program and the files beside it.
export interface Source {
  text: string;
  files: { name: string; text: string }[];
}

let library: Promise<Record<string, string>> | undefined;

/// The library's texts by theme.
function themes(): Promise<Record<string, string>> {
  library ??= fetch(asset("library"))
    .then((response) => {
      if (!response.ok) throw new Error(`the library: ${response.status}`);
      return response.json();
    })
    .catch((fault) => {
      library = undefined; // the next program asks again
      throw fault;
    });
  return library;
}

export const usesFiles = (text: string) => text.includes("[use:");

/// All that a program may build on, by path; nothing when it builds on nothing.
export async function filesFor({ text, files }: Source): Promise<Record<string, string>> {
  if (!usesFiles(text)) return {};
  return Object.fromEntries([
    ...Object.entries(await themes()).map(([theme, content]) => [`/library/${theme}.marl`, content]),
    ...files.map(({ name, text: content }) => [`/home/marl/${name}`, content]),
  ]);
}
