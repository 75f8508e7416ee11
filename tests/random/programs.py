"""Random programs that reach the corners of the compiled machine.

A program is a row of definitions and an entry that shows what they give. Expressions are made by
type, from the templates of RULES, so that most of them mean something:

    n number   t truth   s text   l list   p pair   f function of a number   a array

    <n>       an expression of the type; <?> of any type, <.> of the template's own; capitals, <N>
              <*> <!>, for those without variables; <~> a number by a body of any size
    %n        a new letter that stands for the type, %? for any; bound from the next "_" on
    @1        the letter of the first such place, @2 of the second
    :1        a call of a definition that gives no number, :2 another call of it
    $         the code of a letter for `tk`, which prints it

A theme is a corner: its templates come as often as all the common ones, and the method that is
named for it makes definitions that stand in front. No program prints what depends on an address.
"""
import re

TYPES = "ntslpfa"
LETTERS = "abcdefghijklmnopqrstuvwxyz"

# Theme, type ("." for all), and templates with three blanks between them.
RULES = r"""
common n   0   1   2   3   5   10   255   01   1000000000   4611686018427387904   (2^80)   0012
common t   K   H
common s   []   [a]   [a[b]c]   (init[abc])
common l   K   J(1,K)   J(2,J(3,K))
common p   V(1,2)   V(K,[a])
common f   (%n\_@1+1)   plus(2)   (%n\0)   I   (%n\_(@1<3)(1)(@1))   K(3)
common a   cray   (cray 2)   (cray/1/2)
common n   (<n>+<n>)   (<n>-<n>)   (<n>%100*(<n>%100))   (<n>/<n>)   (<n>%7)   <f>(<n>)   <f>(<n>)
common n   rank(<?>)   look(<s>,<n>)   look(<a>,<n>)   <p>(%?\%?\_<n>)   rank(lisp(<?>))
common t   (<n><<n>)   (<n>=<n>)   (<n>><n>)   (<t>&<t>)   (<t>|<t>)   (!<t>)   (<?>=<?>)
common s   (<s>+<s>)   lisp(<?>)   type(<?>)   (<s>-01)   cork(<s>,0,88)   ([]+<n>)
common l   J(<?>,<l>)   J(<n>,<l>)   <l>(K)(%n\%l\_J(@1,@2))   (<a>Z)
common p   V(<?>,<?>)   V(<n>,<f>)   V(<f>,<l>)
common f   (%n\_<n>)   (%n\_<n>)   (%n\_<?>)   B(<f>,<f>)   C(dash,<n>)   (%n\%n\_<n>)(<n>)
common a   cork(<a>,0,<?>)   (<a>/<?>)   (<a>+<a>)   cork(cork(cray 2,0,<f>),1,<p>)
common .   <t>(<.>)(<.>)   (%?{<?>}_<.>)   (%f{<f>}_<.>)   tk($,<.>)   K(<.>,<?>)   H(<?>,<.>)
common .   <l>(<.>)(%n\%l\_<.>)   (%p{<p>}_<.>)   <p>(%?\%?\_<.>)   T(<?>,%?\_<.>)   (%?\_<.>)(<?>)
common .   (%?{putchar($)}_<.>)   V(<.>,<?>)(K)   look(cork(cray 2,1,<.>),1)   seq(<?>,<.>)
lambdas .   (%f{(%n\_<~>)}_seq(pr(@1(<n>)),seq(pr(@1),<.>)))   (%f{(%n\_<~>)}_<.>)
lambdas .   (%f{(%n\_<~>)}_seq(pr(@1),seq(pr(@1(<n>)),<.>)))   (%f{(%n\_<?>)}_seq(pr(@1),<.>))
lambdas p   (%f{(%n\_<~>)}_V(V(@1(<n>),lisp(@1)),J(@1,K)))   (%f{(%n\_<?>)}_V(@1(<n>),@1))
lambdas n   <~>   (%a{cork(cray 2,0,%n\_<~>)}_look(@1,0)(<n>)+look(@1,0)(1))   kept(%n\_<~>)(<n>)
lambdas f   kept(<f>)   kept(%n\_<~>)   (%n\_<~>)
lazy p   (%p{Q(tk($,<?>),<?>)}_seq(lisp(@1),@1))   Q(<?>,<?>)   D(tk($,<n>),<?>)   U(<?>,<?>)
lazy p   (%p{D(tk($,<n>),<?>)}_V(lisp(@1),@1(K)))   look(cork(cray 1,0,Q(tk($,<?>),<?>)),0)
lazy n   L(<n>,tk($,<n>))   X(<n>)(<n>)   Q(tk($,<n>),<n>)(K)   Q(<n>,<n>)(H)(<n>)
lazy .   (%p{Q(tk($,<?>),<.>)}_seq(pr(@1),@1(H)))   (%p{Q(<?>,tk($,<?>))}_seq(pr(@1),<.>))
endless .   (%n{<n>}_(@1<@1)(F(@1))(<.>))   (%n{<n>}_(@1<@1)(N(A(@1)))(<.>))
endless .   (%n{<n>}_(@1=@1|<t>&N(@1))(<.>)(<.>))   (%n{<n>}_(@1<@1)(F(<?>))(<.>))
identity t   (:1=:2)   (:1=:1)   (:1(K)=:2(K))   (:1(H)=:2(H))   (%p{<p>}_(@1=@1))   (:1(3)=:2(3))
identity t   (%f{(%n\_<p>)}_(@1(1)=@1(2)))   (%f{(%n\_<f>)}_(@1(1)=@1(2)))   (%f{<f>}_(@1(1)=@1(2)))
identity p   J(<L>,<?>)   V(<F>,<?>)   Q(<P>)   (%?\_J(<?>,K))   V(<P>,V(<L>,<?>))
identity f   (%?\_J(<?>,K))   (%n\_V(K,<F>))   (%n\%n\_J(<F>,@1))
nodes t   (%n{<n>}_leak(@1)=leak(@1))   (%n{<n>}_twins(cray/@1/@1))   raws(<n>,<n>)
nodes t   (%n{<n>}_raws(tern(cray/@1),tern(cray/@1)))   (%n{<n>}_tern(cray/@1)=tern(cray/@1))
nodes t   twins(cray/:1/:1)   twins(cray/:1/:2)   raws(kept(:1),:1)
nodes t   raws(:1,:2)   raws(:1(K),:2(K))   (%p{V(<n>,<?>)}_raws(@1(K),@1(K)))   twins(cray/7/7)
nodes t   (%n{<n>}_raws(bond(leak(@1)),@1))   (%n{<n>}_twins(cork(cork(cray 2,0,@1),1,@1)))
nodes t   (%?{<?>}_leak(@1)=leak(@1))   (%n{<n>}_(cray/@1)=(cray/@1))   (leak(5)=leak(5))
owned t   own(<n>+1)   own(<n>*2)   (own(<n>)&own(<n>+<n>))   twins(cray/(<n>+1)/<n>)
nodes n   (%n{<n>}_(cmpr(cray/@1,cray/@1)=0))   (%n{<n>}_(cmpr(cray/(@1+1),cray/(@1+1))=0))
nodes n   cmpr(cray/7,cray/7)   (cmpr(cray/<n>/<p>,cray/<n>)=0)
nodes .   (%n{<n>}_(leak(@1)=leak(@1))(<.>)(<.>))   (%n{<n>}_raws(@1,@1)(<.>)(<.>))
memory s   (%p{V(<n>,V(<n>,<n>))}_lisp(below(@1)))   lisp(below(below(V(<n>,V(<n>,<?>)))))
memory s   lisp(below(first(V(<n>,<n>))))   lisp(below(below(below(V(1,V(<?>,V(<n>,<?>)))))))
memory s   digits(<n>+1)   inside(cray/(2^70+<n>))   inside(cray/(<n>+1))   lisp(first(<p>))
memory s   lisp(below(<p>))   lisp(below(below(J(1,<l>))))
memory s   lisp(below(slot(cray/<p>)))   lisp(slot(cray/(<n>+1)))
memory p   V(<n>,V(<n>,<n>))   V(<n>,<n>)   V(<?>,V((<n>%9*2),<f>))
words n   abs(<?>)   strlen(lisp(<?>))   strspn(init(lisp(<?>)),lisp(<?>))   atol(init(lisp(<n>)))
words n   (<n>%5^(<n>%4))   relh(<s>,<n>)   reli(<s>,<n>)   look(init(<s>),<n>)   wave(<n>)
words n   (<n>*<n>)   (<n>*<n>*<n>)   (<n>*<n>/<n>)   (<n>*<n>%<n>)   strcmp(lisp(<?>),lisp(<?>))
words t   (<n>=<n>)   (<n>#<n>)   (real(<n>)=real(<n>))   (real(<n>)<real(<n>))   less(<?>,<?>)
words s   trim(<s>,<n>,<n>)   trim(<?>,<n>,<n>)   init(<s>)   init(<n>)   (init(<s>)+<s>)
quoted .   `(<!>)   <!>   `(%?{<*>}_<.>)
quoted n   look(`(cork(cray 2,0,<F>)),0)(<n>)   `(<F>)(<n>)   `(<P>)(H)(<n>)   look(<a>,0)(<n>)
quoted f   look(<a>,0)   look(<a>,0)   (%n\_add(@1))
quoted a   `(cork(cray 2,0,<F>))   cork(cray 2,0,<f>)
interrupts .   (%?{raise(2)}_<.>)   seq(raise(2),<.>)   tk($,(%?{raise(2)}_<.>))
interrupts n   (raise(2)+<n>)   (<n>=3)(raise(2))(<n>)   (%?{raise(2)}_getchar)
loads p   maker(<n>)   maker(<n>)   load([to]+[do(pr,<N>+0)])   load([x\to]+[do(pr,x+0)])(<n>)
loads p   (%p{maker(<n>)}_V(<p>,@1))   (%p{maker(<n>)}_(%p{maker(<n>)}_V(@1,<p>)))
loads .   (%p{maker(<n>)}_<.>)   (%p{maker(<n>)}_K(<.>,@1))   <p>(K)(<.>)   load([<!>])
loads .   (%p\%p\_<.>)(maker(1),maker(<n>))   <p>(%?\%?\_K(<.>,@1))   (%p{<p>}_K(<.>,V(@1,@1)))
loads .   (%n\%p\%p\_seq(pr(@1),K(<.>,V(@3,@2))))(9,maker(1),<p>)
"""
HOLE = re.compile(r"<[ntslpfa.?]>")
TOKEN = re.compile(r"<([ntslpfa.?~NTSLPFA!*])>|%([ntslpfa?])|@(\d)|:(\d)|([_$(){}])")

