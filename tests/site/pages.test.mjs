// The pages in headless Chromium, as a reader uses them. No test may leave an error in the console,
// and no page may ask any other host for anything.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import fs from "node:fs";
import { createRequire } from "node:module";
import path from "node:path";
import { after, before, test } from "node:test";
import { fileURLToPath } from "node:url";
import zlib from "node:zlib";
import { serve } from "../../site/tools/serve.mjs";

const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), "../..");
const puppeteer = createRequire(path.join(root, "site/package.json"))("puppeteer-core");
const shots = path.join(root, "build/site/shots");
const www = path.join(root, "build/site/www");

const { askLaboratory } = await import(path.join(root, "build/site/machine.mjs"));
/// What the laboratory of this build can't do has no place in its pages either.
const known = await askLaboratory({ command: "commands" });
const needs = (command) => ({ skip: !known.includes(command) });

let browser, server, address;
const faults = [];

before(async () => {
  ({ server, address } = await serve());
  browser = await puppeteer.launch({
    executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
    args: ["--no-sandbox", "--disable-dev-shm-usage"],
    protocolTimeout: 240_000,
  });
  fs.mkdirSync(shots, { recursive: true });
});

after(async () => {
  await browser?.close();
  server?.close();
  assert.deepEqual(faults, []);
});

/// A page in a profile of its own, watched for errors and for requests that leave the site.
async function open(name, { width = 1280, height = 850, context } = {}) {
  const own = context ?? (await browser.createBrowserContext());
  const page = await own.newPage();
  page.setDefaultTimeout(60_000);
  await page.setViewport({ width, height });
  page.on("pageerror", (error) => faults.push(`${name}: ${error}`));
  page.on("console", (message) => {
    if (message.type() === "error") faults.push(`${name}: ${message.text()}`);
  });
  page.on("request", (request) => {
    const url = request.url();
    if (!url.startsWith(address) && !/^(data|blob):/.test(url)) faults.push(`${name} asks ${url}`);
  });
  await page.goto(address + name, { waitUntil: "load" });
  if (/^(index.html|#|$)/.test(name)) await page.waitForSelector("body[data-ready]");
  return page;
}

async function write(page, text) {
  await page.click("#editor .cm-content");
  await page.keyboard.down("Control");
  await page.keyboard.press("KeyA");
  await page.keyboard.up("Control");
  // A paste, so that closing brackets are not added to those that come.
  await page.evaluate((inserted) => {
    const data = new DataTransfer();
    data.setData("text/plain", inserted);
    document.querySelector("#editor .cm-content").dispatchEvent(
      new ClipboardEvent("paste", { clipboardData: data, bubbles: true, cancelable: true }));
  }, text);
}

const ended = (page) =>
  page.waitForFunction(() => /fine|failed/.test(document.querySelector("#status").className));
const output = (page) => page.$eval("#output", (element) => element.textContent);
const status = (page) => page.$eval("#status", (element) => element.textContent);

async function run(page) {
  await page.evaluate(() => (document.querySelector("#status").className = "status"));
  await page.click("#run");
  await ended(page);
}

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
  await write(page, `a\\p{refk(a+8)}say(post(p,strlen p));say(init(getchar));f{fopen(init[f.txt],init[r])}
    say(init(fgetc f));0,say\\t\\done(puts t),done\\x\\I`);
  await page.evaluate(() => (document.querySelector("#given").open = true));
  await page.type("#arguments", "one\ntwo");
  await page.type("#input", "xyz");
  await page.click("#add-file");
  await page.type(".file input", "f.txt");
  await page.type(".file textarea", "q");
  await run(page);
  assert.equal(await output(page), "two\nx\nq\n");
  await page.close();
});

test("a Report comes with its colours, and a fault is underlined with its sentence", async () => {
  const page = await open("index.html");
  await write(page, "a\\(1+2,ff\\1");
  await page.waitForSelector(".cm-lintRange-error");
  const { messages } = await askLaboratory({ command: "check", text: "a\\(1+2,ff\\1" });
  await page.waitForFunction((say) => document.querySelector("#verdict").textContent.includes(say), {}, messages[0].say);
  await write(page, "a\\road[\xe1]");
  await run(page);
  assert.match(await output(page), /\/\\uck_________/);
  assert.match(await status(page), /^ended in a Report/);
  assert.notEqual(await page.$("#output .err.red"), null);
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
  await write(other, (await other.$eval("#editor .cm-content", (e) => e.innerText)).replace("puts(refk a);0", "done{puts(refk a)}7"));
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
  await write(page, "a\\done{puts(init([]+sum(range(1,1000000),0)))}0,range\\i\\n\\(n<i)K(J(i,range(i+1,n)))," +
    "sum\\l\\s\\l(s,h\\t\\sum(t,s+h))");
  await run(page);
  assert.equal(await output(page), "500000500000\n");
  await write(page, "a\\grow[ab],grow\\t\\grow(t+t)");
  await run(page);
  assert.match(await status(page), /exit status 1|ended/);
  await page.close();
});

