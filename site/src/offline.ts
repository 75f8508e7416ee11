// The site without a network: a service worker that keeps all files of one version together.
//
// A newer version is taken as soon as all of it is here; the next load of a page shows it. Pages of the
// version before may still be open and ask for some of their files late, so those stay until the
// version after: the names of files hold hashes, and so no file is taken for another version's.
declare const FILES: string[];
declare const VERSION: string;

const scope = self as unknown as ServiceWorkerGlobalScope;
const store = `marl-${VERSION}`;

async function install() {
  const cache = await caches.open(store);
  // Not from what the browser may have kept of an older version.
  await cache.addAll(FILES.map((name) => new Request(name, { cache: "no-cache" })));
  await scope.skipWaiting();
}

async function dropOldest() {
  const stores = (await caches.keys()).filter((name) => name.startsWith("marl-") && name !== store);
  for (const name of stores.slice(0, -1)) await caches.delete(name);
  await scope.clients.claim();
}

async function answer(request: Request): Promise<Response> {
  const url = new URL(request.url);
  if (url.pathname.endsWith("/")) url.pathname += "index.html";
  const options = { ignoreSearch: true };
  const found = await (await caches.open(store)).match(url.href, options);
  return found ?? (await caches.match(url.href, options)) ?? fetch(request);
}

scope.addEventListener("install", (event) => event.waitUntil(install()));
scope.addEventListener("activate", (event) => event.waitUntil(dropOldest()));
scope.addEventListener("fetch", (event) => {
  const { request } = event;
  if (request.method === "GET" && new URL(request.url).origin === location.origin) {
    event.respondWith(answer(request));
  }
});
