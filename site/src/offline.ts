// The site without a network: a service worker that keeps all files of one version together. A newer
// version waits until no page of this one is open, since a page asks for some of its files late.
declare const FILES: string[];
declare const VERSION: string;

const scope = self as unknown as ServiceWorkerGlobalScope;
const store = `marl-${VERSION}`;

async function install() {
  const cache = await caches.open(store);
  // Not from what the browser may have kept of an older version.
  await cache.addAll(FILES.map((name) => new Request(name, { cache: "no-cache" })));
}

async function dropOthers() {
  for (const name of await caches.keys()) {
    if (name.startsWith("marl-") && name !== store) await caches.delete(name);
  }
  await scope.clients.claim();
}

async function answer(request: Request): Promise<Response> {
  const url = new URL(request.url);
  if (url.pathname.endsWith("/")) url.pathname += "index.html";
  const cache = await caches.open(store);
  return (await cache.match(url.href, { ignoreSearch: true })) ?? fetch(request);
}

scope.addEventListener("install", (event) => event.waitUntil(install()));
scope.addEventListener("activate", (event) => event.waitUntil(dropOthers()));
scope.addEventListener("fetch", (event) => {
  const { request } = event;
  if (request.method === "GET" && new URL(request.url).origin === location.origin) {
    event.respondWith(answer(request));
  }
});
