"""Shows the nodes of marl in gdb as the expressions that they are.

    gdb -x tools/gdb_marl.py build/dev/marl

A Value or a pointer to a Node prints as its text, its count, and what its header says: the rank of its
head, whether work is left in it, its free letters. An expression is cut off behind some hundred bytes,
and nothing in the process is called, so that broken heaps can be looked at too.
"""
import gdb
import struct

SHOWN = 200  # bytes of an expression
ZITS = 0x40
RANK_ZERO = 0x34
LONG = 48  # digits


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


def expression(address):
    """The application that stands at an address, without recursion and not longer than SHOWN."""
    text, rest = "", [address]
    while rest and len(text) < SHOWN:
        item = rest.pop()
        if isinstance(item, str):
            text += item
            continue
        if item == 0:
            text += "null"
            continue
        header = header_of(item)
        if header >> 63:
            text += leaf_text(item, span_of(header))
            continue
        function, argument = struct.unpack("<QQ", read(item + 8, 16))
        parts = [")", argument, " "]
        while function and not header_of(function) >> 63 and len(parts) < SHOWN:
            function, argument = struct.unpack("<QQ", read(function + 8, 16))
            parts += [argument, " "]
        rest += parts + [function, "("]
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


class NodePrinter:
    def __init__(self, pointer):
        self.address = int(pointer)

    def to_string(self):
        return node_summary(self.address)


def lookup(value):
    kind = gdb.types.get_basic_type(value.type)
    if kind.code == gdb.TYPE_CODE_PTR:
        target = gdb.types.get_basic_type(kind.target())
        return NodePrinter(value) if target.tag in ("marl::Node", "marl::PairNode") else None
    return NodePrinter(value["node_"]) if kind.tag == "marl::Value" else None


import gdb.types  # noqa: E402

gdb.pretty_printers.append(lookup)