HELPERS = r"""
pr\x\puts(init(lisp(x)))
seq\a\b\b
tk\c\v\seq(putchar(c),v)
first\x\(refh(leak(x)+7)>128)(x)(bond(refk(leak(x)+8)))
below\x\(refh(leak(x)+7)>128)(x)(bond(refk(leak(x)+16)))
slot\x\p{calloc(99,8)}seq(V(copy(x,p),leak(x)),(refk(p)=0)(Z)(bond(refk(p))))
twins\x\p{calloc(99,8)}seq(copy(x,p),refk(p)=refk(p+8))
own\x\leak(x)=leak(x)
kept\x\p{calloc(9,8)}seq(refo(p,leak(x)),bond(refk(p)))
digits\x\p{post(leak(x)+8,rank(x))}K(p)(x)
inside\x\p{calloc(99,8)}q{seq(copy(x,p),post(refk(p)+8,rank(look(x,0))))}K(q)(x)
maker\load([x\to]+[do(pr,x+0)])
""".split("\n")[1:-1]


def read_rules():
    rules = {}
    for line in RULES.strip().splitlines():
        head, *templates = line.split("   ")
        theme, kind = head.split()
        rules.setdefault((theme, kind), []).extend(templates)
    return rules


MOST_DEFINITIONS = {"interrupts": 5, "lambdas": 9}  # large ones, or with few that matter


