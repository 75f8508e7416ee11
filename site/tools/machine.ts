// What the build and the tests need of the site's own code, bundled for node.
import fs from "node:fs";
import createLaboratory from "laboratory-module";
import createMarl from "marl-module";
import { type Factory, type FileContent, Machine } from "../src/machine/module";

export { highlightedHtml, picturedHtml } from "../src/language/grammar";
export { checked, piecesOf } from "../src/language/program";

process.setMaxListeners(0); // each instance listens for exceptions of its own
const compile = (name: string) => WebAssembly.compile(fs.readFileSync(new URL(name, import.meta.url)));
const module = compile("marl.wasm");
const laboratory = compile("laboratory.wasm");
const encoder = new TextEncoder();

interface Program {
  text: string;
  arguments?: string[];
  input?: string;
  files?: { name: string; text: string }[];
}

/// Runs a program as a page does; gives what it wrote, as text, and how it ended.
export async function runProgram({ text, arguments: words = [], input = "", files = [] }: Program) {
  const machine = await Machine.make(createMarl as Factory, await module);
  const parts: Record<1 | 2, Uint8Array[]> = { 1: [], 2: [] };
  const fileOf = ({ name, text: content }: { name: string; text: string }): FileContent => ({
    name,
    bytes: encoder.encode(content),
  });
  const outcome = machine.run(
    {
      program: { name: "program.marl", bytes: encoder.encode(text) },
      arguments: words,
      input: encoder.encode(input),
      files: files.map(fileOf),
      folder: "/home/marl",
      environment: {},
    },
    (stream, bytes) => parts[stream].push(bytes),
  );
  const written = (stream: 1 | 2) => Buffer.concat(parts[stream]).toString();
  return { out: written(1), err: written(2), outcome };
}

export async function askLaboratory(request: object): Promise<unknown> {
  const machine = await Machine.make(createLaboratory as Factory, await laboratory);
  return machine.ask(request).answer;
}
