// What the build and the tests need of the site's own code, bundled for node.
import fs from "node:fs";
import createMarl from "marl-module";
import { Machine } from "../src/machine/module.ts";

export { highlightedHtml } from "../src/language/grammar.ts";

process.setMaxListeners(0);  // each instance listens for exceptions of its own
const module = WebAssembly.compile(fs.readFileSync(new URL("marl.wasm", import.meta.url)));
const encoder = new TextEncoder();

/// Runs a program as a page does; gives what it wrote, as text, and how it ended.
export async function runProgram({ text, arguments: words = [], input = "", files = [] }) {
  const machine = await Machine.make(createMarl, await module);
  const parts = { 1: [], 2: [] };
  const outcome = machine.run(
    {
      program: { name: "program.marl", bytes: encoder.encode(text) },
      arguments: words,
      input: encoder.encode(input),
      files,
      folder: "/home/marl",
      environment: {},
    },
    (stream, bytes) => parts[stream].push(bytes),
  );
  const written = (stream) => Buffer.concat(parts[stream]).toString();
  return { out: written(1), err: written(2), outcome };
}

export async function askLaboratory(request) {
  const machine = await Machine.make(createMarl, await module);
  return machine.ask(request);
}
