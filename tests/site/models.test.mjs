// The models of the pages, without a page.
import assert from "node:assert/strict";
import http from "node:http";
import path from "node:path";
import { test } from "node:test";
import { fileURLToPath } from "node:url";

const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), "../..");
const models = await import(path.join(root, "build/site/models.mjs"));
const { OutputModel, Programs, endingOf, fragmentOf, givenBy, piecesOf, showingValue, indentBehind } = models;

const bytes = (text) => new TextEncoder().encode(text);
const given = (text) => ({ text, arguments: [], input: "", files: [] });

/// A storage as the browser's, with so much room.
function storage(room = Number.POSITIVE_INFINITY) {
  const items = new Map();
  return {
    get length() {
      return items.size;
    },
    key: (i) => [...items.keys()][i] ?? null,
    getItem: (key) => items.get(key) ?? null,
    setItem(key, text) {
      if (text.length > room) throw new Error("QuotaExceededError");
      items.set(key, text);
    },
    removeItem: (key) => items.delete(key),
  };
}

test("a link brings back what it was made of, and one that is broken, too long or unknown says so", async () => {
  const whole = { text: "a\\0 [ä€]", arguments: ["x", ""], input: "in\n", files: [{ name: "f", text: "g" }] };
  const fragment = await fragmentOf(whole);
  assert.deepEqual(await givenBy(fragment), whole);
  assert.equal(await givenBy("#section"), undefined);
  await assert.rejects(givenBy(fragment.slice(0, -9)), /broken/);
  await assert.rejects(givenBy(`#program=${"A".repeat(65_536)}`), /longer than 64 KB/);
  await assert.rejects(givenBy(await fragmentOf(given(" ".repeat(1_048_577)))), /more than a megabyte/);
  let state = 1;
  const random = () => (state = (state * 48271) % 2147483647);
  const noise = String.fromCharCode(...Array.from({ length: 90_000 }, () => 33 + (random() % 90)));
  await assert.rejects(fragmentOf(given(noise)), /too long for a link/);
});

test("each program is kept by itself, and an old one makes room", () => {
  const [store, tab] = [storage(2000), storage()];
  let now = 0;
  const programs = new Programs(
    () => store,
    () => tab,
    () => ++now,
  );
  assert.ok(programs.write("one", given("a\\1")) && programs.write("two", given("a\\2")));
  assert.ok(programs.write("one", given("a\\11")));
  assert.deepEqual(
    programs.list().map(({ id, given: { text } }) => [id, text]),
    [
      ["one", "a\\11"],
      ["two", "a\\2"],
    ],
  );
  for (let i = 0; i < 50; ++i) programs.write(`more${i}`, given(""));
  assert.equal(programs.list().length, 40);
  assert.equal(programs.read("two"), undefined);
  assert.equal(programs.write("large", given("x".repeat(3000))), false);
  store.setItem("marl.program.odd", '{"given":{"text":1}}');
  assert.equal(programs.read("odd"), undefined);
  const forbidden = new Programs(
    () => {
      throw new Error("forbidden");
    },
    () => tab,
  );
  assert.deepEqual([forbidden.list(), forbidden.write("x", given(""))], [[], false]);
});

test("output is cut into blocks that hold all of it in its order", () => {
  const model = new OutputModel();
  const lines = Array.from({ length: 5000 }, (_, i) => `${i}\n`).join("");
  const long = "€".repeat(30_000);
  for (const text of [lines, long, "\n", "end"])
    for (const half of [bytes(text).slice(0, 1), bytes(text).slice(1)]) model.write(1, half);
  assert.equal(model.text(), `${lines}${long}\nend`);
  assert.ok(model.blocks.every(({ lines: count, size }) => count <= 200 && size <= 4096));
  assert.ok(model.blocks.length < 60);
  assert.ok(model.blocks.some(({ goesOn }) => goesOn));
});

