// Where things stand in the repository. The tools run with site/ as their folder.
import fs from "node:fs";
import path from "node:path";

export const site = process.cwd();
export const root = path.dirname(site);
export const build = path.join(root, "build/site");
export const www = path.join(build, "www");

/// A file of the repository as text.
export const source = (name: string) => fs.readFileSync(path.join(root, name), "utf8");
/// A template of a page.
export const template = (name: string) => fs.readFileSync(path.join(site, "templates", name), "utf8");
