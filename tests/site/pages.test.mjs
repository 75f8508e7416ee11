// The pages in headless Chromium, as a reader uses them.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import fs from "node:fs";
import path from "node:path";
import { test } from "node:test";
import zlib from "node:zlib";
import {
  comeToWrite,
  ended,
  open,
  output,
  program,
  root,
  run,
  shots,
  shows,
  site,
  status,
  write,
  www,
} from "./browser.mjs";

const { askLaboratory } = await import(path.join(root, "build/site/machine.mjs"));
const marlLab = path.join(root, "build/release/marl-lab");

test("a program that is typed runs, and shows its output and its status", async () => {
  const page = await open("index.html");
  await write(page, "a\\done{puts(init[typed here])}258");
  await run(page);
  assert.equal(await output(page), "typed here\n");
  assert.match(await status(page), /^exit status 258 · [\d.]+ m?s/);
  await page.close();
});

test("the arguments, the input and the files are what the program gets", async () => {
  const page = await open("index.html");
  await write(
    page,
    `a\\p{refk(a+8)}say(post(p,strlen p));say(init(getchar));f{fopen(init[f.txt],init[r])}
    say(init(fgetc f));0,say\\t\\done(puts t),done\\x\\I`,
  );
  await page.evaluate(() => (document.querySelector("#given").open = true));
  await page.type("#arguments", "one\ntwo");
  await page.type("#input", "xyz");
  await page.click("#add-file");
  await page.type(".file input", "f.txt");
  await page.type(".file textarea", "q");
  await run(page);
  assert.equal(await output(page), "two\nx\nq\n");
  await page.$eval(".file input", (field) => (field.value = "/dev"));
  await run(page);
  assert.match(await status(page), /no file can have the name \/dev/);
  await page.close();
});

test("a Report's sentence comes first, and a fault is underlined with it", async () => {
  const page = await open("index.html");
  await write(page, "a\\(1+2,ff\\1");
  await page.waitForSelector(".cm-lintRange-error");
  const { messages } = await askLaboratory({ command: "check", text: "a\\(1+2,ff\\1" });
  await page.waitForFunction(
    (say) => document.querySelector("#verdict").textContent.includes(say),
    {},
    messages[0].say,
  );
  await run(page);
  assert.equal(await page.$eval(".report .sentence", (e) => e.textContent), `Line 1 ${messages[0].say}`);
  assert.equal(await page.$eval(".report details", (e) => e.open), false);
  assert.match(await page.$eval(".report .picture", (e) => e.textContent), /\/\\uck_________[\s\S]*<say> Dangling/);
  await write(page, "a\\done{puts(init[before])}[text],done\\x\\x");
  await run(page);
  assert.match(await status(page), /^ended in a Report/);
  assert.match(await output(page), /^before\nThe program must return an integer. Instead we encountered:\n\[text\]/);
  await page.close();
});

test("a program builds on the library, which comes when one names it, and on files beside it", async () => {
  const page = await open("index.html");
  const fetched = [];
  page.on("request", (request) => /library/.test(request.url()) && fetched.push(request.url()));
  await write(page, "1+1");
  await run(page);
  assert.deepEqual(fetched, []);
  const uses = ",[use: list ./tax.marl],taxed\\l\\fold(plus,0,map(with_tax,l))";
  await page.evaluate(() => (document.querySelector("#given").open = true));
  await page.click("#add-file");
  await page.type(".file input", "tax.marl");
  await page.type(".file textarea", "[Prices with the tax.],[use: base],with_tax\\n\\n*119/100");
  await write(page, `a\\done{puts(init(lisp(taxed(range(100,101)))))}3${uses}`);
  await run(page);
  assert.equal(await output(page), "239\n");
  assert.match(await status(page), /^exit status 3 /);
  await write(page, `taxed(range(1,2))${uses}`);
  await run(page);
  assert.equal((await output(page)).trim(), "3");
  await write(page, `taxed(rnage(1,2))${uses}`);
  await run(page);
  assert.match(await page.$eval(".report .sentence", (e) => e.textContent), /^Line 1 .*rnage/);
  assert.equal(fetched.length, 1);
  await page.click("#tab-steps");
  await shows(page, ".steps .said", /at fault/);
  await page.close();
});

