// What the tests of pages share: headless Chromium, the built site's server, and a reader's hands. No
// test may leave an error in the console, and no page may ask any other host for anything.
import assert from "node:assert/strict";
import fs from "node:fs";
import { createRequire } from "node:module";
import path from "node:path";
import { after, before } from "node:test";
import { fileURLToPath } from "node:url";

export const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), "../..");
export const shots = path.join(root, "build/site/shots");
export const www = path.join(root, "build/site/www");
export const packages = createRequire(path.join(root, "site/package.json"));
const puppeteer = packages("puppeteer-core");
const { serve } = await import(path.join(root, "build/site/models.mjs"));

export const site = { address: "", browser: undefined };
const faults = [];

before(async () => {
  const { server, address } = await serve(www);
  site.server = server;
  site.address = address;
  site.browser = await puppeteer.launch({
    executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
    args: ["--no-sandbox", "--disable-dev-shm-usage"],
    protocolTimeout: 240_000,
  });
  fs.mkdirSync(shots, { recursive: true });
});

after(async () => {
  await site.browser?.close();
  site.server?.close().closeAllConnections();
  assert.deepEqual(faults, []);
});

export const desktop = { width: 1280, height: 850 };
export const phone = { width: 390, height: 844, isMobile: true, hasTouch: true };

/// A page, in a profile of its own unless a context is given, watched for errors and for requests that
/// leave the site.
export async function open(name, { size = desktop, context, prepare } = {}) {
  const own = context ?? (await site.browser.createBrowserContext());
  const page = await own.newPage();
  page.setDefaultTimeout(120_000);
  await page.setViewport(size);
  page.on("pageerror", (error) => faults.push(`${name}: ${error}`));
  page.on("console", (message) => {
    if (message.type() === "error") faults.push(`${name}: ${message.text()}`);
  });
  page.on("request", (request) => {
    const url = request.url();
    if (!url.startsWith(site.address) && !/^(data|blob):/.test(url)) faults.push(`${name} asks ${url}`);
  });
  await prepare?.(page);
  await page.goto(site.address + name, { waitUntil: "load" });
  if (/^(index.html|play.html|tour\/|#|$)/.test(name)) await page.waitForSelector("body[data-ready]");
  return page;
}

export async function press(page, ...keys) {
  for (const key of keys.slice(0, -1)) await page.keyboard.down(key);
  await page.keyboard.press(keys.at(-1));
  for (const key of keys.slice(0, -1)) await page.keyboard.up(key);
}

/// Waits for the editor, which comes when somebody comes to write.
export async function comeToWrite(page) {
  await page.click("#editor");
  await page.waitForSelector("#editor .cm-content:focus");
}

export async function write(page, text) {
  await comeToWrite(page);
  await press(page, "Control", "KeyA");
  // A paste, so that closing brackets are not added to those that come.
  await page.evaluate((inserted) => {
    const data = new DataTransfer();
    data.setData("text/plain", inserted);
    document
      .querySelector("#editor .cm-content")
      .dispatchEvent(new ClipboardEvent("paste", { clipboardData: data, bubbles: true, cancelable: true }));
  }, text);
}

export const program = (page) =>
  page.$eval("#editor", (place) => {
    const field = place.querySelector("textarea");
    return field ? field.value : [...place.querySelectorAll(".cm-line")].map((e) => e.textContent).join("\n");
  });
export const ended = (page) =>
  page.waitForFunction(() => /fine|failed|doubtful/.test(document.querySelector("#status").className));
export const output = (page) => page.$eval("#output", (element) => element.textContent);
export const status = (page) => page.$eval("#status", (element) => element.textContent);
export const notice = (page) => page.$eval("#notice", (element) => element.textContent);

export async function run(page) {
  await page.evaluate(() => (document.querySelector("#status").className = "status"));
  await page.$eval("#run", (button) => button.click());
  await ended(page);
}

/// Waits until a page shows something, in a place that may yet have to come: a condition that throws is
/// not asked again, and the wait for it never ends.
export const shows = (page, selector, pattern) =>
  page.waitForFunction(
    (where, source) => new RegExp(source).test(document.querySelector(where)?.textContent ?? ""),
    {},
    selector,
    pattern.source,
  );