test("standard error keeps its colours, and gives a picture away", () => {
  const model = new OutputModel();
  model.write(1, bytes("before\n"));
  model.write(2, bytes("fault\n/\\ \x1b[3"));
  model.write(2, bytes("1mred\x1b[m\n"));
  assert.deepEqual(
    model.blocks[0].runs.map(({ style, text }) => [style, text]),
    [
      ["out", "before\n"],
      ["err", "fault\n/\\ "],
      ["err red", "red"],
      ["err", "\n"],
    ],
  );
  assert.equal(model.cutErrors("/\\"), "/\\ red\n");
  assert.equal(model.text(), "before\nfault\n");
  assert.equal(model.cutErrors("/\\"), "");
  const value = new OutputModel("\u0002");
  value.write(1, bytes("printed\n\u0002(J1"));
  value.write(1, bytes(" K)\n"));
  assert.deepEqual([value.value(), value.text()], ["(J1 K)", "printed\n(J1 K)\n"]);
});

test("an ending says what a status means", () => {
  const end = (status, withheld = 0) => ({ outcome: { ended: "exit", status }, milliseconds: 2, withheld });
  const told = (...words) => {
    const { tone, words: said } = endingOf(...words);
    return [tone, said.join(" · ")];
  };
  assert.deepEqual(told(end(0)), ["fine", "exit status 0 · 2.0 ms"]);
  assert.deepEqual(told(end(258)), ["fine", "exit status 258 · 2.0 ms · a shell shows 2, its low 8 bits"]);
  assert.deepEqual(told(end(0xfffffffb)), [
    "fine",
    "exit status 4294967291 · 2.0 ms · as a signed number -5 · a shell shows 251, its low 8 bits",
  ]);
  assert.deepEqual(told(end(0x80000000)), ["failed", "ended in a Report · 2.0 ms"]);
  assert.deepEqual(told(end(0), "Z"), ["doubtful", "the value is Z, a failure · 2.0 ms"]);
  assert.deepEqual(told(end(0, 5), "1"), [
    "fine",
    "the value of an expression · 2.0 ms · 5 bytes more of output not shown",
  ]);
  assert.deepEqual(told({ outcome: { ended: "stopped" }, milliseconds: 2000, withheld: 3e6 }), [
    "failed",
    "stopped · 2.00 s · 3 MB more of output not shown",
  ]);
});

test("a program is cut at its commas, and an expression is told from a function", () => {
  const text = "a\\f(1,[x,y]),\n[a note, with a comma],\nfact\\n\\n,\n[+]\\plus";
  assert.deepEqual(
    piecesOf(text).map(({ name }) => name),
    [undefined, undefined, "fact", "+"],
  );
  assert.equal(
    piecesOf(text)
      .map(({ from, to }) => text.slice(from, to))
      .join(","),
    text,
  );
  const { from, to } = models.definitionOf(text, "fact");
  assert.equal(text.slice(from, to), "fact\\n\\n");
  const shown = showingValue("1+[ä],x\\2", true);
  const placed = (line, column, length, file = "program") =>
    models.placeIn("1+[ä],x\\2", shown, { file, line, column, length });
  const entry = shown.indexOf("1+");
  assert.deepEqual(
    [
      placed(1, entry + 3, 4),
      placed(2, shown.split("\n")[1].indexOf("x") + 1, 3),
      placed(1, 1, 3),
      placed(1, 25, 3, "list.marl"),
    ],
    [{ from: 2, to: 5 }, { from: 6, to: 9 }, undefined, undefined],
  );
  const isValue = (program, warned) => showingValue(program, warned) !== undefined;
  for (const [program, warned, expected] of [
    ["1+1", true, true],
    ["fact 20,fact\\n\\n", true, true],
    ["a\\0", true, false],
    [" long_name \\0", true, false],
    ["main,main\\a\\0", false, false],
    ["(1=1)[yes][no]", false, true],
    ["x{3}x+1", false, true],
    ["", true, false],
  ])
    assert.equal(isValue(program, warned), expected, program);
});

test("a line is indented by the brackets that are open, and begins anew behind a definition", () => {
  for (const [before, line, expected] of [
    ["", "", 0],
    ["a\\", "", 2],
    ["a\\\n  show(", "", 4],
    ["a\\\n  show(\n    1", ")", 2],
    ["a\\f{g(", "", 6],
    ["a\\0,", "", 0],
    ["a\\0,\n\n[a note],\n", "", 0],
    ["a\\[text", "", undefined],
    ["a\\0,f\\n\\", "", 2],
  ])
    assert.equal(indentBehind(before, line), expected, before);
});