test("a link holds the program and all that it is given", async () => {
  const page = await open("index.html");
  await write(page, "a\\puts(refk a);0");
  await page.evaluate(() => (document.querySelector("#given").open = true));
  await page.type("#arguments", "sh\u00e4red");
  await page.click("#share");
  await page.waitForFunction(() => location.hash.startsWith("#program="));
  const link = await page.evaluate(() => location.hash);
  await page.close();
  const other = await open(link);
  await write(other, (await program(other)).replace("puts(refk a);0", "done{puts(refk a)}7"));
  await run(other);
  assert.equal(await output(other), "sh\u00e4red\n");
  assert.match(await status(other), /^exit status 7 /);
  await other.close();
});

test("an endless loop leaves the page alive, and stops", async () => {
  const page = await open("index.html");
  await write(page, "a\\loop 1,loop\\n\\loop(n+1)");
  await page.click("#run");
  await page.waitForFunction(() => document.querySelector("#status").textContent === "running");
  await new Promise((resolve) => setTimeout(resolve, 1000));
  await page.click("#run");
  await ended(page);
  assert.match(await status(page), /^stopped/);
  await write(page, "a\\loop 1,loop\\n\\done{puts(init[again and again])}loop n");
  await page.click("#run");
  await page.waitForFunction(() => document.querySelector("#output").textContent.length > 10_000);
  await page.click("#run");
  await ended(page);
  await write(page, "a\\3");
  await run(page);
  assert.match(await status(page), /^exit status 3 /);
  await page.close();
});

test("a list of a million cells, and a program that eats all memory", async () => {
  const page = await open("index.html");
  await write(
    page,
    "a\\done{puts(init([]+sum(range(1,1000000),0)))}0,range\\i\\n\\(n<i)K(J(i,range(i+1,n)))," +
      "sum\\l\\s\\l(s,h\\t\\sum(t,s+h))",
  );
  await run(page);
  assert.equal(await output(page), "500000500000\n");
  await write(page, "a\\grow[ab],grow\\t\\grow(t+t)");
  await run(page);
  assert.match(await status(page), /exit status 1|ended/);
  await page.close();
});

