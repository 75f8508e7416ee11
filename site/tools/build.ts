// The pages, scripts and styles of the site, from site/, docs/ and examples/ into build/site/www.
// The WebAssembly module must stand in build/site/module. A program of the guide that does not print
// what the guide shows fails the build, and so does an exercise whose check does not tell a right
// answer from what the learner begins with.
import { execFileSync } from "node:child_process";
import crypto from "node:crypto";
import fs from "node:fs";
import path from "node:path";
import zlib from "node:zlib";
import { bundled, bundledWorker, bundleForNode, bundleScripts } from "./bundle";
import { cheatsheetText } from "./cheatsheet";
import { checkExamples, checkExercises, checkLinks, checkSnippet } from "./checks";
import { type Document, needsCommandLine, renderDocument, type Settings } from "./documents";
import { type Example, readExamples } from "./gallery";
import { libraryEntries, readLibrary, type Theme } from "./library";
import { writeAsset } from "./page";
import * as pages from "./pages";
import { build, root, site, source, www } from "./places";
import { cellIds, pageEntries, type Reference, readReference } from "./reference";
import { searchIndex } from "./search";

type Machine = Awaited<ReturnType<typeof bundleForNode>>;

/// All that the pages are made of.
interface Read {
  guide: Document;
  documents: (pages.DocumentPage & { document: Document })[];
  reference: Reference;
  cheatsheet: string;
  examples: Example[];
  library: Theme[];
}

const snippets = path.join(root, "docs/snippets");

async function readAll(machine: Machine): Promise<Read> {
  const { highlightedHtml: highlight } = machine;
  const reference = readReference();
  const read = (name: string, more: Partial<Settings> = {}) => renderDocument(source(name), { highlight, ...more });
  const guide = read("docs/guide.md", { snippets });
  const ids = cellIds(reference);
  const about: [string, Document, string][] = [
    ["guide.html", guide, "The language in an hour, from the first program to a server."],
    ["reference.html", read("docs/reference.md", { ids }), "Every operator, every built-in, every Report."],
    ["mistakes.html", read("docs/mistakes.md"), "Programs as a beginner would write them, and what is wrong."],
    ["design.html", read("docs/design.md"), "How the machine is built, why, and what must stay true."],
    ["browser.html", read("site/browser.md"), "What differs between a page and the command line."],
  ];
  const documents = about.map(([name, document, description]) => ({ name, document, description }));
  return {
    guide,
    documents,
    reference,
    cheatsheet: cheatsheetText(reference),
    examples: readExamples(),
    library: await readLibrary(machine),
  };
}

/// Tries out what the documents say, and runs the examples whose output no file holds.
async function tryOut({ guide, cheatsheet, examples }: Read, machine: Machine) {
  for (const snippet of guide.programs) await checkSnippet(snippet, guide.shown, machine);
  await checkExercises(guide, machine);
  await checkExamples(cheatsheet, machine);
  for (const example of examples) {
    if (!example.out && !needsCommandLine(example.text)) example.out = (await machine.runProgram(example)).out;
  }
}

async function writeAssets({ documents, reference, examples, library }: Read) {
  const shown = examples.map(({ name, text, arguments: words, input, files }) => ({
    name,
    text,
    arguments: words,
    input,
    files,
  }));
  // The reference is in the index by its entries.
  const others = documents.filter(({ name }) => name !== "reference.html");
  const sought = others.map(({ name, document }) => ({ document, href: name }));
  return bundleScripts({
    marl: writeAsset("marl.wasm", fs.readFileSync(path.join(build, "module/marl.wasm"))),
    marlWorker: writeAsset("worker.js", await bundledWorker("marl")),
    laboratory: writeAsset("laboratory.wasm", fs.readFileSync(path.join(build, "module/laboratory.wasm"))),
    laboratoryWorker: writeAsset("laboratory.js", await bundledWorker("laboratory")),
    entries: writeAsset("entries.json", JSON.stringify([...pageEntries(reference), ...libraryEntries(library)])),
    library: writeAsset(
      "library.json",
      JSON.stringify(Object.fromEntries(library.map(({ name, text }) => [name, text]))),
    ),
    examples: writeAsset("examples.json", JSON.stringify(shown)),
    search: writeAsset("search.json", searchIndex({ reference, documents: sought, examples, library })),
  });
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

function writeSource() {
  const file = path.join(www, "marl-source.tar.gz");
  execFileSync("git", ["archive", "--format=tar.gz", "--prefix=marl/", "-o", file, "HEAD"], { cwd: root });
}

async function main() {
  fs.rmSync(www, { recursive: true, force: true });
  fs.mkdirSync(path.join(www, "assets"), { recursive: true });
  for (const name of fs.readdirSync(path.join(site, "public"))) {
    fs.copyFileSync(path.join(site, "public", name), path.join(www, name));
  }
  const machine = await bundleForNode();
  const { highlightedHtml: highlight, picturedHtml: picture } = machine;
  const all = await readAll(machine);
  await tryOut(all, machine);
  const assets = await writeAssets(all);
  for (const page of all.documents) {
    if (page.name === "reference.html") pages.writeReference(page, assets);
    else pages.writeDocument(page, assets);
  }
  pages.writeExamples(all.examples, assets, highlight);
  pages.writeLibrary(all.library, assets, highlight);
  pages.writeInstall(assets, highlight);
  pages.writeCheatsheet(all.cheatsheet, assets, highlight);
  pages.writeTour(renderDocument(source("docs/guide.md"), { highlight, snippets, up: "../" }), assets, picture);
  pages.writeSearch(assets);
  pages.writePlaygrounds(all.examples, assets, picture);
  pages.writeNotFound(assets);
  writeSource();
  checkLinks();
  await writeServiceWorker();
  compress();
  console.log(`${all.guide.programs.length} programs of the guide do what it shows`);
}

await main();