test("every program of the guide runs in its place", async () => {
  const page = await open("guide.html");
  const names = await page.$$eval(".program", (all) => all.map((box) => box.dataset.name));
  assert.ok(names.length > 30);
  for (const name of names) {
    const box = await page.$(`.program[data-name="${name}"]`);
    await box.$eval(".run", (button) => button.click());
    await page.waitForFunction((it) => /fine|failed/.test(it.querySelector(".status").className), {}, box);
    if (name === "23-server") continue;  // a page has no sockets
    const read = (ending) => {
      const file = path.join(root, "docs/snippets", name + ending);
      return fs.existsSync(file) ? fs.readFileSync(file, "utf8").replace(/\x1b\[\d*m/g, "") : "";
    };
    assert.equal(await box.$eval(".run-output", (e) => e.textContent), read(".out") + read(".err"), name);
  }
  await page.close();
});

test("a program of the guide can be changed in its place", async () => {
  const page = await open("guide.html");
  const box = await page.$('.program[data-name="02-status"]');
  await box.$$eval(".bar button", ([, change]) => change.click());
  const content = await box.waitForSelector(".cm-content");
  await content.click();
  await page.keyboard.down("Control");
  await page.keyboard.press("Home");
  await page.keyboard.up("Control");
  await page.keyboard.press("End");
  for (const key of ["ArrowLeft", "Backspace", "2"]) await page.keyboard.press(key);
  await page.keyboard.down("Control");
  await page.keyboard.press("Enter");
  await page.keyboard.up("Control");
  await page.waitForFunction((it) => /exit status 44/.test(it.querySelector(".status").textContent), {}, box);
  await page.close();
});

test("the reference is searched by name and by word", async () => {
  const page = await open("reference.html");
  await page.type("#search", "fopen");
  await page.waitForSelector("#found a");
  assert.match(await page.$eval("#found a", (e) => e.textContent), /^fopen/);
  await page.click("#found a");
  assert.equal(await page.$eval("td:target", (e) => e.textContent), "fopen");
  await page.close();
});

test("a keyboard alone is enough", async () => {
  const page = await open("index.html");
  const focused = () => page.evaluate(() => document.activeElement.id || document.activeElement.getAttribute("role") || "");
  const seen = new Set();
  for (let i = 0; i < 40; ++i) {
    await page.keyboard.press("Tab");
    const at = await page.evaluate(() => document.activeElement.closest("#editor") !== null);
    seen.add(at ? "editor" : await focused());
    if (at) break;
  }
  for (const name of ["theme", "run", "share", "example", "editor"]) assert.ok(seen.has(name), name);
  await page.keyboard.down("Control");
  await page.keyboard.press("Enter");
  await page.keyboard.up("Control");
  await ended(page);
  assert.match(await output(page), /Hello, world!/);
  await page.keyboard.press("Escape");
  await page.keyboard.press("Tab");
  assert.equal(await page.evaluate(() => document.activeElement.closest("#editor")), null);
  await page.close();
});

test("the last program is there again, and the site works without a network", async () => {
  const context = await browser.createBrowserContext();
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
  await second.goto(`${address}reference.html`);
  assert.match(await second.$eval("h1", (e) => e.textContent), /Reference/);
  await context.close();
});

test("pages fit a narrow screen and a wide one, dark and light", async () => {
  for (const [width, height] of [[390, 844], [1280, 850]]) {
    for (const name of ["index.html", "guide.html", "reference.html", "examples.html", "browser.html"]) {
      const page = await open(name, { width, height });
      if (name === "index.html") await run(page);
      for (const theme of ["light", "dark"]) {
        await page.evaluate((value) => (document.documentElement.dataset.theme = value), theme);
        await page.screenshot({ path: path.join(shots, `${path.parse(name).name}-${width}-${theme}.png`) });
      }
      const over = await page.evaluate(() => document.documentElement.scrollWidth - innerWidth);
      assert.ok(over <= 0, `${name} at ${width} is ${over} too wide`);
      await page.close();
    }
  }
});

test("the first page is small, and its first output comes soon", async () => {
  const page = await open("index.html");
  const start = await page.evaluate(() => performance.now());
  await run(page);
  const loaded = await page.evaluate(() => performance.getEntriesByType("resource").map(({ name }) => name));
  const names = new Set(["index.html", ...loaded.map((url) => path.basename(new URL(url).pathname))]);
  names.add("marl.wasm").add("worker.js");
  const sum = (compress) => [...names].filter((name) => fs.existsSync(path.join(www, name)) && name !== "offline.js")
    .reduce((total, name) => total + compress(fs.readFileSync(path.join(www, name))).length, 0);
  const gzip = sum((bytes) => zlib.gzipSync(bytes, { level: 9 }));
  const brotli = sum((bytes) => zlib.brotliCompressSync(bytes));
  const until = await page.evaluate(() => performance.now());
  console.log(`first page: ${Math.round(brotli / 1024)} KB brotli, ${Math.round(gzip / 1024)} KB gzip; ` +
    `first output ${Math.round(until)} ms after the load began, ${Math.round(until - start)} ms after the click`);
  assert.ok(brotli < 400 * 1024);
  await page.close();
});

test("the steps of fact 3 are those of marl-lab, with the same part marked, and lead to calls and to Z", needs("steps"), async () => {
  const program = "a\\fact 3,fact\\x\\(x=0)1(x*fact(x-1))";
  const file = path.join(shots, "fact3.marl");
  fs.writeFileSync(file, program);
  const lines = execFileSync(process.env.MARL_LAB ?? path.join(root, "build/release/marl-lab"), ["steps", file])
    .toString().split("\n").filter((line) => /^ *\d+  /.test(line));
  assert.ok(lines.length > 50);
  const page = await open("index.html");
  await write(page, program);
  await page.waitForSelector("#tab-steps:not([hidden])");
  await page.click("#tab-steps");
  const state = (n) => page.waitForFunction((wanted) => document.querySelector("#panel-steps").dataset.at === wanted, {}, String(n))
    .then(() => page.$eval(".state", (e) => e.innerHTML.replace(/<mark>(.*?)<\/mark>/, (_, part) => part && `\u00ab${part}\u00bb`)
      .replaceAll("&lt;", "<").replaceAll("&gt;", ">").replaceAll("&amp;", "&")));
  for (let n = 0; n < lines.length; ++n) {
    const shown = await state(n);
    assert.ok(lines[n].endsWith(`  ${shown}`), `state ${n}: ${shown}, and marl-lab: ${lines[n]}`);
    await page.$eval('[data-do="next"]', (button) => button.click());
  }
  await page.click('[data-do="first"]');
  await state(0);
  await page.type("[name=call]", "fact");
  await page.keyboard.press("Enter");
  await page.waitForFunction(() => /^fact/.test(document.querySelector("#panel-steps .said").textContent));
  assert.match(await page.$eval(".rule", (e) => e.textContent), /fire fact/);
  assert.notEqual(await page.$(".picture svg.tree text"), null);
  await page.screenshot({ path: path.join(shots, "steps-1280.png") });
  await write(page, "a\\half(4*[a]),half\\n\\n/2");
  await page.click("#tab-steps");
  await page.waitForFunction(() => document.querySelector(".state").textContent.includes("half"));
  await page.click('[data-do="z"]');
  await page.waitForFunction(() => /mult|\*/.test(document.querySelector("#panel-steps .said").textContent));
  await page.close();
});

test("a profile names what was called, in a table and a picture", needs("profile"), async () => {
  const page = await open("index.html");
  await write(page, "a\\twice(sum 30),twice\\n\\n+n,sum\\n\\(n=0)0(n+sum(n-1))");
  await page.waitForSelector("#tab-profile:not([hidden])");
  await page.click("#tab-profile");
  await page.waitForSelector(".profile table");
  const rows = await page.$$eval(".profile tbody tr", (all) => all.map((row) => [...row.cells].map((cell) => cell.textContent)));
  assert.deepEqual(rows.find(([name]) => name === "sum").slice(0, 2), ["sum", "31"]);
  assert.notEqual(await page.$(".flame-box"), null);
  await page.screenshot({ path: path.join(shots, "profile-1280.png") });
  await page.close();
});

test("format lays a program out, and a hover tells what a built-in is", needs("format"), async () => {
  const page = await open("index.html");
  await write(page, "a\\fact   5  ,  fact\\x\\(x=0)1(x*fact(x-1))");
  await page.waitForSelector("#format:not([hidden])");
  await page.click("#format");
  await page.waitForFunction(() => !document.querySelector("#editor .cm-content").innerText.includes("   5"));
  await write(page, "puts");
  const name = await page.waitForSelector("#editor .m-builtin");
  await name.hover();
  await page.waitForSelector(".hover-entry");
  assert.match(await page.$eval(".hover-entry", (e) => e.textContent), /^puts/);
  await page.close();
});
