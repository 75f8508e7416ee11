// The site's code in bundles: for pages, for their workers, and for node.
import crypto from "node:crypto";
import fs from "node:fs";
import path from "node:path";
import { pathToFileURL } from "node:url";
import esbuild from "esbuild";
import { type Assets, policyOf, writeAsset } from "./page";
import { build, site, www } from "./places";

type Machine = typeof import("./machine");

type Part = "marl" | "laboratory";
const glue = (part: Part) => path.join(build, `module/${part}.js`);
const common = {
  bundle: true,
  minify: true,
  target: "es2022",
  legalComments: "none",
  absWorkingDir: site,
} as const;

/// What the tests and the build itself run of the site's code, under node.
export async function bundleForNode(): Promise<Machine> {
  const banner =
    "#!/usr/bin/env node\nimport { createRequire } from 'node:module'; import nodePath from 'node:path';" +
    "import { fileURLToPath as nodeUrl } from 'node:url'; const require = createRequire(import.meta.url);" +
    "const __filename = nodeUrl(import.meta.url); const __dirname = nodePath.dirname(__filename);";
  const define = { ASSETS: "{}", STYLE_NONCE: JSON.stringify("none") };
  const alias = { "marl-module": glue("marl"), "laboratory-module": glue("laboratory") };
  const forNode = { ...common, platform: "node", format: "esm", alias, define, banner: { js: banner } } as const;
  for (const [entry, out] of [
    ["command", "marl.mjs"],
    ["machine", "machine.mjs"],
    ["models", "models.mjs"],
  ]) {
    await esbuild.build({ ...forNode, entryPoints: [`tools/${entry}.ts`], outfile: path.join(build, out) });
  }
  for (const part of ["marl.wasm", "laboratory.wasm"]) {
    fs.copyFileSync(path.join(build, "module", part), path.join(build, part));
  }
  fs.writeFileSync(path.join(build, "marl"), `#!/bin/sh\nexec node "$(dirname "$0")/marl.mjs" "$@"\n`);
  fs.chmodSync(path.join(build, "marl"), 0o755);
  return import(pathToFileURL(path.join(build, "machine.mjs")).href);
}

export async function bundled(entry: string, options: esbuild.BuildOptions = {}): Promise<Uint8Array> {
  const { outputFiles } = await esbuild.build({
    ...common,
    ...options,
    entryPoints: [entry],
    write: false,
    outdir: www,
  });
  return outputFiles![0].contents;
}

export interface Bundle extends Assets {
  /// What the playground's script imports, for the page to ask for at once.
  parts: string[];
}

/// The pages' scripts and styles; `files` are the others that scripts ask for.
export async function bundleScripts(files: Record<string, string>): Promise<Bundle> {
  const style = writeAsset("site.css", await bundled("style/site.css"));
  const moreStyle = writeAsset("pages.css", await bundled("style/pages.css"));
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
  return { style, moreStyle, scripts, parts, policy: policyOf(nonce) };
}

/// The module's file without what it would do under node, where a page never gets.
const withoutNode: esbuild.Plugin = {
  name: "without-node",
  setup({ onLoad }) {
    onLoad({ filter: /module\/\w+\.js$/ }, ({ path: file }) => {
      const text = fs.readFileSync(file, "utf8");
      const known = text.replace(/var ENVIRONMENT_IS_NODE\s*=[^;]*;/, "").replaceAll("ENVIRONMENT_IS_NODE", "false");
      if (known === text) throw new Error("the module does not tell where it is at node");
      return { contents: known, loader: "js" };
    });
  },
};

export const bundledWorker = (part: Part) =>
  bundled("src/machine/worker.ts", {
    format: "iife",
    alias: { "marl-module": glue(part) },
    external: ["fs", "path", "child_process", "crypto"],
    plugins: [withoutNode],
  });
