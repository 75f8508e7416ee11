"""Shows the nodes of marl in gdb as the expressions that they are.

    gdb -x tools/gdb_marl.py build/dev/marl

A Value or a pointer to a Node prints as its text, its count, and what its header says: the rank of its
head, whether work is left in it, its free letters. A Word prints as the number, the node or the closure
that it is: <part of a body | what it captures>, or the operands of a cell. A pointer to Code prints as the
expression that it is made of. An expression is cut off behind some hundred bytes, and nothing in the
process is called, so that broken heaps can be looked at too.
"""
import gdb
import struct

SHOWN = 200  # bytes of an expression
ZITS = 0x40
RANK_ZERO = 0x34
LONG = 48  # digits
CLOSURE = 4  # the tag of a Word
CELLS = {3: "J", 4: "V"}  # the kinds of closures that are cells, and what they are as nodes
NODE_CELL = 5


def read(address, size):
    return gdb.selected_inferior().read_memory(address, size).tobytes()


def header_of(address):
    return struct.unpack("<Q", read(address, 8))[0]


def span_of(header):
    return header >> 30 & 0x3FFFFFF


def leaf_text(address, span):
    """The text of a Leaf as a person reads it."""
    kind = read(address + 8, 1)
    if kind == b"\n":
        return f"cray of {span}"
    if kind == b" ":
        return f"real[{struct.unpack('<d', read(address + 9, 8))[0]!r}]"
    if kind.isdigit() and span >= LONG and read(address + 7 + span, 1) == b"\0":
        return f"number of {span} digits"  # its text is not written yet
    bytes_read = b""
    while len(bytes_read) < SHOWN and not bytes_read.endswith(b"\0"):
        bytes_read += read(address + 8 + len(bytes_read), 1)
    return bytes_read.rstrip(b"\0").decode("latin-1")


def words(address, count):
    return struct.unpack(f"<{count}Q", read(address, 8 * count))


def parts_of_closure(address):
    """A closure as what `expression` takes apart: the part of a body, and what it captures. A cell has
    its two operands in their places, or the node that it has become."""
    code, node = words(address + 8, 2)
    kind = (header_of(address) >> 56) - RANK_ZERO
    if kind == NODE_CELL:
        return [code]
    if kind in CELLS:
        return [f"({CELLS[kind]} ", code, " ", node, ")"]
    if node:
        return [node]
    captured = words(address + 24, span_of(header_of(address)))
    return ["<", words(code, 1)[0], " |"] + [part for word in captured for part in (" ", word)] + [">"]


def parts_of_pair(address):
    function, argument = words(address + 8, 2)
    parts = [")", argument, " "]
    while function and not header_of(function) >> 63 and len(parts) < SHOWN:
        function, argument = words(function + 8, 2)
        parts += [argument, " "]
    return ["("] + [function] + parts[::-1]


def expression(word):
    """The expression that a Word is, without recursion and not longer than SHOWN."""
    text, rest = "", [word]
    while rest and len(text) < SHOWN:
        item = rest.pop()
        if isinstance(item, str):
            text += item
        elif item == 0:
            text += "null"
        elif item & 1:
            number = (item ^ 1 << 63) - (1 << 63) >> 1
            text += str(number) if number >= 0 else f"0{-number}"
        elif item & 2:
            bits = item >> 2 and (item >> 2) + (1023 - 256 << 53)
            bits = bits >> 1 | (bits & 1) << 63
            text += f"real[{struct.unpack('<d', struct.pack('<Q', bits))[0]:e}]"
        elif item & CLOSURE:
            rest += parts_of_closure(item & ~CLOSURE)[::-1]
        elif header_of(item) >> 63:
            text += leaf_text(item, span_of(header_of(item)))
        else:
            rest += parts_of_pair(item)[::-1]
    return text if not rest else text[:SHOWN] + "..."


def node_summary(address):
    if address == 0:
        return "null"
    header = header_of(address)
    notes = [f"count {header & 0x3FFFFFFF}"]
    code = header >> 56 & 0x3F
    if header >> 56 & 0x7F == ZITS:
        notes.append("text in Pairs")
    elif header >> 56 & 0x7F:
        notes.append(f"rank {code - RANK_ZERO}")
        if header >> 62 & 1:
            notes.append("unsettled")
        if not header >> 63:
            letters = [chr(97 + i) for i in range(26) if span_of(header) >> i & 1]
            notes += ["free " + "".join(letters)] if letters else []
    else:
        notes.append("not analysed")
    return f"{expression(address)}  ({', '.join(notes)})"


def word_summary(word):
    if word == 0 or word & 1:
        return expression(word) if word else "none"
    if word & CLOSURE:
        return f"{expression(word)}  (count {header_of(word & ~CLOSURE) & 0x3FFFFFFF})"
    return node_summary(word)


def code_summary(address):
    return f"code of {expression(words(address, 1)[0])}" if address else "null"


class Printer:
    def __init__(self, summary, value):
        self.summary, self.value = summary, int(value)

    def to_string(self):
        return self.summary(self.value)


SUMMARIES = {
    "marl::Node": node_summary,
    "marl::PairNode": node_summary,
    "marl::Closure": lambda address: word_summary(address | CLOSURE) if address else "null",
    "marl::Code": code_summary,
}


def lookup(value):
    if value.type.unqualified().name == "marl::Word":
        return Printer(word_summary, value)
    kind = gdb.types.get_basic_type(value.type)
    if kind.code == gdb.TYPE_CODE_PTR:
        summary = SUMMARIES.get(gdb.types.get_basic_type(kind.target()).tag)
        return Printer(summary, value) if summary else None
    return Printer(node_summary, value["node_"]) if kind.tag == "marl::Value" else None


import gdb.types  # noqa: E402

gdb.pretty_printers.append(lookup)
