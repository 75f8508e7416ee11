// The page of the search.
import { setUpFrame } from "./frame";
import { setUpSearch } from "./search_box";

setUpFrame();
const field = document.querySelector<HTMLInputElement>("#search")!;
setUpSearch(field);
field.addEventListener("input", () => {
  const query = field.value ? `?q=${encodeURIComponent(field.value)}` : location.pathname;
  history.replaceState(null, "", query);
});
if (matchMedia("(min-width: 700px)").matches) field.focus();
