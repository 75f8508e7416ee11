// The pages, scripts and styles of the site, from site/, docs/ and examples/ into build/site/www.
// The WebAssembly module must stand in build/site/module. A program of the guide that does not print
// what the guide shows fails the build.
import crypto from "node:crypto";
import fs from "node:fs";
import path from "node:path";
import { fileURLToPath, pathToFileURL } from "node:url";
import esbuild from "esbuild";
import { contentsHtml, escapeHtml, renderDocument, snippetAt } from "./documents.mjs";
import { referenceEntries } from "./entries.mjs";

const site = path.resolve(path.dirname(fileURLToPath(import.meta.url)), "..");
const root = path.dirname(site);
const build = path.join(root, "build/site");
const www = path.join(build, "www");
const source = (name) => fs.readFileSync(path.join(root, name), "utf8");
const page = (name) => fs.readFileSync(path.join(site, "templates", name), "utf8");

const alias = { "marl-module": path.join(build, "module/marl.js") };
const common = { bundle: true, minify: true, target: "es2022", legalComments: "none", absWorkingDir: site };

/// Bundles the pages' scripts; gives what the playground's imports, for the page to ask for at once.
async function bundleScripts() {
  const { metafile } = await esbuild.build({
    ...common,
    metafile: true,
    entryPoints: { play: "src/pages/play.ts", document: "src/pages/document.ts" },
    outdir: www,
    format: "esm",
    splitting: true,
    chunkNames: "part-[hash]",
  });
  // Code for node stands in the module's file as well; a page never gets there.
  await esbuild.build({
    ...common,
    entryPoints: { worker: "src/machine/worker.ts" },
    outdir: www,
    format: "iife",
    alias,
    external: ["fs", "path", "child_process", "crypto"],
  });
  await esbuild.build({ ...common, entryPoints: { site: "style/site.css" }, outdir: www });
  const play = Object.entries(metafile.outputs).find(([name]) => path.basename(name) === "play.js")[1];
  return play.imports.filter(({ kind }) => kind === "import-statement").map((each) => path.basename(each.path));
}

async function bundleForNode() {
  const banner = "#!/usr/bin/env node\nimport { createRequire } from 'node:module'; import nodePath from 'node:path';" +
    "import { fileURLToPath as nodeUrl } from 'node:url'; const require = createRequire(import.meta.url);" +
    "const __filename = nodeUrl(import.meta.url); const __dirname = nodePath.dirname(__filename);";
  const forNode = { ...common, platform: "node", format: "esm", alias, banner: { js: banner } };
  await esbuild.build({ ...forNode, entryPoints: [path.join(site, "tools/command.mjs")], outfile: path.join(build, "marl.mjs") });
  await esbuild.build({ ...forNode, entryPoints: [path.join(site, "tools/machine.mjs")], outfile: path.join(build, "machine.mjs") });
  fs.copyFileSync(path.join(build, "module/marl.wasm"), path.join(build, "marl.wasm"));
  fs.writeFileSync(path.join(build, "marl"), `#!/bin/sh\nexec node "$(dirname "$0")/marl.mjs" "$@"\n`);
  fs.chmodSync(path.join(build, "marl"), 0o755);
  return import(pathToFileURL(path.join(build, "machine.mjs")).href);
}

/// The page's text with its title, and the marks for where it is in the site.
function writePage(name, { title, description, main, script, wide, preload = "" }) {
  const frame = page("frame.html")
    .replaceAll("{{title}}", escapeHtml(title))
    .replaceAll("{{description}}", escapeHtml(description))
    .replace("{{class}}", wide ? "wide" : "reading")
    .replace("{{script}}", script)
    .replace("{{preload}}", preload)
    .replace(`<a href="${name}">`, `<a href="${name}" aria-current="page">`)
    .replace("{{main}}", () => main);
  fs.writeFileSync(path.join(www, name), frame);
}

function writeDocument(name, document, description, search = false) {
  const main = page("document.html")
    .replace("{{contents}}", () => contentsHtml(document.contents))
    .replace("{{search}}", search ? page("search.html") : "")
    .replace("{{body}}", () => document.body);
  writePage(name, { title: `${document.title} · marl`, description, main, script: "document.js" });
}

