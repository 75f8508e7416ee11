// How the search's index is made and asked: by the build, which makes it, and by the pages.
import type { Options } from "minisearch";

/// What stands in the index: an entry of the reference, a section of a document, a program.
export interface Indexed {
  id: number;
  title: string;
  /// Other words for it.
  also: string;
  text: string;
  where: string;
  href: string;
  html: string;
}

/// The words of a text; names keep their underscores.
export const wordsOf = (text: string) => text.match(/[\p{L}\p{N}_]+/gu) ?? [];

export const searchOptions: Options<Indexed> = {
  fields: ["title", "also", "text"],
  storeFields: ["title", "where", "href", "html"],
  // A title that has no word is a sign, and found as such.
  tokenize: (text) => (wordsOf(text).length ? wordsOf(text) : text.trim() ? [text.trim()] : []),
  searchOptions: {
    boost: { title: 6, also: 4, text: 1 },
    prefix: (term) => term.length > 2,
    fuzzy: (term) => (term.length > 4 ? 0.2 : false),
    boostDocument: (_id, _term, stored) => (stored?.where === "built-in" ? 1.3 : 1),
  },
};
