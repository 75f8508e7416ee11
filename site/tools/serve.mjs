// A server of static files for the built site: node tools/serve.mjs [PORT], on this machine alone.
import fs from "node:fs";
import http from "node:http";
import path from "node:path";
import { fileURLToPath } from "node:url";

const www = path.resolve(path.dirname(fileURLToPath(import.meta.url)), "../../build/site/www");
const types = {
  ".html": "text/html; charset=utf-8",
  ".js": "text/javascript; charset=utf-8",
  ".css": "text/css; charset=utf-8",
  ".json": "application/json",
  ".svg": "image/svg+xml",
  ".wasm": "application/wasm",
};

/// Starts the server; gives its address.
export function serve(port = 0) {
  const server = http.createServer((request, response) => {
    const { pathname } = new URL(request.url, "http://localhost");
    const name = path.basename(pathname) || "index.html";
    fs.readFile(path.join(www, name), (fault, bytes) => {
      if (fault) return response.writeHead(404).end("not found\n");
      response.writeHead(200, { "content-type": types[path.extname(name)] ?? "text/plain" }).end(bytes);
    });
  });
  return new Promise((resolve, reject) => {
    server.once("error", reject);
    server.listen(port, "127.0.0.1", () =>
      resolve({ server, address: `http://127.0.0.1:${server.address().port}/` }));
  });
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  const { address } = await serve(Number(process.argv[2] ?? 8000));
  console.log(`The site is at ${address} (control-C ends it)`);
}
