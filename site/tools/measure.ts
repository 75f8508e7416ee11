// Lighthouse on the built site: the median of some runs for each page, as on a phone and on a desk.
//
// "blocked" is the total blocking time, what a slow machine's pages show most of. Other work on this
// machine counts as the page's, so the load while a page was measured stands behind its figures.
//
//     measure [--runs N] [PAGE]...
import os from "node:os";
import path from "node:path";
import { parseArgs } from "node:util";
import lighthouse, { desktopConfig, type Flags } from "lighthouse";
import puppeteer from "puppeteer-core";
import { serve } from "./serve";

const all = [
  "index.html",
  "tour/index.html",
  "tour/truth.html",
  "guide.html",
  "reference.html",
  "examples.html",
  "library.html",
  "search.html",
  "install.html",
  "cheatsheet.html",
  "mistakes.html",
  "design.html",
  "browser.html",
];

const { values, positionals } = parseArgs({
  options: { runs: { type: "string", default: "3" } },
  allowPositionals: true,
});

const { server, address } = await serve(path.resolve("../build/site/www"));
const browser = await puppeteer.launch({
  executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
  args: ["--no-sandbox", "--disable-dev-shm-usage", "--remote-debugging-port=0"],
});
const { port } = new URL(browser.wsEndpoint());

type Figures = Record<string, number>;

async function run(page: string, kind: string): Promise<Figures> {
  const flags: Flags = { port: Number(port), logLevel: "error" };
  const result = await lighthouse(address + page, flags, kind === "desk" ? desktopConfig : undefined);
  const { categories, audits } = result!.lhr;
  const figures: Figures = {};
  for (const [name, { score }] of Object.entries(categories)) figures[name] = Math.round((score ?? 0) * 100);
  figures["first paint"] = Math.round(audits["first-contentful-paint"].numericValue ?? 0);
  figures.blocked = Math.round(audits["total-blocking-time"].numericValue ?? 0);
  figures.shift = Math.round((audits["cumulative-layout-shift"].numericValue ?? 0) * 1000) / 1000;
  for (const { id, score, title } of Object.values(audits)) {
    const counts = Object.values(categories).some(({ auditRefs }) =>
      auditRefs.some((ref) => ref.id === id && ref.weight),
    );
    if (counts && score !== null && score < 0.9) console.log(`  ${page}, ${kind}: ${title}`);
  }
  return figures;
}

const median = (numbers: number[]) => numbers.sort((a, b) => a - b)[Math.floor(numbers.length / 2)];

for (const page of positionals.length ? positionals : all) {
  for (const kind of ["phone", "desk"]) {
    const runs: Figures[] = [];
    for (let i = 0; i < Number(values.runs); ++i) runs.push(await run(page, kind));
    const told = Object.keys(runs[0]).map((name) => `${name} ${median(runs.map((each) => each[name]))}`);
    console.log(`${page}, ${kind}: ${told.join(", ")} (load ${os.loadavg()[0].toFixed(1)})`);
  }
}
await browser.close();
server.close().closeAllConnections();
