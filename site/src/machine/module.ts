// One instance of a WebAssembly module: marl's for one run, or the laboratory's for a row of requests.
//
// The module is emscripten's: a function that makes an instance with a file system in memory. Here
// its standard streams are replaced by plain byte functions, and its ways to end become one
// Outcome. A page and node use this file alike; neither a DOM nor a process is assumed.

/// What this file uses of emscripten's instance.
interface Instance {
  // biome-ignore lint/suspicious/noExplicitAny: emscripten's file system has no types
  FS: any;
  ENV: Record<string, string>;
  callMain(words: string[]): number;
  _laboratory(request: number): void;
  _laboratory_answer(): number;
  _laboratory_state(): number;
  onProgress?: (state: number) => void;
  _malloc(size: number): number;
  _free(address: number): void;
  HEAPU8: Uint8Array;
}
export type Factory = (settings: object) => Promise<Instance>;

export interface FileContent {
  name: string;
  bytes: Uint8Array;
}

/// A run: the program, all that it is given, and the folder that it stands in.
export interface Job {
  program: FileContent;
  arguments: string[];
  input: Uint8Array;
  files: FileContent[];
  folder: string;
  environment: Record<string, string>;
}

/// How a run ended: by itself with a status of 32 bits; by `abort`; or by a fault of the machine
/// that it runs on, as from an access outside of its memory, with that machine's word for it. A job
/// that can't be set up ends as such a fault.
export type Outcome = { ended: "exit"; status: number } | { ended: "abort" } | { ended: "fault"; word: string };

export type Output = (stream: 1 | 2, bytes: Uint8Array) => void;

/// What a watched program has written, and the number of the state that it was in.
export interface Logged {
  state: number;
  stream: 1 | 2;
  text: string;
}

/// The characters of a watched program's output that are kept.
const logLimit = 1 << 20;

async function instantiate(factory: Factory, module: WebAssembly.Module, onAbort: () => void) {
  return factory({
    noInitialRun: true,
    thisProgram: "marl",
    print: () => {},
    printErr: () => {},
    onAbort,
    quit: (_status: number, exit: unknown) => {
      throw exit;
    },
    instantiateWasm: (
      imports: WebAssembly.Imports,
      receive: (instance: WebAssembly.Instance, module: WebAssembly.Module) => void,
    ) => {
      void WebAssembly.instantiate(module, imports).then((made) => receive(made, module));
      return {};
    },
  });
}

/// Replaces what the terminal devices do that the three standard streams stand for, also for who
/// opens them by name. They stay terminals, so that C hands output over line by line.
function connectStreams(fs: Instance["FS"], input: Uint8Array, output: Output) {
  let position = 0;
  const operations = (stream: 1 | 2) => ({
    read(_: unknown, buffer: Uint8Array, offset: number, length: number) {
      const part = input.subarray(position, position + length);
      buffer.set(part, offset);
      position += part.length;
      return part.length;
    },
    write(_: unknown, buffer: Uint8Array, offset: number, length: number) {
      output(stream, new Uint8Array(buffer.subarray(offset, offset + length)));
      return length;
    },
  });
  for (const descriptor of [0, 1, 2]) {
    const stream = fs.streams[descriptor];
    const device = fs.getDevice(stream.node.rdev);
    device.stream_ops = { ...device.stream_ops, ...operations(descriptor === 2 ? 2 : 1) };
    stream.stream_ops = device.stream_ops;
  }
}

/// A machine that is ready to run one job.
export class Machine {
  private constructor(
    private readonly instance: Instance,
    private readonly aborted: { yes: boolean },
  ) {}

  static async make(factory: Factory, module: WebAssembly.Module): Promise<Machine> {
    const aborted = { yes: false };
    const instance = await instantiate(factory, module, () => {
      aborted.yes = true;
    });
    return new Machine(instance, aborted);
  }

  /// Runs the job to its end. A machine runs once.
  run(job: Job, output: Output): Outcome {
    try {
      this.setUp(job, output);
      const status = this.instance.callMain([job.program.name, ...job.arguments]);
      return { ended: "exit", status: status >>> 0 };
    } catch (fault) {
      if (this.aborted.yes) return { ended: "abort" };
      return { ended: "fault", word: fault instanceof Error ? fault.message : String(fault) };
    }
  }

  /// A request to the laboratory, answered in JSON. Those that run a program take what it is given
  /// from the job, and a machine answers one of them; of the others as many as one likes.
  ask(request: object, job?: Job, onProgress?: (state: number) => void): { answer: unknown; output: Logged[] } {
    const output: Logged[] = [];
    if (job) this.setUp(job, this.logTo(output));
    this.instance.onProgress = onProgress;
    const bytes = new TextEncoder().encode(`${JSON.stringify(request)}\0`);
    const address = this.instance._malloc(bytes.length);
    this.instance.HEAPU8.set(bytes, address);
    try {
      this.instance._laboratory(address);
      this.instance._free(address);
    } catch (end) {
      // A program that is watched ends the process: what was told so far stands.
      if ((end as { name?: string }).name !== "ExitStatus") throw end;
    }
    const answer = this.instance._laboratory_answer();
    const heap = this.instance.HEAPU8;
    const text = new TextDecoder().decode(heap.slice(answer, heap.indexOf(0, answer)));
    return { answer: JSON.parse(text), output };
  }

  private logTo(output: Logged[]): Output {
    const decoders = { 1: new TextDecoder(), 2: new TextDecoder() };
    let size = 0;
    return (stream, bytes) => {
      if (size > logLimit) return;
      const text = decoders[stream].decode(bytes, { stream: true });
      size += text.length;
      output.push({ state: this.instance._laboratory_state(), stream, text });
    };
  }

  private setUp(job: Job, output: Output) {
    const { FS, ENV } = this.instance;
    for (const name of Object.keys(ENV)) delete ENV[name];
    Object.assign(ENV, job.environment);
    FS.mkdirTree(job.folder);
    FS.chdir(job.folder);
    for (const { name, bytes } of [...job.files, job.program]) {
      try {
        const folder = name.slice(0, name.lastIndexOf("/") + 1);
        if (folder) FS.mkdirTree(folder);
        FS.writeFile(name, bytes);
      } catch {
        throw new Error(`no file can have the name ${name}`);
      }
    }
    connectStreams(FS, job.input, output);
  }
}