test("every program of the guide runs in its place", async () => {
  const page = await open("guide.html");
  // What a page can't do, for it has no sockets, and what is no program have no button.
  const names = await page.$$eval(".program:has(.run)", (all) => all.map((box) => box.dataset.name));
  assert.ok(names.length > 30);
  for (const name of names) {
    const box = await page.$(`.program[data-name="${name}"]`);
    await box.$eval(".run", (button) => button.click());
    await page.waitForFunction((it) => /fine|failed/.test(it.querySelector(".status").className), {}, box);
    const read = (ending) => {
      const file = path.join(root, "docs/snippets", name + ending);
      return fs.existsSync(file) ? fs.readFileSync(file, "utf8").replace(/\x1b\[\d*m/g, "") : "";
    };
    const shown = await box.$$eval(".run-output pre", (all) => all.map((e) => e.textContent).join(""));
    // A page shows both streams as they came.
    const lines = (text) => (read(".out") && read(".err") ? text.split("\n").sort().join("\n") : text);
    assert.equal(lines(shown), lines(read(".out") + read(".err")), name);
  }
  await page.close();
});

test("a program of the guide is changed in an embedded playground", async () => {
  const page = await open("guide.html");
  const box = await page.$('.program[data-name="02-status"]');
  await box.$eval(".change", (button) => button.click());
  const frame = await (await box.waitForSelector("iframe")).contentFrame();
  await frame.waitForSelector("body[data-ready]");
  assert.match(await program(frame), /^a\\double 21,/);
  await comeToWrite(frame);
  await page.keyboard.down("Control");
  await page.keyboard.press("Home");
  await page.keyboard.up("Control");
  await page.keyboard.press("End");
  for (const key of ["ArrowLeft", "Backspace", "2"]) await page.keyboard.press(key);
  await page.keyboard.down("Control");
  await page.keyboard.press("Enter");
  await page.keyboard.up("Control");
  await shows(frame, "#status", /^exit status 44/);
  await page.close();
  const other = await open("play.html#example=hello");
  await other.waitForFunction(() => location.pathname.endsWith("/index.html"));
  await shows(other, "#notice", /hello is open/);
  await other.close();
});

test("the search knows names, signs, words of the documents and other words for them", async () => {
  const page = await open("search.html");
  const first = async (text) => {
    await page.$eval(
      "#search",
      (field, value) => {
        field.value = value;
        field.dispatchEvent(new Event("input"));
      },
      text,
    );
    await page.waitForFunction(
      (value) => document.querySelector("#found a") && document.querySelector("#search").value === value,
      {},
      text,
    );
    await new Promise((resolve) => setTimeout(resolve, 100));
    return page.$$eval("#found a", (all) => all.slice(0, 4).map((each) => each.querySelector("strong").textContent));
  };
  for (const [text, wanted] of [
    ["string length", "rank"],
    ["fopen", "fopen"],
    ["+", "+"],
    ["if else", "Truth"],
    ["in place", "The in-place rule"],
    ["mandelbrot", "mandelbrot"],
    ["mandelbort", "mandelbrot"],
    ["exception", "Z"],
    ["lambda", "\\"],
  ])
    assert.ok((await first(text)).includes(wanted), `${text}: ${await first(text)}`);
  await first("fopen");
  await page.click("#found a");
  await page.waitForSelector("#built-in-fopen:target");
  const ids = await page.$$eval("[id]", (all) => all.map(({ id }) => id));
  assert.equal(new Set(ids).size, ids.length);
  await page.close();
});

test("a keyboard alone is enough", async () => {
  const page = await open("index.html");
  const focused = () =>
    page.evaluate(() => document.activeElement.id || document.activeElement.getAttribute("role") || "");
  const seen = new Set();
  for (let i = 0; i < 40; ++i) {
    await page.keyboard.press("Tab");
    const at = await page.evaluate(() => document.activeElement.closest("#editor") !== null);
    seen.add(at ? "editor" : await focused());
    if (at) break;
  }
  for (const name of ["theme", "run", "share", "recent-button", "example", "editor"]) assert.ok(seen.has(name), name);
  await page.keyboard.down("Control");
  await page.keyboard.press("Enter");
  await page.keyboard.up("Control");
  await ended(page);
  assert.match(await output(page), /Hello, world!/);
  const opened = new Promise((resolve) => page.once("popup", resolve));
  for (let i = 0; i < "a\\done{p".length; ++i) await page.keyboard.press("ArrowRight");
  await page.waitForSelector("#editor .cm-content[aria-autocomplete]"); // its help has come
  await page.keyboard.press("F1");
  const reference = await opened;
  await reference.waitForSelector("#built-in-puts:target");
  await reference.close();
  await page.bringToFront();
  await page.keyboard.press("Escape");
  await page.keyboard.press("Tab");
  assert.equal(await page.evaluate(() => document.activeElement.closest("#editor")), null);
  await page.close();
});

test("the last program is there again, and the site works without a network", async () => {
  const context = await site.browser.createBrowserContext();
  const first = await open("index.html", { context });
  await write(first, "a\\done{puts(init[kept])}0");
  await first.evaluate(() => navigator.serviceWorker.ready);
  await first.close();
  const second = await open("index.html", { context });
  await second.setOfflineMode(true);
  await second.reload({ waitUntil: "load" });
  await second.waitForSelector("body[data-ready]");
  await run(second);
  assert.equal(await output(second), "kept\n");
  await second.goto(`${site.address}reference.html`);
  assert.match(await second.$eval("h1", (e) => e.textContent), /Reference/);
  await context.close();
});

test("the first page is small, and its first output comes soon", async () => {
  const page = await open("index.html");
  const [milliseconds, loaded] = await page.evaluate(
    () =>
      new Promise((resolve) => {
        const output = document.querySelector("#output");
        const loadedBy = () => performance.getEntriesByType("resource").map(({ name }) => name);
        new MutationObserver(() => resolve([performance.now(), loadedBy()])).observe(output, {
          childList: true,
          subtree: true,
        });
        document.querySelector("#run").click();
      }),
  );
  await ended(page);
  const worker = fs.readdirSync(path.join(www, "assets")).find((name) => /^worker.*js$/.test(name));
  const names = new Set(["index.html", `assets/${worker}`, ...loaded.map((url) => new URL(url).pathname.slice(1))]);
  const sum = (compress) =>
    [...names]
      .filter((name) => fs.existsSync(path.join(www, name)))
      .reduce((total, name) => total + compress(fs.readFileSync(path.join(www, name))).length, 0);
  const [gzip, brotli] = [sum(zlib.gzipSync), sum(zlib.brotliCompressSync)];
  console.log(
    `first page: ${gzip} bytes by gzip, ${brotli} by brotli; first output after ${Math.round(milliseconds)} ms`,
  );
  assert.ok(names.size > 6 && gzip < 400 * 1024, [...names].join(" "));
  assert.ok(milliseconds < 20_000);
  await page.close();
});

/// What `marl-lab COMMAND` says on standard output about a program.
function laboratorySays(command, program) {
  const file = path.join(shots, "program.marl");
  fs.writeFileSync(file, program);
  const { stdout } = spawnSync(marlLab, [command, file], { encoding: "utf8" });
  return stdout.trimEnd().split("\n");
}

const atStep = (page, n) =>
  page.waitForFunction((wanted) => document.querySelector("#panel-steps").dataset.at === wanted, {}, String(n));
async function slideTo(page, n) {
  await page.waitForFunction((wanted) => document.querySelector(".steps [type=range]").max >= wanted, {}, n);
  await page.$eval(
    ".steps [type=range]",
    (slider, wanted) => {
      slider.value = wanted;
      slider.dispatchEvent(new Event("change"));
    },
    n,
  );
  await atStep(page, n);
}
const said = (page, pattern) => shows(page, ".steps .said", pattern);
const does = (page, action) => page.$eval(`.steps [data-do="${action}"]`, (button) => button.click());

test("the steps of fact 3 are those of marl-lab, with the same part marked", async () => {
  const program = "a\\fact 3,fact\\x\\(x=0)1(x*fact(x-1))";
  // The entry's argument is an address, which is another one in each process.
  const withoutAddress = (line) => line.replace(/(?<=^0 .*fact3 )\d+/, "");
  const lines = laboratorySays("steps", program).map((line) => withoutAddress(line.trimStart()));
  assert.ok(lines.length > 100);
  const page = await open("index.html");
  await write(page, program);
  await page.click("#tab-steps");
  for (const [n, line] of lines.entries()) {
    await atStep(page, n);
    const [rule, state] = await page.evaluate(() => [
      document.querySelector(".rule").textContent,
      [...document.querySelector(".state").childNodes]
        .map((part) => (part.nodeName === "MARK" && part.textContent ? `«${part.textContent}»` : part.textContent))
        .join(""),
    ]);
    const shown = `${n}  ${rule.replace("Next: ", "").replace("The end.", "end").padEnd(16)}  ${state}`;
    assert.equal(withoutAddress(shown), line);
    await does(page, "next");
  }
  await page.waitForFunction(
    (end) => document.querySelector(".steps output").textContent === end,
    {},
    `step ${lines.length - 1} of ${lines.length - 1}`,
  );
  await does(page, "back");
  await atStep(page, lines.length - 2);
  await slideTo(page, 6);
  await page.type("[name=call]", "fact");
  const inner = lines.findIndex((line, n) => n > 6 && /fire fact/.test(line));
  await page.keyboard.press("Enter");
  await atStep(page, inner);
  await said(page, /^fact 2$/);
  assert.equal(await page.$eval(".cm-at-step", (mark) => mark.textContent), "fact(x-1)");
  await page.close();
});

test("steps lead to the first Z, show shared parts, and last as long as the reader wants", async () => {
  const page = await open("index.html");
  await write(page, "a\\5*half(4*[a]),half\\n\\n/2");
  await page.click("#tab-steps");
  await atStep(page, 0);
  await does(page, "z");
  await shows(page, ".why p", /^The result is Z$/);
  assert.deepEqual(await page.$$eval(".why li", (all) => all.map((e) => e.textContent)), [
    "over [aaaa] 2 = Z, within half [aaaa]",
    "mult 5 Z = Z",
  ]);
  const marked = () => page.$eval(".cm-at-step", (mark) => mark.textContent);
  assert.deepEqual([await page.$eval(".rule", (e) => e.textContent), await marked()], ["Next: fire over", "n/2"]);
  await page.click(".why li:last-child button");
  await shows(page, ".rule", /fire mult/);
  assert.equal(await marked(), "5*half(4*[a])");
  for (const [program, sentence] of [
    ["a\\said{puts(init(lisp([a]/2)))}0", /^lisp Z is given a Z$/],
    ["[a]/2", /^There is a Z in the value$/],
  ]) {
    await write(page, program);
    await page.click("#tab-steps");
    await does(page, "z");
    await shows(page, ".why p", sentence);
  }
  await write(page, "a\\both(J(1,K)),both\\l\\J(l,l)");
  await page.click("#tab-steps");
  await shows(page, ".steps output", /of [\d,]+$/);
  await does(page, "last");
  await shows(page, ".rule", /^The end/);
  assert.deepEqual(await page.$$eval(".tree .shared, .tree .reference", (all) => all.map((e) => e.textContent)), [
    "J #1",
    "#1",
  ]);
  await write(page, "a\\loop 1,loop\\n\\loop(n+1)");
  await page.click("#tab-steps");
  await page.waitForSelector('.steps [data-do="more"]:not([hidden])');
  await does(page, "last");
  await atStep(page, 1_000_000);
  await does(page, "z");
  await page.waitForSelector('.steps [data-do="stop"]:not([hidden])');
  await does(page, "stop");
  await said(page, /^stopped$/);
  await page.close();
});

test("a profile counts calls, and steps and profile tell what a program did that ends itself", async () => {
  const page = await open("index.html");
  await write(page, "a\\exit(twice(sum 30)),twice\\n\\n+n,sum\\n\\(n=0)0(n+sum(n-1))");
  await page.click("#tab-profile");
  await page.waitForSelector(".profile tbody tr");
  const rows = await page.$$eval(".profile tbody tr", (all) =>
    all.map((row) => [...row.cells].map((cell) => cell.textContent.replace(/,/g, ""))),
  );
  const calls = Object.fromEntries(rows.map(([name, count]) => [name, Number(count)]));
  assert.deepEqual([calls.sum, calls.twice, calls.exit], [31, 1, 1]);
  assert.match(await page.$eval(".flame", (e) => e.textContent), /^\(entry\).*sum/);
  await page.click("#tab-steps");
  await shows(page, ".steps output", /of [\d,]+$/);
  await does(page, "last");
  await shows(page, ".rule", /^Next: fire exit$/);
  await page.close();
});

test("format lays a program out, and a hover tells what a built-in is", async () => {
  const page = await open("index.html");
  const program = "a\\fact   5  ,  fact\\x\\(x=0)1(x*fact(x-1))";
  await write(page, program);
  await page.click("#format");
  const { text } = await askLaboratory({ command: "format", text: program });
  await page.waitForFunction(
    (wanted) =>
      [...document.querySelectorAll("#editor .cm-line")].map((line) => line.textContent).join("\n") === wanted,
    {},
    text,
  );
  for (const [name, kind, entry] of [
    ["puts", "builtin", /^puts.*puts\(init\[Hello\]\)/],
    ["T", "combinator", /^T combinator, Combinators/],
  ]) {
    await write(page, name);
    await (await page.waitForSelector(`#editor .m-${kind}`)).hover();
    await page.waitForSelector(".hover-entry");
    assert.match(await page.$eval(".hover-entry", (e) => e.textContent), entry);
    await page.mouse.move(0, 0);
  }
  await page.close();
});
