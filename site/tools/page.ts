// The frame of each page, and the names of the files that pages ask for.
//
// All that is not a page stands in assets/ with a hash of its content in its name, so whatever a
// browser, a server or the copy for offline use keeps of an older version can't be taken for the new
// one's.
import crypto from "node:crypto";
import fs from "node:fs";
import path from "node:path";
import { escapeHtml } from "./documents";
import { template, www } from "./places";

export interface Page {
  title: string;
  description: string;
  main: string;
  /// The page's script, by its name in the bundle.
  script: string;
  kind: "wide" | "reading" | "bare";
  preload?: string;
  /// Whether it goes without the styles of the tour, the gallery, the cheat sheet and paper.
  isPlain?: boolean;
}

export interface Assets {
  style: string;
  /// The styles that the playground does without.
  moreStyle: string;
  /// The scripts by their plain names.
  scripts: Record<string, string>;
  policy: string;
}

/// Writes a file into assets/ under a name with the hash of its content; gives that name.
export function writeAsset(name: string, content: string | Uint8Array): string {
  const hash = crypto.createHash("sha256").update(content).digest("hex").slice(0, 10);
  const { name: stem, ext } = path.parse(name);
  const hashed = `assets/${stem}-${hash}${ext}`;
  fs.writeFileSync(path.join(www, hashed), content);
  return hashed;
}

/// The one script that a page holds itself: it chooses dark or light before the first paint.
const themeScript =
  'try { const theme = localStorage.getItem("marl.theme"); if (theme) document.documentElement.dataset.theme = theme; } catch {}';

/// What a page may load: the site's own files, and no code but theirs. The editor's styles come with
/// the nonce.
export function policyOf(nonce: string): string {
  const hash = crypto.createHash("sha256").update(themeScript).digest("base64");
  return [
    "default-src 'none'",
    `script-src 'self' 'wasm-unsafe-eval' 'sha256-${hash}'`,
    `style-src 'self' 'nonce-${nonce}'`,
    "img-src 'self' data:",
    "connect-src 'self'",
    "worker-src 'self'",
    "frame-src 'self'",
    "form-action 'self'",
    "base-uri 'self'",
  ].join("; ");
}

/// Writes a page. `name` is its path on the site; one that stands in a folder finds the others above.
export function writePage(name: string, page: Page, assets: Assets) {
  const up = "../".repeat(name.split("/").length - 1);
  const styles = page.isPlain ? [assets.style] : [assets.style, assets.moreStyle];
  const frame = template(page.kind === "bare" ? "bare.html" : "frame.html");
  const shown = frame
    .replaceAll("{{title}}", escapeHtml(page.title))
    .replaceAll("{{description}}", escapeHtml(page.description))
    .replace("{{policy}}", assets.policy)
    .replace("{{theme}}", themeScript)
    .replace("{{class}}", page.kind)
    .replace("{{styles}}", styles.map((file) => `<link rel="stylesheet" href="${up}${file}">\n`).join(""))
    .replace("{{script}}", up + assets.scripts[page.script])
    .replace("{{preload}}", page.preload ?? "")
    .replace("{{without}}", page.script === "plain" ? "" : template("noscript.html"))
    .replaceAll("{{up}}", up)
    .replace(`<a href="${up}${name}">`, `<a href="${up}${name}" aria-current="page">`)
    .replace("{{main}}", () => page.main);
  fs.mkdirSync(path.dirname(path.join(www, name)), { recursive: true });
  fs.writeFileSync(path.join(www, name), shown);
}
