// The files that scripts ask for, under the names that the build gave them: a hash stands in each, so
// that no file of another version is taken for it. All scripts of pages stand in one folder with them.
declare const ASSETS: Record<
  "marl" | "marlWorker" | "laboratory" | "laboratoryWorker" | "entries" | "library" | "examples" | "search",
  string
>;

export function asset(name: keyof typeof ASSETS): URL {
  return new URL(`../${ASSETS[name]}`, import.meta.url);
}

/// A page of the site.
export function page(name: string): URL {
  return new URL(`../${name}`, import.meta.url);
}

/// What styles of scripts carry, so that the page's policy lets them in.
declare const STYLE_NONCE: string;
export const styleNonce = STYLE_NONCE;
