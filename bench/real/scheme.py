# scheme: a small part of Scheme from standard input. Data is compiled into functions of the local values, which are
# linked lists; names are looked up once.
import math
import re
import sys

sys.setrecursionlimit(1000000)
TOKEN = re.compile(r"\s*(?:;[^\n]*\s*)*([()']|\"[^\"]*\"|[^\s()'\";]+)?")
NOTHING = ("nothing",)


class Symbol(str):
    pass


class Procedure:
    def __init__(self, count, code, local):
        self.count, self.code, self.local = count, code, local


class Tail:
    def __init__(self, code, local):
        self.code, self.local = code, local


def read(text):
    data, stack = [], []
    i = 0
    while True:
        found = TOKEN.match(text, i)
        token, i = found.group(1), found.end()
        if not token:
            return data
        if token == "(":
            stack.append(data)
            data = []
        elif token == "'":
            stack.append(data)
            data = ["'"]
            continue
        else:
            if token == ")":
                item = data
                data = stack.pop()
            elif token[0] == '"':
                item = token[1:-1]
            else:
                item = atom(token)
            while data and data[0] == "'" and isinstance(data[0], str) and not isinstance(data[0], Symbol):
                item = [Symbol("quote"), item]
                data = stack.pop()
            data.append(item)
            continue


def atom(token):
    try:
        return int(token)
    except ValueError:
        pass
    if re.fullmatch(r"[-+]?\d*\.?\d+(e[-+]?\d+)?", token):
        return float(token)
    return {"#t": True, "#f": False}.get(token, Symbol(token))


def cells(x):
    """A list of Python's as pairs; what stands behind a point ends it."""
    if not isinstance(x, list):
        return x
    out, items = None, x
    if len(x) > 2 and x[-2] == Symbol("."):
        out, items = cells(x[-1]), x[:-2]
    for item in reversed(items):
        out = (cells(item), out)
    return out


def items_of(x):
    while isinstance(x, tuple) and x is not NOTHING:
        yield x[0]
        x = x[1]


def written(x):
    if x is None:
        return "()"
    if x is True or x is False:
        return "#t" if x else "#f"
    if isinstance(x, (int, str)):
        return str(x)
    if isinstance(x, float):
        return repr(x)
    if not isinstance(x, tuple):
        return "#procedure"
    parts = []
    while isinstance(x, tuple):
        parts.append(written(x[0]))
        x = x[1]
    return "(" + " ".join(parts) + ("" if x is None else " . " + written(x)) + ")"


GLOBALS = {}


def nth(i, local):
    while i:
        local, i = local[1], i - 1
    return local[0]


def run(code, local):
    value = code(local)
    while isinstance(value, Tail):
        value = value.code(value.local)
    return value


def apply_to(f, values):
    if not isinstance(f, Procedure):
        return f(*values)
    local = f.local
    for value in reversed(values):
        local = (value, local)
    return Tail(f.code, local)


def call(f, values):
    value = apply_to(f, values)
    while isinstance(value, Tail):
        value = value.code(value.local)
    return value


def scheme_compile(d, scope):
    if isinstance(d, Symbol):
        if d in scope:
            i = scope.index(d)
            return lambda local: nth(i, local)
        if d in PRIMITIVES:
            primitive = PRIMITIVES[d]
            return lambda local: primitive
        return lambda local: GLOBALS[d]
    if not isinstance(d, list):
        return lambda local: d
    head = d[0]
    if isinstance(head, Symbol) and head not in scope and head in FORMS:
        return FORMS[head](d, scope)
    f = scheme_compile(head, scope)
    operands = [scheme_compile(x, scope) for x in d[1:]]
    return lambda local: apply_to(run(f, local), [run(x, local) for x in operands])


def choice(c, x, y):
    return lambda local: y(local) if run(c, local) is False else x(local)


def form_if(d, scope):
    c, x = scheme_compile(d[1], scope), scheme_compile(d[2], scope)
    return choice(c, x, scheme_compile(d[3], scope) if len(d) > 3 else lambda local: NOTHING)


def form_lambda(d, scope):
    count, code = len(d[1]), body(d[2:], list(d[1]) + scope)
    return lambda local: Procedure(count, code, local)


def pushed(values, local):
    for value in reversed(values):
        local = (value, local)
    return local


def form_let(d, scope):
    if isinstance(d[1], Symbol):
        names = [Symbol("define"), d[1], [Symbol("lambda"), [p[0] for p in d[2]], *d[3:]]]
        return body([names, [d[1], *[p[1] for p in d[2]]]], scope)
    values = [scheme_compile(p[1], scope) for p in d[1]]
    code = body(d[2:], [p[0] for p in d[1]] + scope)
    return lambda local: code(pushed([run(v, local) for v in values], local))


def form_let_each(d, scope):
    if not d[1]:
        return body(d[2:], scope)
    name, value = d[1][0]
    v, code = scheme_compile(value, scope), form_let_each([d[0], d[1][1:], *d[2:]], [name] + scope)
    return lambda local: code((run(v, local), local))


