// The tour: a chapter's text, and beside it an editor that its programs and exercises come into.
//
// What a reader has written stays with the browser, by program, and so does which exercises are solved
// and which chapters read. An exercise is checked by a program of its own: it takes the place of the
// reader's entry, gives 0 when all is right, and says else what is not.
import { picturedText } from "../editor/plain_field";
import { ProgramField } from "../editor/program_field";
import { checked } from "../language/program";
import { check, pack } from "../machine/laboratory";
import { type Run, start, warmUp } from "../machine/session";
import { type Given, givenText, jobOf } from "../play/given";
import { setUpKeys } from "../play/keys";
import { Runner } from "../play/runner";
import { givenOf } from "./document_given";
import { setUpFrame } from "./frame";
import { noteRead, noteSolved, showProgress, stored } from "./tour_progress";

interface Exercise {
  name: string;
  start: string;
  check: string;
  answer: string;
}

/// How long a check may take, in milliseconds.
const patience = 10_000;

const by = <E extends HTMLElement>(id: string) => document.getElementById(id) as E;

/// The program that is open, and what the reader makes of it.
interface Opened {
  key: string;
  given: Given;
  exercise?: Exercise;
}

function setUpChapter(workplace: HTMLElement) {
  const { exercises, helpers }: { exercises: Exercise[]; helpers: string } = JSON.parse(
    by("chapter-data").textContent ?? "{}",
  );
  let opened: Opened = { key: "", given: givenText("") };
  let checking: Run | undefined;
  const verdict = by("check-said");
  const checkButton = by<HTMLButtonElement>("check");
  const answerButton = by<HTMLButtonElement>("answer");

  const program = new ProgramField({
    parent: by("editor"),
    text: picturedText(by("editor")),
    label: "Program",
    numbered: true,
    onRun: () => void runner.start(),
    onStop: () => runner.stop(),
    onChange: (byReader) => {
      if (byReader && opened.key) stored.write(`text.${opened.key}`, program.text());
    },
  });
  const run = by<HTMLButtonElement>("run");
  const runner = new Runner(
    { output: by("output"), status: by("status"), button: run },
    { given: () => ({ ...opened.given, text: program.text() }) },
  );

  // On a phone the button is always in sight, and the output is not.
  run.addEventListener("click", () => by("output").scrollIntoView({ block: "nearest" }));

  function show(next: Opened, byClick: boolean) {
    opened = next;
    checking?.stop();
    program.replace(stored.read(`text.${next.key}`) ?? next.given.text);
    by("workplace-title").textContent = next.exercise ? "Exercise" : "Program";
    checkButton.hidden = answerButton.hidden = !next.exercise;
    verdict.textContent = "";
    verdict.className = "";
    if (!byClick) return;
    if (matchMedia("(max-width: 900px)").matches) workplace.scrollIntoView();
    program.focus();
  }

  async function checkExercise(exercise: Exercise) {
    checking?.stop();
    const tell = (tone: string, text: string) => {
      verdict.className = tone;
      verdict.textContent = text;
    };
    tell("running", "checking ...");
    const text = program.text();
    const fault = (await check(givenText(text)).catch(() => [])).find(({ severity }) => severity === "fault");
    if (fault) return tell("failed", `Line ${fault.line}: ${fault.say}`);
    const whole = givenText(checked(text, exercise.check, helpers));
    const packed = await pack(whole).catch(() => whole.text);
    const decoder = new TextDecoder();
    let said = "";
    const mine = start(jobOf(givenText(packed)), {
      output: (_, bytes) => {
        said += decoder.decode(bytes, { stream: true });
      },
      withheld: () => {},
    });
    checking = mine;
    const timer = setTimeout(() => mine.stop(), patience);
    const { outcome } = await mine.end;
    clearTimeout(timer);
    if (mine !== checking) return;
    if (outcome.ended === "exit" && outcome.status === 0) {
      noteSolved(exercise.name);
      return tell("fine", "Right.");
    }
    if (outcome.ended === "stopped") return tell("failed", "Not yet: it does not come to an end.");
    tell("failed", `Not yet. ${said.trim().split("\n").at(-1) ?? ""}`);
  }

  checkButton.addEventListener("click", () => opened.exercise && void checkExercise(opened.exercise));
  answerButton.addEventListener("click", () => {
    if (opened.exercise) void program.rewrite(opened.exercise.answer);
  });
  by("reset").addEventListener("click", () => {
    stored.remove(`text.${opened.key}`);
    program.replace(opened.given.text);
  });

  const openExercise = (name: string, byClick: boolean) => {
    const exercise = exercises.find((each) => each.name === name);
    if (exercise) show({ key: `exercise.${name}`, given: givenText(exercise.start), exercise }, byClick);
  };
  const boxes = [...document.querySelectorAll<HTMLElement>(".program[data-name]")];
  for (const box of boxes) {
    const open = (byClick: boolean) => show({ key: `program.${box.dataset.name}`, given: givenOf(box) }, byClick);
    box.querySelector(".run")?.addEventListener("click", () => {
      open(true);
      void runner.start();
    });
    if (box === boxes[0]) open(false);
  }
  for (const link of document.querySelectorAll<HTMLElement>("[data-open]")) {
    link.addEventListener("click", (event) => {
      event.preventDefault();
      openExercise(link.dataset.open!, true);
    });
  }
  const asked = /^#exercise-([\w-]+)$/.exec(location.hash)?.[1];
  if (asked) openExercise(asked, true);
  else if (!boxes.length && exercises.length) openExercise(exercises[0].name, false);
  run.disabled = false;
  const status = by("status");
  if (status.classList.contains("loading")) {
    status.className = "status";
    status.textContent = "";
  }
  setUpKeys(document.querySelector<HTMLElement>(".keys")!, program, run);
  warmUp();
}

setUpFrame();
const workplace = document.getElementById("workplace");
if (workplace) setUpChapter(workplace);
const chapter = document.querySelector<HTMLElement>("[data-chapter]")?.dataset.chapter;
if (chapter) noteRead(chapter);
showProgress();
document.body.dataset.ready = "yes";
