// What holds on each page, whoever looks at it and with whatever: no finding of axe-core at three widths,
// nothing that moves while the page loads, nothing beside the page, all that scrolls within reach of
// keys, and no code or style but the site's own.
import assert from "node:assert/strict";
import fs from "node:fs";
import path from "node:path";
import { test } from "node:test";
import { desktop, open, packages, phone, run, shots, site, www } from "./browser.mjs";

const axe = fs.readFileSync(packages.resolve("axe-core/axe.min.js"), "utf8");
const pages = [
  "index.html",
  "tour/index.html",
  "tour/truth.html",
  "tour/marl-lab.html",
  "guide.html",
  "reference.html",
  "examples.html",
  "library.html",
  "search.html?q=list",
  "install.html",
  "cheatsheet.html",
  "mistakes.html",
  "design.html",
  "browser.html",
  "play.html?embed",
  "404.html",
];
const sizes = [
  { ...phone, theme: "light" },
  { width: 820, height: 1100, theme: "dark" },
  { width: 1440, height: 900, theme: "light" },
];

async function findings(page) {
  await page.evaluate(axe);
  const { violations } = await page.evaluate(() => globalThis.axe.run(document, { resultTypes: ["violations"] }));
  return violations.map(
    ({ id, nodes }) =>
      `${id}: ${nodes
        .slice(0, 3)
        .map(({ html }) => html.slice(0, 120))
        .join(" | ")}`,
  );
}

/// How far things have moved by themselves, as browsers count it.
const watchShifts = (page) =>
  page.evaluateOnNewDocument(() => {
    window.shift = 0;
    new PerformanceObserver((list) => {
      for (const entry of list.getEntries()) if (!entry.hadRecentInput) window.shift += entry.value;
    }).observe({ type: "layout-shift", buffered: true });
  });

for (const name of pages) {
  test(`${name} is fit to be used at each width`, async () => {
    for (const size of sizes) {
      const page = await open(name, { size, prepare: watchShifts });
      await new Promise((resolve) => setTimeout(resolve, 300));
      const { shift, over } = await page.evaluate(() => ({
        shift: window.shift,
        over: document.documentElement.scrollWidth - innerWidth,
      }));
      assert.ok(shift < 0.05, `${name} at ${size.width} moves by ${shift}`);
      assert.ok(over <= 0, `${name} at ${size.width} is ${over} too wide`);
      await page.evaluate((value) => (document.documentElement.dataset.theme = value), size.theme);
      assert.deepEqual(await findings(page), [], `${name} at ${size.width}, ${size.theme}`);
      await page.screenshot({ path: path.join(shots, `${name.replace(/\W/g, "-")}-${size.width}-${size.theme}.png`) });
      await page.close();
    }
  });
}

test("the playground is as fit with all that it can show", async () => {
  for (const size of [phone, desktop]) {
    const page = await open("index.html", { size });
    const shows = {
      report: async () => run(page),
      steps: async () => page.click("#tab-steps").then(() => page.waitForSelector(".steps svg.tree")),
      calls: async () => page.click("#tab-calls").then(() => page.waitForSelector(".calls li")),
      profile: async () => page.click("#tab-profile").then(() => page.waitForSelector(".profile tbody tr")),
      recent: async () => page.$eval("#recent-button", (button) => button.click()),
    };
    await page.goto(`${site.address}index.html#example=hanoi`);
    for (const [name, show] of Object.entries(shows)) {
      await show();
      assert.deepEqual(await findings(page), [], `${name} at ${size.width}`);
      await page.screenshot({ path: path.join(shots, `play-${name}-${size.width}.png`) });
    }
    await page.close();
  }
});

test("a page lets no other code or style in", async () => {
  const page = await (await site.browser.createBrowserContext()).newPage();
  await page.goto(`${site.address}index.html`);
  const refused = await page.evaluate(async () => {
    const seen = [];
    document.addEventListener("securitypolicyviolation", ({ effectiveDirective }) => seen.push(effectiveDirective));
    const add = (name, more) => document.body.append(Object.assign(document.createElement(name), more));
    add("script", { textContent: "window.entered = true" });
    add("style", { textContent: "body { display: none }" });
    add("img", { src: "https://example.org/x.png" });
    document.body.innerHTML += '<p style="color: red">x</p>';
    await fetch("https://example.org/").catch(() => {});
    setTimeout("window.entered = true");
    await new Promise((resolve) => setTimeout(resolve, 200));
    return [window.entered ?? 0, [...new Set(seen)].sort()];
  });
  assert.deepEqual(refused, [
    0,
    ["connect-src", "img-src", "script-src", "script-src-elem", "style-src-attr", "style-src-elem"],
  ]);
  for (const name of fs.readdirSync(www, { recursive: true }).filter((each) => each.endsWith(".html"))) {
    const html = fs.readFileSync(path.join(www, name), "utf8");
    assert.doesNotMatch(html, /<[^>]+\s(style|on\w+)=/, name);
    assert.match(html, /http-equiv="Content-Security-Policy"/, name);
  }
  await page.close();
});
