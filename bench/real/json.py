# json: reads JSON from standard input and writes it in lines, members in the order of their keys. The reader is one
# of its own, byte by byte, as a program in the language would be, and not the library's, which is C.
import re
import sys

SPACE = re.compile(rb"[ \t\n\r]*")
NUMBER = re.compile(rb"-?\d+(\.\d+)?([eE][+-]?\d+)?")
PIECE = re.compile(rb'[^"\\]*')
ESCAPES = {98: b"\b", 102: b"\f", 110: b"\n", 114: b"\r", 116: b"\t"}
WORDS = {b"t": (b"true", True), b"f": (b"false", False), b"n": (b"null", None)}


def skip(text, i):
    return SPACE.match(text, i).end()


def value(text, i):
    c = text[i]
    if c == 34:
        return string(text, i + 1)
    if c == 123:
        return members(text, skip(text, i + 1))
    if c == 91:
        return elements(text, skip(text, i + 1))
    word = WORDS.get(text[i:i + 1])
    if word:
        return word[1], i + len(word[0])
    found = NUMBER.match(text, i)
    number = found.group()
    return (float(number) if found.group(1) or found.group(2) else int(number)), found.end()


def string(text, i):
    pieces = []
    while True:
        j = PIECE.match(text, i).end()
        pieces.append(text[i:j])
        if text[j] == 34:
            return b"".join(pieces), j + 1
        c = text[j + 1]
        i = j + 2
        if c == 117:
            code = int(text[i:i + 4], 16)
            i += 4
            if 0xD800 <= code < 0xDC00:
                code = 0x10000 + (code - 0xD800) * 0x400 + int(text[i + 2:i + 6], 16) - 0xDC00
                i += 6
            pieces.append(chr(code).encode())
        else:
            pieces.append(ESCAPES.get(c, bytes([c])))


def elements(text, i):
    found = []
    if text[i] == 93:
        return found, i + 1
    while True:
        element, i = value(text, i)
        found.append(element)
        i = skip(text, i)
        if text[i] == 93:
            return found, i + 1
        i = skip(text, i + 1)


def members(text, i):
    found = {}
    if text[i] == 125:
        return found, i + 1
    while True:
        key, i = string(text, i + 1)
        i = skip(text, skip(text, i) + 1)
        found[key], i = value(text, i)
        i = skip(text, i)
        if text[i] == 125:
            return found, i + 1
        i = skip(text, i + 1)


SPECIAL = re.compile(rb'["\\\x00-\x1f]')
ESCAPED = {b'"': b'\\"', b"\\": b"\\\\", b"\n": b"\\n", b"\t": b"\\t", b"\r": b"\\r"}


def quoted(text):
    def escaped(found):
        return ESCAPED.get(found.group()) or b"\\u%04x" % found.group()[0]
    return b'"' + SPECIAL.sub(escaped, text) + b'"'


def write(x, line, out):
    if isinstance(x, bytes):
        out.append(quoted(x))
    elif isinstance(x, dict) and x:
        inner = line + b"  "
        out.append(b"{")
        for i, key in enumerate(sorted(x)):
            out.append((b"," if i else b"") + inner + quoted(key) + b": ")
            write(x[key], inner, out)
        out.append(line + b"}")
    elif isinstance(x, list) and x:
        inner = line + b"  "
        out.append(b"[")
        for i, element in enumerate(x):
            out.append((b"," if i else b"") + inner)
            write(element, inner, out)
        out.append(line + b"]")
    elif x is None or x is True or x is False:
        out.append({None: b"null", True: b"true", False: b"false"}[x])
    else:
        out.append(b"{}" if x == {} else b"[]" if x == [] else repr(x).encode())


data = sys.stdin.buffer.read()
pieces = []
write(value(data, skip(data, 0))[0], b"\n", pieces)
sys.stdout.buffer.write(b"".join(pieces) + b"\n")
