// The search: a field, and what is found while one types. The index is made by the build and fetched
// with the first key.
import MiniSearch from "minisearch";
import { asset, page } from "../assets";
import { type Indexed, searchOptions, wordsOf } from "../search/options";

type Found = Pick<Indexed, "title" | "where" | "href" | "html">;

let index: Promise<MiniSearch<Indexed>> | undefined;

function loadIndex() {
  index ??= fetch(asset("search"))
    .then((response) => response.text())
    .then((text) => MiniSearch.loadJSON<Indexed>(text, searchOptions))
    .catch((fault) => {
      index = undefined;
      throw fault;
    });
  return index;
}

function itemOf({ title, where, href, html }: Found): HTMLElement {
  const item = document.createElement("li");
  const link = document.createElement("a");
  link.href = page(href).href;
  link.innerHTML = html;
  const name = document.createElement("strong");
  name.textContent = title;
  const place = document.createElement("span");
  place.textContent = ` ${where}`;
  link.prepend(name, place);
  item.append(link);
  return item;
}

/// Where all words stand together, else where one of them does. A sign that is no word, like `+`, is
/// looked for as a name.
export async function find(text: string): Promise<Found[]> {
  const engine = await loadIndex();
  const words = wordsOf(text);
  const query = words.length ? words.join(" ") : text;
  const all = engine.search(query, { combineWith: "AND" });
  const found = all.length ? all : engine.search(query);
  return found.slice(0, 30) as unknown as Found[];
}

export function setUpSearch(field: HTMLInputElement) {
  const list = document.getElementById("found")!;
  const said = document.getElementById("search-said")!;
  let turn = 0;
  async function search() {
    const mine = ++turn;
    const asked = field.value.trim();
    if (!asked) {
      said.textContent = "";
      return list.replaceChildren();
    }
    try {
      const found = await find(asked);
      if (mine !== turn) return;
      list.replaceChildren(...found.map(itemOf));
      said.textContent = found.length ? "" : `Nothing is found for ${asked}.`;
    } catch {
      said.textContent = "The index could not be fetched.";
    }
  }
  field.addEventListener("input", () => void search());
  // What lies over the text goes when it has led to its place there.
  if (list.closest("article")) addEventListener("hashchange", () => list.replaceChildren());
  field.value ||= new URLSearchParams(location.search).get("q") ?? "";
  if (field.value) void search();
}
