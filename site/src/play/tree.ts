// An expression as a picture: each application is its head with the arguments below it. A node that
// stands in several places is drawn once, with a number, and the number stands in the other places.
import type { Tree } from "../machine/laboratory";

interface Term {
  label: string;
  children: Term[];
  /// Set on a node that is shown elsewhere again, and on those places.
  shared?: number;
  reference: boolean;
  x: number;
  depth: number;
  width: number;
}

/// Numbers for the nodes that stand in several places of the trees.
export type Shared = Map<number, number>;

export function sharedParts(trees: Tree[]): Shared {
  const ids: Shared = new Map();
  const visit = (tree: Tree) => {
    if ("again" in tree && !ids.has(tree.id)) ids.set(tree.id, ids.size + 1);
    if ("of" in tree) tree.of.forEach(visit);
  };
  trees.forEach(visit);
  return ids;
}

/// The head of an application and its arguments.
function spine(tree: Tree): [Tree, Tree[]] {
  const rest: Tree[] = [];
  let head = tree;
  while ("of" in head) {
    rest.unshift(head.of[1]);
    head = head.of[0];
  }
  return [head, rest];
}

const shorten = (text: string) => (text.length > 26 ? `${text.slice(0, 24)}…` : text);

function termOf(tree: Tree, shared: Shared): Term {
  const term = { label: "", children: [] as Term[], reference: false, x: 0, depth: 0, width: 0 };
  if ("again" in tree) return { ...term, shared: shared.get(tree.id), reference: true };
  const [head, rest] = spine(tree);
  if ("again" in head) term.children.push(termOf(head, shared));
  else term.label = shorten("leaf" in head ? head.leaf : "");
  term.children.push(...rest.map((each) => termOf(each, shared)));
  return { ...term, shared: shared.get(tree.id) };
}

const letter = 7.4;
const gap = 14;
const level = 40;

/// Puts the leaves side by side and each head above the middle of its arguments.
function place(term: Term, left: number, depth: number): number {
  const text = term.reference ? 3 : Math.max(1, term.label.length) + (term.shared ? 2 : 0);
  term.width = text * letter + 12;
  term.depth = depth;
  let right = left;
  for (const child of term.children) right = place(child, right, depth + 1) + gap;
  right = Math.max(left, right - gap);
  if (term.children.length === 0) {
    term.x = left + term.width / 2;
    return left + term.width;
  }
  term.x = (term.children[0].x + term.children.at(-1)!.x) / 2;
  const missing = left - (term.x - term.width / 2);
  if (missing > 0) move(term, missing);
  return Math.max(right + Math.max(0, missing), term.x + term.width / 2);
}

function move(term: Term, by: number) {
  term.x += by;
  for (const child of term.children) move(child, by);
}

const space = "http://www.w3.org/2000/svg";

function element(name: string, attributes: Record<string, string | number>, text?: string) {
  const made = document.createElementNS(space, name);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, String(value));
  if (text !== undefined) made.textContent = text;
  return made;
}

function draw(term: Term, into: Element) {
  const y = term.depth * level + 18;
  for (const child of term.children) {
    const below = child.depth * level + 18;
    into.append(
      element("path", {
        class: "edge",
        d: `M${term.x} ${y + 10} C${term.x} ${y + 24} ${child.x} ${below - 24} ${child.x} ${below - 11}`,
      }),
    );
    draw(child, into);
  }
  const group = element("g", { class: term.reference ? "reference" : term.shared ? "shared" : "node" });
  group.append(
    element("rect", {
      x: term.x - term.width / 2,
      y: y - 11,
      width: term.width,
      height: 22,
      rx: 6,
    }),
  );
  const mark = term.shared ? `#${term.shared}` : "";
  const label = term.reference ? mark : [term.label || "·", mark].filter(Boolean).join(" ");
  group.append(element("text", { x: term.x, y: y + 4.5, "text-anchor": "middle" }, label));
  into.append(group);
}

function size(term: Term): { width: number; depth: number } {
  return term.children
    .map(size)
    .reduce((sum, each) => ({ width: Math.max(sum.width, each.width), depth: Math.max(sum.depth, each.depth) }), {
      width: term.x + term.width / 2,
      depth: term.depth,
    });
}

/// An expression as a tree; `marked` when the next step rewrites all of it.
export function pictureOf(tree: Tree, shared: Shared, marked: boolean): SVGElement {
  const term = termOf(tree, shared);
  place(term, 2, 0);
  const { width, depth } = size(term);
  const svg = element("svg", {
    class: marked ? "tree redex" : "tree",
    width: width + 4,
    height: depth * level + 34,
    role: "img",
    "aria-label": "The focus as a tree",
  }) as SVGElement;
  draw(term, svg);
  return svg;
}

function textOf(tree: Tree, shared: Shared, inner = false): string {
  if ("again" in tree) return `#${shared.get(tree.id)}`;
  if ("leaf" in tree) return tree.leaf;
  const [head, rest] = spine(tree);
  const text = [head, ...rest].map((each) => textOf(each, shared, true)).join(" ");
  const mark = shared.has(tree.id) ? `#${shared.get(tree.id)}=` : "";
  return inner || mark ? `${mark}(${text})` : text;
}

/// What waits in a context, the next one first. A context is I, or B applied to the context below
/// and to what waits on top of it.
export function waitingIn(context: Tree, shared: Shared): string[] {
  const frames: string[] = [];
  let rest = context;
  while ("of" in rest && "of" in rest.of[0]) {
    const frame = rest.of[1];
    const held = "of" in frame && "leaf" in frame.of[0] && frame.of[0].leaf === "T";
    frames.push(held ? `… ${textOf(frame.of[1], shared, true)}` : `${textOf(frame, shared, true)} …`);
    rest = rest.of[0].of[1];
  }
  if ("leaf" in rest && rest.leaf !== "I") frames.push(rest.leaf);
  return frames;
}
