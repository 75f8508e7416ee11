#!/usr/bin/env python3
"""No function of marl calls itself by the depth of data.

    recursion_test.py MARL

The cycles of the binary's own calls are those of the list, each of which is bounded by something
else. A run within a run is no cycle here: `guard_nesting` sees to its room, and the test under a
small stack to how much that is. Calls through tables go out of what this sees.
"""
import collections
import pathlib
import re
import shutil
import subprocess
import sys

# What may be on a cycle, and why that is bounded.
BOUNDED = {
    "Compiler::.*|walk_both_ways": "a body is cut from a depth of expressions on",
    "Piece::.*|make_piece|.*vector::~vector": "pieces nest as expressions in code do",
    # Parts are cut likewise, and what stands in the program's text has its nodes: a closure whose node
    # is made of code meets others by a list of its own.
    "Code::.*|retire|drop_(instructions|parts)|make_anew|each_part|.*unique_ptr::.*|"
    "make_(lambda_code|remainder|hoisting|template|node|one_node|closure_node)|"
    "node_(in_place_of|of_tagged|of_cell)|remainder_of|template_of|run_template|run|hoist_applied|construct|"
    "lay_out_frame|take_(code_away|parameters)|push_(parts|operands)|"
    "give_code_to_lambdas|take_numbers_from_nodes|is_settled_with|const": "parts nest as expressions in code do",
    "analyse_.*|free_set|(find|make|bind)_symbol|symbol_of|find_or_make|define_builtin|Symbol::~Symbol":
        "what these ask of a node costs no walk",
    "destroy|Value::~Value|run_todo_action": "runs within runs have a limit",
    "mag_(add|mul)|multiply(_equal|_transform)?|lowest_pieces|forward|backward|change_base|read_bits|"
    "unfold_bits|bracket_code|divide_(by_(top|newton)|newton|numbers|run)|multiply_limbs|reciprocal": "the size halves",
    "TreeBuilder::push_text|walk": "once: what is called is of the other kind",
}
NESTED = ("marl::reduce(", "marl::reduce_call(")


def plain(name):
    """A function's name without its arguments and the compiler's marks."""
    name = re.sub(r" \[clone [^]]*\]|\(anonymous namespace\)::", "", name)
    depth, kept = 0, ""
    for c in name:
        depth += c in "(<"
        if depth == 0:
            kept += c
        depth -= c in ")>"
    return kept.split(" ")[-1]


def calls(binary):
    """What calls what, those within a function's own loops left out."""
    graph, function = collections.defaultdict(set), None
    listing = subprocess.run(["objdump", "-d", "-C", "--no-show-raw-insn", "--no-addresses", binary],
                             capture_output=True, text=True, check=True).stdout
    for line in listing.splitlines():
        if head := re.match(r"<(.*)>:$", line):
            function = head[1]
        elif jump := re.search(r"\t(call|j\w+) +<(.*?)(\+0x[0-9a-f]+)?>$", line):
            target = jump[2]
            if jump[1] != "call" and target == function or target.startswith(NESTED):
                continue
            graph[function].add(target)
    return graph


def cycles(graph):
    """The strongly connected parts, by Tarjan's way."""
    number, low, stack, on_stack = {}, {}, [], set()
    for root in list(graph):
        work = [] if root in number else [(root, None)]
        while work:
            node, rest = work.pop()
            if rest is None:
                number[node] = low[node] = len(number)
                stack.append(node)
                on_stack.add(node)
                rest = iter(graph.get(node, ()))
            for target in rest:
                if target not in number:
                    work += [(node, rest), (target, None)]
                    break
                if target in on_stack:
                    low[node] = min(low[node], number[target])
            else:
                if work:
                    low[work[-1][0]] = min(low[work[-1][0]], low[node])
                if low[node] == number[node]:
                    part = set()
                    while node not in part:
                        part.add(stack.pop())
                    on_stack -= part
                    if len(part) > 1 or node in graph.get(node, ()):
                        yield part


def main():
    binary = pathlib.Path(sys.argv[1])
    if not shutil.which("objdump") or b"__asan_init" in binary.read_bytes():
        print("skipped: no objdump, or a build whose calls are others")
        return 0
    own = {plain(name) for part in cycles(calls(binary)) for name in part if "marl::" in name}
    wrong = [name for name in own if not any(re.fullmatch(f"(marl::)?({pattern})", name)
                                             or "marl::" not in name for pattern in BOUNDED)]
    if "marl::Compiler::expression" not in own:
        wrong.append("no cycle of the compiler is found: this test sees nothing")
    print(*sorted(wrong), sep="\n")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
