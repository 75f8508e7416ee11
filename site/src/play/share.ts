// A program with all that it is given as the fragment of a link: JSON, deflated, in base 64 for
// URLs. A fragment is never sent to a server.
import type { Given } from "./given";

const prefix = "#program=";

/// The most characters of a fragment, and the most bytes that one may unfold to.
const longestFragment = 64 * 1024;
const longestProgram = 1024 * 1024;

/// Why a link can't be made or opened, in a sentence.
export class LinkFault extends Error {}

/// Takes a stream to its end; one that gives more than `limit` bytes is at fault.
async function gather(stream: ReadableStream<Uint8Array>, limit: number): Promise<Uint8Array> {
  const parts: Uint8Array[] = [];
  let size = 0;
  const reader = stream.getReader();
  for (;;) {
    const { done, value } = await reader.read();
    if (done) break;
    size += value.length;
    if (size > limit) {
      await reader.cancel();
      throw new LinkFault("This link holds more than a megabyte, and is not opened.");
    }
    parts.push(value);
  }
  const bytes = new Uint8Array(size);
  let position = 0;
  for (const part of parts) {
    bytes.set(part, position);
    position += part.length;
  }
  return bytes;
}

function through(bytes: BlobPart, stream: CompressionStream | DecompressionStream, limit: number) {
  return gather(new Blob([bytes]).stream().pipeThrough(stream), limit);
}

/// The fragment of a program; one that would be too long for a link is at fault.
export async function fragmentOf(given: Given): Promise<string> {
  const short = {
    t: given.text,
    ...(given.arguments.length && { a: given.arguments }),
    ...(given.input && { i: given.input }),
    ...(given.files.length && { f: given.files }),
  };
  const packed = await through(JSON.stringify(short), new CompressionStream("deflate-raw"), Infinity);
  let text = "";
  for (const byte of packed) text += String.fromCharCode(byte);
  const fragment = prefix + btoa(text).replaceAll("+", "-").replaceAll("/", "_").replace(/=+$/, "");
  if (fragment.length > longestFragment) {
    throw new LinkFault("This program is too long for a link.");
  }
  return fragment;
}

function unpacked(json: string): Given {
  const short = JSON.parse(json);
  if (typeof short?.t !== "string") throw new TypeError("no program");
  const list = (value: unknown): unknown[] => (Array.isArray(value) ? value : []);
  return {
    text: short.t,
    arguments: list(short.a).map(String),
    input: String(short.i ?? ""),
    files: list(short.f).map((file) => {
      const { name, text } = file as Record<string, unknown>;
      return { name: String(name ?? ""), text: String(text ?? "") };
    }),
  };
}

/// What a fragment holds; nothing when it is no link to a program. A link that is broken or too long
/// is at fault.
export async function givenBy(fragment: string): Promise<Given | undefined> {
  if (!fragment.startsWith(prefix)) return undefined;
  if (fragment.length > longestFragment) {
    throw new LinkFault("This link is longer than 64 KB, and is not opened.");
  }
  try {
    const text = atob(fragment.slice(prefix.length).replaceAll("-", "+").replaceAll("_", "/"));
    const packed = Uint8Array.from(text, (c) => c.charCodeAt(0));
    const bytes = await through(packed, new DecompressionStream("deflate-raw"), longestProgram);
    return unpacked(new TextDecoder().decode(bytes));
  } catch (fault) {
    if (fault instanceof LinkFault) throw fault;
    throw new LinkFault("This link is broken: a part of it is missing or changed.");
  }
}