test("a name of the library brings the use of its theme, once", () => {
  const used = (text, theme) => {
    const use = models.useOf(text, theme);
    return use ? text.slice(0, use.from) + use.insert + text.slice(use.from) : text;
  };
  for (const [text, expected] of [
    ["map\n", "map,\n\n[use: list]\n"],
    ["a\\[[]],ff\\map", "a\\[[]],\n\n[use: list],ff\\map"],
    ["map,[use: base ./f.marl ],ff\\1", "map,[use: base ./f.marl list ],ff\\1"],
    ["[use: base],ff\\map", "[use: base list],ff\\map"],
    ["map,[use: base],[use: list]", "map,[use: base],[use: list]"],
  ])
    assert.equal(used(text, "list"), expected);
});

test("a state's line is cut by bytes, and what is left out unfolds in its place", () => {
  const line = "(BI «ä») . (f 1)";
  const start = bytes("(BI «ä») . ").length;
  assert.deepEqual(models.cutLine({ line, redex: { start, length: 5 } }), ["(BI «ä») . ", "(f 1)", ""]);
  assert.deepEqual(models.piecesOfLine("(f <12 nodes> <over 9 bytes>)"), [
    { text: "(f " },
    { hole: "<12 nodes>" },
    { text: " " },
    { hole: "<over 9 bytes>" },
    { text: ")" },
  ]);
  const log = [
    { state: 3, text: "a" },
    { state: 7, text: "b" },
  ];
  assert.deepEqual(
    [3, 4, 8].map((n) => models.writtenBy(log, n)),
    ["", "a", "ab"],
  );
});

test("calls make a tree, and stacks of calls one of frames", () => {
  const events = [
    { n: 1, depth: 0, call: "f 2" },
    { n: 3, depth: 1, call: "f 1" },
    { n: 5, depth: 1, answer: "1" },
    { n: 6, depth: 1, call: "g" },
    { n: 8, depth: 1, answer: "2" },
    { n: 9, depth: 0, answer: "3" },
    { n: 10, depth: 0, call: "h" },
  ];
  assert.deepEqual(models.callTree(events), [
    {
      n: 1,
      call: "f 2",
      answer: "3",
      below: [
        { n: 3, call: "f 1", answer: "1", below: [] },
        { n: 6, call: "g", answer: "2", below: [] },
      ],
    },
    { n: 10, call: "h", below: [] },
  ]);
  const { steps, below } = models.framesOf("a;b 3\na 4\n");
  assert.deepEqual([steps, below.get("a").steps, below.get("a").below.get("b").steps], [7, 7, 3]);
});

test("what waits in a context stands in its order, shared parts by number", () => {
  const leaf = (id, text) => ({ id, leaf: text });
  const of = (id, head, argument) => ({ id, of: [head, argument] });
  const context = of(1, of(2, leaf(3, "B"), leaf(4, "I")), of(5, leaf(6, "mult"), { id: 9, again: true }));
  const shared = models.sharedParts([of(9, leaf(7, "f"), leaf(8, "x")), context]);
  assert.deepEqual(models.waitingIn(context, shared), ["(mult #1) …"]);
});

test("the server answers any path, and says that a port is taken", async (context) => {
  const www = path.join(root, "build/site/www");
  const { server, address } = await models.serve(www);
  context.after(() => server.close().closeAllConnections());
  const { port } = new URL(address);
  const ask = (target) =>
    new Promise((resolve, reject) => {
      http
        .get({ port, host: "127.0.0.1", path: target }, (response) => {
          response.resume().on("end", () => resolve(response));
        })
        .on("error", reject);
    });
  for (const [target, status] of [
    ["/", 200],
    ["//", 200],
    ["/%", 404],
    ["/%00", 404],
    ["/../../package.json", 404],
    ["/tour/", 200],
    ["/nowhere", 404],
    ["//x/y?z", 404],
    ["/index.html?x", 200],
  ]) {
    const response = await ask(target);
    assert.equal(response.statusCode, status, target);
    assert.match(
      response.headers["content-security-policy"],
      /default-src 'none'; script-src 'self' 'wasm-unsafe-eval'/,
    );
  }
  await assert.rejects(models.serve(www, Number(port)), { code: "EADDRINUSE" });
});
