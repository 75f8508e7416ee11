// A program with all that it is given as the fragment of a link: JSON, deflated, in base 64 for
// URLs. A fragment is never sent to a server.
import type { Given } from "./runner";

const prefix = "#program=";

async function through(bytes: BlobPart, stream: CompressionStream | DecompressionStream) {
  return new Uint8Array(await new Response(new Blob([bytes]).stream().pipeThrough(stream)).arrayBuffer());
}

export async function fragmentOf(given: Given): Promise<string> {
  const short = {
    t: given.text,
    ...(given.arguments.length && { a: given.arguments }),
    ...(given.input && { i: given.input }),
    ...(given.files.length && { f: given.files }),
  };
  const packed = await through(JSON.stringify(short), new CompressionStream("deflate-raw"));
  let text = "";
  for (const byte of packed) text += String.fromCharCode(byte);
  return prefix + btoa(text).replaceAll("+", "-").replaceAll("/", "_").replace(/=+$/, "");
}

/// What a fragment holds; nothing when it is no such fragment, or broken.
export async function givenBy(fragment: string): Promise<Given | undefined> {
  if (!fragment.startsWith(prefix)) return undefined;
  try {
    const text = atob(fragment.slice(prefix.length).replaceAll("-", "+").replaceAll("_", "/"));
    const packed = Uint8Array.from(text, (c) => c.charCodeAt(0));
    const bytes = await through(packed, new DecompressionStream("deflate-raw"));
    const short = JSON.parse(new TextDecoder().decode(bytes));
    return {
      text: String(short.t),
      arguments: (short.a ?? []).map(String),
      input: String(short.i ?? ""),
      files: (short.f ?? []).map((file: any) => ({ name: String(file.name), text: String(file.text) })),
    };
  } catch {
    return undefined;
  }
}
