// marl under node, by the module that pages use: the same command line, for the language tests. The
// build bundles it with its machine into one file, build/site/marl.
//
// The file system stays one in memory: the program's folder is copied in, and nothing comes out.
import fs from "node:fs";
import path from "node:path";
import createMarl from "marl-module";
import { type Factory, type FileContent, Machine } from "../src/machine/module";

function filesIn(folder: string): FileContent[] {
  return fs
    .readdirSync(folder, { withFileTypes: true })
    .filter((entry) => entry.isFile())
    .map((entry) => path.join(folder, entry.name))
    .map((name) => ({ name, bytes: fs.readFileSync(name) }));
}

function writeAll(stream: 1 | 2, bytes: Uint8Array) {
  for (let done = 0; done < bytes.length; ) {
    try {
      done += fs.writeSync(stream, bytes, done);
    } catch (fault) {
      if ((fault as NodeJS.ErrnoException).code !== "EAGAIN") throw fault;
    }
  }
}

const [name, ...words] = process.argv.slice(2);
const program = path.resolve(name);
const input = process.stdin.isTTY ? Buffer.alloc(0) : fs.readFileSync(0);
const module = await WebAssembly.compile(fs.readFileSync(new URL("marl.wasm", import.meta.url)));
const machine = await Machine.make(createMarl as Factory, module);
const outcome = machine.run(
  {
    program: { name: program, bytes: fs.readFileSync(program) },
    arguments: words,
    input,
    files: filesIn(path.dirname(program)),
    folder: "/home/marl",
    environment: Object.fromEntries(Object.entries(process.env).map(([name, value]) => [name, value ?? ""])),
  },
  writeAll,
);
// As a shell shows it: the low 8 bits, or 128 and the number of the signal that would end a process.
if (outcome.ended === "fault") console.error(outcome.word);
if (outcome.ended === "exit") process.exit(outcome.status & 0xff);
process.exit(outcome.ended === "abort" ? 134 : 139);