class Program:
    """Makes one program, from a source of chances."""
    rules = read_rules()

    def __init__(self, chances, theme, turns_part=1):
        self.r, self.theme, self.turns_part = chances, theme, turns_part
        self.variables = {}  # the letters in scope, with their types
        self.known = []  # definitions that may be called: name, types of parameters, type, cost
        self.lines = []
        # The steps of the definition at hand, as an estimate; how often what comes next is done;
        # and how many parts it may still get.
        self.cost, self.scale, self.budget = 0, 1, 0
        self.self_call = None  # that may stand in the body at hand, and its type;
        self.counter = ""  # it counts this letter down
        self.shown, self.result = None, "0"  # in place of calls of all definitions; the entry's end

    def text(self):
        """The program, one definition a line."""
        getattr(self, self.theme, lambda: None)()
        if not self.shown:
            for _ in range(self.r.randrange(2, MOST_DEFINITIONS.get(self.theme, 25))):
                if self.one_in(4):
                    self.constant("c", self.r.choice(TYPES))
                else:
                    self.define(self.r.choice(TYPES + "nnp"))
        self.begin(100)
        shown = [self.shown] if self.shown else [self.call(each, 2) for each in self.known]
        self.r.shuffle(shown)
        entry = "a\\" + "".join(f"x{{pr({each})}}" for each in shown) + self.result
        lines = [entry, *self.lines, *[r"with\x\raws"] * self.one_in(6), *HELPERS[:3]]
        whole = "".join(lines)
        return ",\n".join(lines + [each for each in HELPERS[3:] if each.split("\\")[0] in whole])

    def one_in(self, n):
        return self.r.randrange(n) == 0

    def begin(self, budget, **variables):
        self.variables, self.cost, self.budget = variables, 0, budget

    # Expressions.

    def expression(self, kind, depth):
        if kind == "?" or (self.one_in(50) and self.theme != "memory"):
            kind = self.r.choice(TYPES)
        self.cost += self.scale
        self.budget -= 1
        deep = depth > 0 and self.budget > 0
        if deep and self.self_call and self.self_call[1] == kind and self.one_in(3):
            made, self.self_call = self.self_call[0], None
            return made
        fitting = [letter for letter, known in self.variables.items() if known == kind]
        if fitting and self.one_in(3 if deep else 1):
            return self.r.choice(fitting)
        if deep and self.one_in(5) and (called := self.callable(kind)):
            return self.call(called, depth)
        theme = self.theme if self.one_in(2) else "common"
        templates = self.rules.get((theme, kind), []) + self.rules.get((theme, "."), [])
        if not deep or not templates:
            templates = self.rules["common", kind]
        if not deep:
            templates = [each for each in templates if not HOLE.search(each)]
        return self.fill(self.r.choice(templates), kind, depth - 1)

    def fill(self, template, kind, depth):
        scopes, letters, pending, calls = [self.variables], [], [{}], {}

        def put(found):
            hole, binder, letter, call, mark = found.groups()
            if hole:
                return self.hole(hole, kind, depth)
            if binder:
                free = [each for each in LETTERS if each not in [*letters, self.counter]]
                letters.append(self.r.choice(free))
                pending[-1][letters[-1]] = self.r.choice(TYPES) if binder == "?" else binder
                return letters[-1]
            if letter:
                return letters[int(letter) - 1]
            if call:
                known = [each for each in self.known if each[2] in "plf" and each[1]]
                calls.setdefault("", self.r.choice(known or [("V", "?", "p", 1)]))
                return calls.setdefault(call, self.call(calls[""], depth))
            return scope(mark)

        def scope(mark):
            if mark == "_":
                self.variables = self.variables | pending[-1]
                pending[-1] = {}
                return ""
            if mark == "(":
                scopes.append(self.variables)
            elif mark == ")":
                self.variables = scopes.pop()
            elif mark == "{":  # what a letter stands for is outside of its scope
                pending.append({})
            elif mark == "}":
                pending.pop()
            return str(self.r.randrange(97, 123)) if mark == "$" else mark

        made = TOKEN.sub(put, template)
        self.variables = scopes[0]
        return made

    def hole(self, hole, kind, depth):
        if hole == "~":
            return self.sized()
        if hole in ".?" or hole.islower():
            return self.expression(kind if hole == "." else hole, depth)
        outside = self.variables, self.self_call
        self.variables, self.self_call = {}, None
        made = self.expression({"!": kind, "*": "?"}.get(hole, hole.lower()), depth)
        self.variables, self.self_call = outside
        return made

    def callable(self, kind):
        most = 2000
        fitting = [d for d in self.known if d[2] == kind and self.cost + self.scale * d[3] < most]
        return fitting and self.r.choice(fitting)

    def call(self, definition, depth):
        name, parameters, _, cost = definition
        self.cost += self.scale * cost
        given = [self.r.choice("01235") if kind == "count" else self.expression(kind, depth - 1)
                 for kind in parameters]
        if given and self.one_in(2):
            return f"{name}({','.join(given)})"
        return name + "".join(f"({each})" for each in given)

    # Bodies about as large as those that get no code.

    def sized(self):
        shape = self.r.randrange(12)
        if shape == 0:  # deep
            return self.nested("{}+", self.r.choice([20, 140, 148, 149, 150, 310]))
        if shape == 1:  # many registers
            return self.nested("{}*{}+", self.r.choice([10, 50, 58, 60, 62, 64]))
        if shape == 2:  # many instructions; many nodes
            return self.balanced(self.r.choice([30, 1900, 2100, 3000] + [6000] * self.one_in(9)))
        if shape == 3:  # many choices
            return self.row_of_choices(self.r.randrange(2, 10))
        return self.expression("n", 3)

    def nested(self, part, count):
        number = self.expression("n", 0)
        return f"({part.format(number, number)}" * count + self.expression("n", 0) + ")" * count

    def balanced(self, leaves):
        if leaves == 1:
            return self.expression("n", 0)
        return f"({self.balanced(leaves // 2)}+{self.balanced(leaves - leaves // 2)})"

    def row_of_choices(self, count):
        if count == 0:
            return self.expression("n", 1)
        called = self.callable("t")
        ways = [self.row_of_choices(count - 1), self.expression("n", 1)]
        self.r.shuffle(ways)
        truth = self.call(called, 0) if called else self.expression("t", 1)
        return f"{truth}({ways[0]})({ways[1]})"

    # Definitions.

    def new_name(self, first):
        return first + LETTERS[len(self.known) // 26] + LETTERS[len(self.known) % 26]

    def define(self, kind):
        """A function, which may count down."""
        name, keys = self.new_name("f"), self.r.sample(LETTERS, self.r.randrange(1, 5))
        kinds = ["n"] + [self.r.choice(TYPES + "nn") for _ in keys[1:]]
        self.begin(60, **dict(zip(keys, kinds)))
        if self.one_in(3):
            self.scale, self.counter = 6, keys[0]
            base = self.expression(kind, 2)
            self.self_call = f"{name}({','.join([keys[0] + '-1', *keys[1:]])})", kind
            body = f"({keys[0]}<1)({base})({self.expression(kind, 4)})"
            self.scale, self.self_call, self.counter = 1, None, ""
            kinds[0] = "count"
        else:
            body = self.expression(kind, 5)
        if body[0] == "`":  # a lambda there would be one more parameter, for those not yet checked
            body = f"I({body})"
        self.lines.append(name + "\\" + "".join(key + "\\" for key in keys) + body)
        self.known.append((name, kinds, kind, self.cost))

    def constant(self, first, kind, form="%s"):
        self.begin(30)
        self.add_constant(self.new_name(first), kind, form % self.expression(kind, 4))

    def add_constant(self, name, kind, value):
        self.lines.append(f"{name}{self.r.choice(['', '', '', '()'])}\\{value}")
        self.known.append((name, [], kind, self.cost))

    # What a theme's programs begin with.

    def aliases(self):
        """Names that are other names: of each other, in rows and rings, and of built-ins."""
        ends = ["n rand", "n errno", "n getchar", "n <n>", "n tk($,<n>)", "a cray", "a <a>",
                "f labs", "f tk($,<f>)", "s tk($,<s>)", "2 plus", "2 dash", "2 V", "2 tk"]
        for base in "pqrs"[:self.r.randrange(1, 5)]:
            kind, end = self.r.choice(ends).split()
            names = [base + each for each in LETTERS[:self.r.randrange(2, 6)]]
            self.begin(20)
            end = self.fill(end, kind, 2)
            if self.one_in(24):
                end = self.r.choice(["I(%s)", "%s", "%s+1"]) % self.r.choice(names)
            for name, value in zip(names, [*names[1:], end]):
                if kind == "2":
                    self.lines.append(f"{name}\\{value}")
                    self.known.append((name, ["n"], "f", 3))
                else:
                    self.add_constant(name, kind, value)

    def lazy(self):
        """Combinators of the program's own, which don't call each other for ever."""
        for name, kind in ("Q", "p"), ("D", "p"), ("U", "p"), ("L", "n"):
            self.begin(20, a=self.r.choice(TYPES), b=self.r.choice(TYPES))
            body = self.fill(self.r.choice(self.rules["common", kind]), kind, 3)
            if kind == "p" and self.one_in(2):
                body = self.r.choice([r"V(y\V(a,y),b)", r"J(y\a,b)", r"K(b,a)", "V(x{7}a,b)"])
            if not self.one_in(4) and not re.search("[QDUL]", body):
                self.lines.append(f"{name}\\a\\b\\{body}")

    def endless(self):
        """Combinators that go on for ever if they are called."""
        self.lines += self.r.choice([
            [r"F\a\F a", r"N\a\N a a", r"A\a\A K a"], [r"F\a\N(a)", r"N\a\A(a)", r"A\a\F(a)"],
            [r"F\a\F(V a a)", r"N\a\a(N a)", r"A\a\K(A a)", r"[&]\a\b\b&a"]])

    def identity(self):
        self.lines += [r"Q\a\a=a"] * self.one_in(2)

    def interrupts(self):
        self.lines += self.r.choice([[], [r"shut\tk(90,I)"], [r"shut\tk(90,7)"], [r"shut\n\I"],
                                     [r"shut\seq(pr(faa(1)),I)"]])

    def quoted(self):
        """Values that a lambda survives in from the check of the program into its run."""
        self.lines.append(r"add\plus")
        for _ in range(4):
            self.define("f")
            self.constant("q", self.r.choice("faapl"), "`(%s)")

    def loads(self):
        maker = r"load([x\to]+[do(pr,x+0)])"
        self.lines.append(self.r.choice([r"maker\%s", r"maker\n\%s(n)", r"maker()\%s"]) % maker)

    def deep(self):
        """A value that is nested as deep as a loop goes."""
        link = self.r.choice(r"""x\f(x+1) x\f(x) x\y\f(y) C(f) B(f,I) V(f) x\f V(f,n) J(f,K)
            J(x\x+n,f) cork((cray/1),0,f) (y\x\y(x))(f) x\y{x}f(y) x\(x<n)(f(x))(n)""".split())
        depth, first = self.r.choice([9000, 30000, 100000]), self.r.choice(["I", "K", r"x\x*2"])
        depth //= self.turns_part
        self.lines += [rf"deep\n\f\(n=0)f(deep(n-1,{link}))",
                       self.r.choice(["held", "held()"]) + rf"\deep({depth},{first})"]
        self.shown = self.r.choice("""rank(lisp(held)) rank(cork((cray/1),0,held)) held(1)
            (tern(held)=held) look(cork((cray/1),0,held),0)(2) rank(lisp(cray/held)) (held=held)
            K(1,held)""".split())
        self.result = self.r.choice(["0", "0", "0", "held"])

    def loop(self, turns):
        """What a call of `made` keeps for good, if it does, it keeps many times."""
        self.lines.append(r"loop\n\(n<1)0(seq(made(n),loop(n-1)))")
        self.shown = f"loop({turns // self.turns_part})"

    def tables(self):
        """Lambdas that hold a long text, become nodes and are applied again and again."""
        self.begin(20, t="s", n="n")
        function = f"(x\\rank(t)+x+{self.expression('n', 2)})"
        node = self.r.choice(["look(cork((cray/1),0,%s),0)", "f{%s}seq(lisp(f),f)",
                              "bond(leak(%s))", "V(%s,1)(K)", r"J(%s,K)(0,h\l\h)"]) % function
        self.lines.append(rf"made\n\t{{[ab]*99999+n}}g{{{node}}}g(1)+g(2)+g(3)+g(n)")
        self.loop(600)

    def captures(self):
        """A lambda with nearly all letters free, which takes up to ten arguments, and perhaps with many
        parts that are built with it."""
        keys = self.r.sample(LETTERS[:25], self.r.randrange(20, 25))
        other = self.r.choice([each for each in LETTERS[:25] if each not in keys])
        value, kind = self.r.choice(["z+%d n", "[ab]*4999+(z+%d) s", "cray/(z+%d) a"]).split()
        self.begin(20, **dict.fromkeys(keys, kind))
        arguments = self.r.randrange(1, 11)
        part = self.r.choice(["%s", "%s", "J(%s,n)", "V(K,%s)", "J(K,(y\\V(%s,y)))"])
        rows = 1 if part == "%s" else self.r.randrange(1, 4)
        total = "+".join(f"rank({part % key})" for key in self.r.sample(keys, len(keys)) * rows)
        function = "(" + f"{other}\\" * arguments + f"{total}+{self.sized()})"
        use = self.r.choice(["{0}{1}", "{2}{{{0}}}{2}{1}", "{2}{{{0}}}V({2}{1},lisp({2}))"])
        lets = "".join(f"{key}{{{value % i}}}" for i, key in enumerate(keys))
        self.lines.append(rf"made\z\{lets}" + use.format(function, "(1)" * arguments, other))
        self.loop(300)


CHANGES = {  # of a text t, and what becomes of its bytes
    "t+[bcd]": lambda t: t + b"bcd", "t+[x]+[yz]": lambda t: t + b"xyz", "t+7": lambda t: t + b"7",
    "[bcd]+t": lambda t: b"bcd" + t, "t-03": lambda t: t[:-3], "t-3": lambda t: t[3:],
    "trim(t,1,rank(t))": lambda t: t[1:], "cork(t,2,88)": lambda t: t[:2] + b"X" + t[3:],
    "cork(t,rank(t)-1,88)": lambda t: t[:-1] + b"X"}


def spans(chances, limit):
    """A program that makes a text longer and shorter round a length, and what it prints."""
    size = limit + chances.choice([-1000, -4, -3, -2, -1, 0, 1, limit // 20])
    text, lines = b"a" * size, []
    for i in range(chances.randrange(1, 5)):
        change = chances.choice(list(CHANGES))
        text = CHANGES[change](text)
        lines.append(f"f{LETTERS[i]}\\t\\f{LETTERS[i + 1]}({change})")
    last = r"\t\x{pr(rank(t))}x{pr(trim(t,0,4))}x{pr(look(t,01))}pr(trim(t,rank(t)-4,rank(t)))"
    lines.append(f"f{LETTERS[len(lines)]}{last}")
    program = ",\n".join([rf"a\x{{fa([a]*{size})}}0", *lines, *HELPERS[:3]])
    start, end = text[:4].decode(), text[-4:].decode()
    return program, f"{len(text)}\n[{start}]\n{text[-1]}\n[{end}]\n"
