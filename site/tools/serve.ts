// A server of static files for the built site, on this machine alone: serve [PORT]. It sends the page's
// policy as a header too, which workers are held to.

import fs from "node:fs";
import http from "node:http";
import path from "node:path";
import { pathToFileURL } from "node:url";
import sirv from "sirv";

/// Starts the server of a folder; gives its address.
export async function serve(www: string, port = 0): Promise<{ server: http.Server; address: string }> {
  const index = fs.readFileSync(path.join(www, "index.html"), "utf8");
  const policy = /Content-Security-Policy" content="([^"]*)"/.exec(index)?.[1] ?? "default-src 'none'";
  const notFound = fs.readFileSync(path.join(www, "404.html"));
  const headers = {
    "Content-Security-Policy": policy,
    "X-Content-Type-Options": "nosniff",
    "Referrer-Policy": "no-referrer",
  };
  const files = sirv(www, {
    dev: true,
    etag: true,
    gzip: true,
    extensions: ["html"],
    onNoMatch: (_, response) =>
      response.writeHead(404, { ...headers, "Content-Type": "text/html; charset=utf-8" }).end(notFound),
    setHeaders: (response, pathname) => {
      for (const [name, value] of Object.entries(headers)) response.setHeader(name, value);
      // A name with a hash never stands for another content.
      const forEver = pathname.startsWith("/assets/");
      response.setHeader("Cache-Control", forEver ? "public, max-age=31536000, immutable" : "no-cache");
    },
  });
  const server = http.createServer((request, response) => files(request, response));
  return new Promise((resolve, reject) => {
    server.once("error", reject);
    server.listen(port, "127.0.0.1", () => {
      const { port: taken } = server.address() as { port: number };
      resolve({ server, address: `http://127.0.0.1:${taken}/` });
    });
  });
}

if (import.meta.url === pathToFileURL(process.argv[1]).href) {
  const port = Number(process.argv[2] ?? 8000);
  try {
    const { address } = await serve(path.resolve("../build/site/www"), port);
    console.log(`The site is at ${address} (control-C ends it)`);
  } catch (fault) {
    const { code, message } = fault as NodeJS.ErrnoException;
    console.error(code === "EADDRINUSE" ? `port ${port} is taken: site/try PORT takes another one` : message);
    process.exitCode = 1;
  }
}