def clauses(x, scope):
    if not x:
        return lambda local: NOTHING
    if x[0][0] == Symbol("else"):
        return body(x[0][1:], scope)
    return choice(scheme_compile(x[0][0], scope), body(x[0][1:], scope), clauses(x[1:], scope))


def all_true(x, scope):
    if not x:
        return lambda local: True
    c = scheme_compile(x[0], scope)
    return c if len(x) == 1 else choice(c, all_true(x[1:], scope), lambda local: False)


def one_true(x, scope):
    if not x:
        return lambda local: False
    c, r = scheme_compile(x[0], scope), one_true(x[1:], scope)

    def code(local):
        value = run(c, local)
        return r(local) if value is False else value
    return code


def define_parts(d):
    if isinstance(d[1], list):
        return d[1][0], [Symbol("lambda"), d[1][1:], *d[2:]]
    return d[1], d[2]


def is_define(d):
    return isinstance(d, list) and d[:1] == [Symbol("define")]


def is_lambda(d):
    return isinstance(d, list) and d[:1] == [Symbol("lambda")]


def body(x, scope):
    if is_define(x[0]):
        group = []
        while is_define(x[0]) and is_lambda(define_parts(x[0])[1]):
            group.append(define_parts(x[0]))
            x = x[1:]
        if not group:
            name, value = define_parts(x[0])
            v, rest = scheme_compile(value, scope), body(x[1:], [name] + scope)
            return lambda local: rest((run(v, local), local))
        inner = [name for name, _ in group] + scope
        codes = [(len(value[1]), body(value[2:], list(value[1]) + inner)) for _, value in group]
        rest = body(x, inner)

        def code(local):
            made = [Procedure(count, c, None) for count, c in codes]
            local = pushed(made, local)
            for procedure in made:
                procedure.local = local
            return rest(local)
        return code
    c = scheme_compile(x[0], scope)
    if len(x) == 1:
        return c
    rest = body(x[1:], scope)

    def both(local):
        run(c, local)
        return rest(local)
    return both


FORMS = {
    "quote": lambda d, scope: (lambda value: lambda local: value)(cells(d[1])),
    "if": form_if, "lambda": form_lambda, "let": form_let, "let*": form_let_each,
    "begin": lambda d, scope: body(d[1:], scope), "cond": lambda d, scope: clauses(d[1:], scope),
    "and": lambda d, scope: all_true(d[1:], scope), "or": lambda d, scope: one_true(d[1:], scope),
}


def cell_list(values):
    out = None
    for value in reversed(values):
        out = (value, out)
    return out


def chain(f):
    return lambda *x: all(f(a, b) for a, b in zip(x, x[1:]))


def display(x):
    sys.stdout.write(written(x))
    return NOTHING


def newline():
    sys.stdout.write("\n")
    return NOTHING


def for_each(f, x):
    for item in items_of(x):
        call(f, [item])
    return NOTHING


def quotient(x, y):
    q = abs(x) // abs(y)
    return q if (x < 0) == (y < 0) else -q


PRIMITIVES = {
    "+": lambda *x: sum(x), "*": lambda *x: math.prod(x),
    "-": lambda x, *y: x - sum(y) if y else -x, "quotient": quotient,
    "remainder": lambda x, y: x - y * quotient(x, y), "modulo": lambda x, y: x % y,
    "max": max, "min": min, "abs": abs, "sqrt": lambda x: math.sqrt(x),
    "=": chain(lambda a, b: a == b), "<": chain(lambda a, b: a < b), ">": chain(lambda a, b: a > b),
    "<=": chain(lambda a, b: a <= b), ">=": chain(lambda a, b: a >= b),
    "eq?": lambda x, y: x == y, "equal?": lambda x, y: x == y,
    "cons": lambda x, y: (x, y), "car": lambda x: x[0], "cdr": lambda x: x[1],
    "list": lambda *x: cell_list(x), "null?": lambda x: x is None,
    "pair?": lambda x: isinstance(x, tuple), "not": lambda x: x is False,
    "number?": lambda x: isinstance(x, (int, float)) and not isinstance(x, bool),
    "symbol?": lambda x: isinstance(x, Symbol),
    "string?": lambda x: isinstance(x, str) and not isinstance(x, Symbol),
    "length": lambda x: sum(1 for _ in items_of(x)),
    "reverse": lambda x: cell_list(list(items_of(x))[::-1]),
    "append": lambda *x: cell_list([y for z in x for y in items_of(z)]),
    "apply": lambda f, x: call(f, list(items_of(x))),
    "map": lambda f, x: cell_list([call(f, [item]) for item in items_of(x)]),
    "for-each": for_each, "display": display, "newline": newline,
    "string-append": lambda *x: "".join(x), "string-length": len, "number->string": written,
    "symbol->string": str, "string->symbol": Symbol, "substring": lambda s, i, j: s[i:j],
}

for datum in read(sys.stdin.read()):
    if is_define(datum):
        global_name, global_value = define_parts(datum)
        GLOBALS[global_name] = run(scheme_compile(global_value, []), None)
    else:
        result = run(scheme_compile(datum, []), None)
        if result is not NOTHING:
            print(written(result))
