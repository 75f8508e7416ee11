// A page that has nothing to run.
import { setUpFrame } from "./frame";

setUpFrame();
document.getElementById("print")?.addEventListener("click", () => print());
