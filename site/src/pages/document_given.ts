// A program of a page, with what it is given.
import { type Given, givenText } from "../play/given";

export function givenOf(box: HTMLElement): Given {
  const text = box.querySelector("pre")?.textContent ?? "";
  return { ...givenText(text), ...JSON.parse(box.dataset.given ?? "{}") };
}