const withoutColours = (text) => text.replace(/\x1b\[\d*m/g, "");

/// Runs a program of the guide as a reader would, and compares with what the guide shows; what it
/// does not show, with the file beside the program. One that needs what a page does not have is left
/// out: it is the only kind that may differ.
async function checkSnippet(snippet, shown, runProgram) {
  if (/\bsocket\b/.test(snippet.text)) return;
  const { out, err, outcome } = await runProgram(snippet);
  const expected = JSON.stringify([
    shown[`${snippet.name}.out`] ?? snippet.out,
    shown[`${snippet.name}.err`] ?? withoutColours(snippet.err),
    snippet.status,
  ]);
  const actual = JSON.stringify([out, withoutColours(err), outcome.status & 0xff]);
  if (actual === expected) return;
  console.error(`docs/guide.md, ${snippet.name}: it shows ${expected}, and the run gives ${actual}`);
  process.exit(1);
}

/// The examples by name, in the order of their page, each with the sentence that tells it.
function readExamples() {
  const rows = [...source("examples/README.md").matchAll(/^\| `(\w+)` \| (.*) \|$/gm)];
  return rows.map(([, name, about]) => ({ ...snippetAt(path.join(root, "examples"), name), about }));
}

function examplesPage(examples, highlight) {
  const bodies = examples.map((example) => {
    const given = [
      example.arguments.length ? `data-arguments="${escapeHtml(JSON.stringify(example.arguments))}"` : "",
      example.input ? `data-input="${escapeHtml(example.input)}"` : "",
    ].join(" ");
    return `<section class="example"><h2 id="${example.name}">${example.name}</h2>` +
      `<p>${escapeHtml(example.about.replaceAll("`", ""))} <a href="index.html#example=${example.name}">Open in the playground</a></p>` +
      `<div class="program" data-name="${example.name}" ${given}><pre class="code"><code>${highlight(example.text)}</code></pre></div></section>`;
  });
  return {
    title: "Examples",
    body: `<h1>Examples</h1>\n<p>Each program runs where it stands, and can be changed there.</p>\n${bodies.join("\n")}`,
    contents: examples.map(({ name }) => ({ tag: "h2", text: name, id: name })),
  };
}

/// The script that keeps the site at hand without a network: it holds the name of each file, and a
/// new version when any of them changes.
async function writeServiceWorker() {
  const files = fs.readdirSync(www).filter((name) => name !== "offline.js").sort();
  const hash = crypto.createHash("sha256");
  for (const name of files) hash.update(name).update(fs.readFileSync(path.join(www, name)));
  await esbuild.build({
    ...common,
    entryPoints: { offline: "src/offline.ts" },
    outdir: www,
    format: "iife",
    define: { FILES: JSON.stringify(files), VERSION: JSON.stringify(hash.digest("hex").slice(0, 16)) },
  });
}

fs.rmSync(www, { recursive: true, force: true });
fs.mkdirSync(www, { recursive: true });
fs.copyFileSync(path.join(build, "module/marl.wasm"), path.join(www, "marl.wasm"));
for (const name of fs.readdirSync(path.join(site, "public"))) {
  fs.copyFileSync(path.join(site, "public", name), path.join(www, name));
}
const parts = await bundleScripts();
const { runProgram, highlightedHtml } = await bundleForNode();

const documents = { snippets: path.join(root, "docs/snippets"), highlight: highlightedHtml };
const guide = renderDocument(source("docs/guide.md"), documents);
for (const snippet of guide.programs) await checkSnippet(snippet, guide.shown, runProgram);
writeDocument("guide.html", guide, "The language in an hour, from the first program to a server.");
const reference = source("docs/reference.md");
writeDocument("reference.html", renderDocument(reference, { highlight: highlightedHtml }),
  "Every operator, every built-in, every Report.", true);
writeDocument("design.html", renderDocument(source("docs/design.md"), { highlight: highlightedHtml }),
  "How the machine is built, why, and what must stay true.");
writeDocument("browser.html", renderDocument(fs.readFileSync(path.join(site, "browser.md"), "utf8"), { highlight: highlightedHtml }),
  "What differs between a page and the command line.");
fs.writeFileSync(path.join(www, "entries.json"), JSON.stringify(referenceEntries(reference)));

const examples = readExamples();
writeDocument("examples.html", examplesPage(examples, highlightedHtml), "Programs that do something.");
fs.writeFileSync(path.join(www, "examples.json"),
  JSON.stringify(examples.map(({ name, about, text, arguments: words, input }) => ({ name, about, text, arguments: words, input }))));
writePage("index.html", {
  title: "marl",
  description: "A small lazy functional language. Write a program, run it, watch it reduce.",
  main: page("play.html").replace("{{examples}}",
    examples.map(({ name, about }) => `<option value="${name}">${name}: ${escapeHtml(about.replaceAll("`", ""))}</option>`).join("\n")),
  script: "play.js",
  wide: true,
  preload: parts.map((part) => `<link rel="modulepreload" href="${part}">\n`).join("") +
    '<link rel="preload" href="marl.wasm" as="fetch" type="application/wasm" crossorigin>\n',
});
await writeServiceWorker();
console.log(`${guide.programs.length} programs of the guide do what it shows`);
