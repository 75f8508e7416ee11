// The pages, scripts and styles of the site, from site/, docs/ and examples/ into build/site/www.
// The WebAssembly module must stand in build/site/module. A program of the guide that does not print
// what the guide shows fails the build, and so does an exercise whose check does not tell a right
// answer from what the learner begins with.
import { execFileSync } from "node:child_process";
import crypto from "node:crypto";
import fs from "node:fs";
import path from "node:path";
import { pathToFileURL } from "node:url";
import zlib from "node:zlib";
import esbuild from "esbuild";
import { cheatsheetText, examplesOf } from "./cheatsheet";
import { contentsHtml, type Document, needsCommandLine, renderDocument, type Snippet } from "./documents";
import { type Example, galleryPage, readExamples } from "./gallery";
import { type Assets, policyOf, writeAsset, writePage } from "./page";
import { build, root, site, source, template, www } from "./places";
import { cellIds, pageEntries, readReference } from "./reference";
import { searchIndex } from "./search";
import { checkHelpers, tourPages } from "./tour";

type Machine = typeof import("./machine");

const alias = { "marl-module": path.join(build, "module/marl.js") };
const common = {
  bundle: true,
  minify: true,
  target: "es2022",
  legalComments: "none",
  absWorkingDir: site,
} as const;

/// What the tests and the build itself run of the site's code, under node.
async function bundleForNode(): Promise<Machine> {
  const banner =
    "#!/usr/bin/env node\nimport { createRequire } from 'node:module'; import nodePath from 'node:path';" +
    "import { fileURLToPath as nodeUrl } from 'node:url'; const require = createRequire(import.meta.url);" +
    "const __filename = nodeUrl(import.meta.url); const __dirname = nodePath.dirname(__filename);";
  const define = { ASSETS: "{}", STYLE_NONCE: JSON.stringify("none") };
  const forNode = { ...common, platform: "node", format: "esm", alias, define, banner: { js: banner } } as const;
  for (const [entry, out] of [
    ["command", "marl.mjs"],
    ["machine", "machine.mjs"],
    ["models", "models.mjs"],
  ]) {
    await esbuild.build({ ...forNode, entryPoints: [`tools/${entry}.ts`], outfile: path.join(build, out) });
  }
  fs.copyFileSync(path.join(build, "module/marl.wasm"), path.join(build, "marl.wasm"));
  fs.writeFileSync(path.join(build, "marl"), `#!/bin/sh\nexec node "$(dirname "$0")/marl.mjs" "$@"\n`);
  fs.chmodSync(path.join(build, "marl"), 0o755);
  return import(pathToFileURL(path.join(build, "machine.mjs")).href);
}

async function bundled(entry: string, options: esbuild.BuildOptions = {}): Promise<Uint8Array> {
  const { outputFiles } = await esbuild.build({
    ...common,
    ...options,
    entryPoints: [entry],
    write: false,
    outdir: www,
  });
  return outputFiles![0].contents;
}

interface Bundle extends Assets {
  /// What the playground's script imports, for the page to ask for at once.
  parts: string[];
}

/// The pages' scripts and styles; `files` are the others that scripts ask for.
async function bundleScripts(files: Record<string, string>): Promise<Bundle> {
  const style = writeAsset("site.css", await bundled("style/site.css"));
  const nonce = crypto.createHash("sha256").update(style).digest("base64url").slice(0, 16);
  const pages = ["play", "embed", "document", "tour", "search", "plain"];
  const { metafile } = await esbuild.build({
    ...common,
    metafile: true,
    entryPoints: pages.map((name) => `src/pages/${name}.ts`),
    outdir: path.join(www, "assets"),
    entryNames: "[name]-[hash]",
    chunkNames: "part-[hash]",
    format: "esm",
    splitting: true,
    define: { ASSETS: JSON.stringify(files), STYLE_NONCE: JSON.stringify(nonce) },
  });
  const scripts: Record<string, string> = {};
  let parts: string[] = [];
  for (const [name, { entryPoint, imports }] of Object.entries(metafile.outputs)) {
    if (!entryPoint) continue;
    const page = path.parse(entryPoint).name;
    scripts[page] = `assets/${path.basename(name)}`;
    if (page !== "play") continue;
    parts = imports
      .filter(({ kind }) => kind === "import-statement")
      .map((each) => `assets/${path.basename(each.path)}`);
  }
  return { style, scripts, parts, policy: policyOf(nonce) };
}

const withoutColours = (text: string) => text.replaceAll(/\x1b\[\d*m/g, "");

function fail(text: string): never {
  console.error(text);
  process.exit(1);
}

/// Runs a program of the guide as a reader would, and compares with what the guide shows; what it
/// does not show, with the file beside the program. One that needs what a page does not have is left
/// out: it is the only kind that may differ.
async function checkSnippet(snippet: Snippet, shown: Record<string, string>, { runProgram }: Machine) {
  if (needsCommandLine(snippet.text)) return;
  const { out, err, outcome } = await runProgram(snippet);
  const expected = JSON.stringify([
    shown[`${snippet.name}.out`] ?? snippet.out,
    shown[`${snippet.name}.err`] ?? withoutColours(snippet.err),
    snippet.status,
  ]);
  const status = outcome.ended === "exit" ? outcome.status & 0xff : outcome.ended;
  const actual = JSON.stringify([out, withoutColours(err), status]);
  if (actual !== expected) fail(`docs/guide.md, ${snippet.name}: it shows ${expected}, and the run gives ${actual}`);
}

/// An exercise's check takes its answer, and does not take what the learner begins with.
async function checkExercises(guide: Document, { runProgram, checked }: Machine) {
  const helpers = checkHelpers();
  for (const { name, start, check, answer } of guide.sections.flatMap((section) => section.exercises)) {
    const run = async (text: string) => {
      const { out, err, outcome } = await runProgram({ text: checked(text, check, helpers) });
      return { right: outcome.ended === "exit" && outcome.status === 0, said: out + err };
    };
    const solved = await run(answer);
    if (!solved.right) fail(`docs/exercises/${name}.marl is not right: ${solved.said}`);
    if ((await run(start)).right) fail(`docs/guide.md, exercise ${name}: what it begins with is right`);
  }
}

/// The examples of the cheat sheet give the values that it shows.
async function checkExamples(text: string, { runProgram }: Machine) {
  for (const [expression, value] of examplesOf(text)) {
    const { out } = await runProgram({ text: `a\\done{puts(init(lisp(${expression})))}0` });
    if (out.trimEnd() !== value) fail(`site/cheatsheet.md: ${expression} is ${out.trimEnd()}, not ${value}`);
  }
}

/// The parts of the README that a page for installing is made of.
function installText(): string {
  const sections = source("README.md").split(/^(?=## )/m);
  const wanted = ["Four commands", "Install", "The exit status in a script"];
  const found = wanted.map(
    (title) =>
      sections.find((section) => section.startsWith(`## ${title}\n`)) ?? fail(`README.md has no section ${title}`),
  );
  const intro =
    "# Install marl\n\nThe [playground](index.html) needs nothing. For the command line, take the source of this\n" +
    "version ([marl-source.tar.gz](marl-source.tar.gz), or a clone of the repository).\n\n";
  return intro + found.join("");
}

interface DocumentPage {
  name: string;
  document: Pick<Document, "title" | "body" | "contents">;
  description: string;
  script?: string;
}

function writeDocument({ name, document, description, script = "document" }: DocumentPage, assets: Assets) {
  const main = template("document.html")
    .replace("{{contents}}", () => contentsHtml(document.contents))
    .replace("{{body}}", () => document.body);
  writePage(name, { title: `${document.title} · marl`, description, main, script, kind: "reading" }, assets);
}

/// The script that keeps the site at hand without a network: it holds the name of each file, and a
/// hash over all of them.
async function writeServiceWorker() {
  const all = fs.readdirSync(www, { recursive: true, withFileTypes: true });
  const files = all
    .filter((entry) => entry.isFile() && !/\.(gz|xml|txt)$/.test(entry.name))
    .map((entry) => path.relative(www, path.join(entry.parentPath ?? entry.path, entry.name)))
    .sort();
  const hash = crypto.createHash("sha256");
  for (const name of files) hash.update(name).update(fs.readFileSync(path.join(www, name)));
  const define = {
    FILES: JSON.stringify(files),
    VERSION: JSON.stringify(hash.digest("hex").slice(0, 16)),
  };
  fs.writeFileSync(path.join(www, "offline.js"), await bundled("src/offline.ts", { format: "iife", define }));
}

/// A smaller copy beside each file, for servers that hand out such.
function compress() {
  for (const entry of fs.readdirSync(www, { recursive: true, withFileTypes: true })) {
    if (!entry.isFile() || entry.name.endsWith(".gz")) continue;
    const file = path.join(entry.parentPath ?? entry.path, entry.name);
    fs.writeFileSync(`${file}.gz`, zlib.gzipSync(fs.readFileSync(file), { level: 9 }));
  }
}

function exampleOptions(examples: Example[]): string {
  const themes = [...new Set(examples.map(({ theme }) => theme))];
  const option = ({ name, about }: Example) => `<option value="${name}">${name}: ${about.replaceAll("`", "")}</option>`;
  return themes
    .map((theme) => {
      const of = examples.filter((example) => example.theme === theme && !needsCommandLine(example.text));
      return `<optgroup label="${theme}">${of.map(option).join("\n")}</optgroup>`;
    })
    .join("\n");
}

async function main() {
  fs.rmSync(www, { recursive: true, force: true });
  fs.mkdirSync(path.join(www, "assets"), { recursive: true });
  for (const name of fs.readdirSync(path.join(site, "public"))) {
    fs.copyFileSync(path.join(site, "public", name), path.join(www, name));
  }
  const machine = await bundleForNode();
  const highlight = machine.highlightedHtml;
  const reference = readReference();
  const read = (name: string, more = {}) => renderDocument(source(name), { highlight, ...more });
  const snippets = path.join(root, "docs/snippets");
  const guide = read("docs/guide.md", { snippets });
  for (const snippet of guide.programs) await checkSnippet(snippet, guide.shown, machine);
  await checkExercises(guide, machine);
  const cheatsheet = cheatsheetText(reference);
  await checkExamples(cheatsheet, machine);
  const examples = readExamples();
  for (const example of examples) {
    if (!example.out && !needsCommandLine(example.text)) example.out = (await machine.runProgram(example)).out;
  }

  const documents = [
    {
      name: "guide.html",
      document: guide,
      description: "The language in an hour, from the first program to a server.",
    },
    {
      name: "reference.html",
      document: read("docs/reference.md", { ids: cellIds(reference) }),
      description: "Every operator, every built-in, every Report.",
    },
    {
      name: "mistakes.html",
      document: read("docs/mistakes.md"),
      description: "Forty programs as a beginner would write them, and what is wrong.",
    },
    {
      name: "design.html",
      document: read("docs/design.md"),
      description: "How the machine is built, why, and what must stay true.",
    },
    {
      name: "browser.html",
      document: read("site/browser.md"),
      description: "What differs between a page and the command line.",
    },
  ];
  // Code for node stands in the module's file as well; a page never gets there.
  const worker = await bundled("src/machine/worker.ts", {
    format: "iife",
    alias,
    external: ["fs", "path", "child_process", "crypto"],
  });
  const pageExamples = examples.map(({ name, text, arguments: words, input, files }) => ({
    name,
    text,
    arguments: words,
    input,
    files,
  }));
  const assets = await bundleScripts({
    wasm: writeAsset("marl.wasm", fs.readFileSync(path.join(build, "module/marl.wasm"))),
    worker: writeAsset("worker.js", worker),
    reference: writeAsset("reference.json", JSON.stringify(pageEntries(reference))),
    examples: writeAsset("examples.json", JSON.stringify(pageExamples)),
    search: writeAsset(
      "search.json",
      searchIndex({
        reference,
        documents: documents
          .filter(({ name }) => name !== "reference.html")
          .map(({ name, document }) => ({ document, href: name })),
        examples,
      }),
    ),
  });

  for (const page of documents) {
    const search = page.name === "reference.html" ? template("search.html") : "";
    writeDocument(
      { ...page, document: { ...page.document, body: page.document.body.replace("</h1>\n", `</h1>\n${search}`) } },
      assets,
    );
  }
  writeDocument(
    { name: "examples.html", document: galleryPage(examples, highlight), description: "Programs that do something." },
    assets,
  );
  writeDocument(
    {
      name: "install.html",
      document: renderDocument(installText(), { highlight }),
      description: "How to get marl for the command line.",
      script: "plain",
    },
    assets,
  );
  const sheet = renderDocument(cheatsheet, { highlight });
  const sections = sheet.sections.slice(1).map(({ body }) => `<section>${body}</section>`);
  writePage(
    "cheatsheet.html",
    {
      title: "Cheat sheet · marl",
      description: "marl on one page of paper.",
      main: `<div class="cheatsheet"><h1>marl on a page <button type="button" id="print">Print</button></h1><div class="columns">${sections.join("")}</div></div>`,
      script: "plain",
      kind: "wide",
    },
    assets,
  );
  for (const { name, title, main } of tourPages(
    renderDocument(source("docs/guide.md"), { highlight, snippets, up: "../" }),
  )) {
    writePage(
      name,
      {
        title: `${title} · a tour of marl`,
        description: `A tour of marl: ${title}.`,
        main,
        script: "tour",
        kind: "wide",
      },
      assets,
    );
  }
  writePage(
    "search.html",
    {
      title: "Search · marl",
      description: "Search in the guide, the reference and the examples.",
      main: `<div class="searching"><h1>Search</h1>${template("search.html")}</div>`,
      script: "search",
      kind: "reading",
    },
    assets,
  );
  writePlaygrounds(examples, assets, highlight);
  writeNotFound(assets);
  execFileSync(
    "git",
    ["archive", "--format=tar.gz", "--prefix=marl/", "-o", path.join(www, "marl-source.tar.gz"), "HEAD"],
    { cwd: root },
  );
  await writeServiceWorker();
  compress();
  console.log(`${guide.programs.length} programs of the guide do what it shows`);
}

function writePlaygrounds(examples: Example[], assets: Bundle, highlight: (text: string) => string) {
  const program = highlight(template("hello.marl"));
  const preload = assets.parts.map((part) => `<link rel="modulepreload" href="${part}">\n`).join("");
  writePage(
    "index.html",
    {
      title: "marl",
      description: "A small lazy functional language. Write a program, run it, watch it reduce.",
      main: template("play.html")
        .replace("{{examples}}", exampleOptions(examples))
        .replace("{{program}}", () => program),
      script: "play",
      kind: "wide",
      preload,
    },
    assets,
  );
  writePage(
    "play.html",
    {
      title: "marl, a program",
      description: "A program in marl, to run and to change.",
      main: template("embed.html").replace("{{program}}", () => program),
      script: "embed",
      kind: "bare",
    },
    assets,
  );
}

/// A server shows it for any address, so its own links begin at the site's: SITE_BASE, or the host.
function writeNotFound(assets: Assets) {
  const base = process.env.SITE_BASE ?? "/";
  writePage(
    "404.html",
    {
      title: "Not found · marl",
      description: "There is no such page.",
      main: '<div class="searching"><h1>There is no such page</h1><p>Perhaps it has moved: <a href="search.html">search</a>, or begin at the <a href="index.html">playground</a>.</p></div>',
      script: "plain",
      kind: "reading",
    },
    assets,
  );
  const file = path.join(www, "404.html");
  fs.writeFileSync(file, fs.readFileSync(file, "utf8").replace("<title>", `<base href="${base}">\n<title>`));
}

await main();
