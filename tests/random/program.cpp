// Expressions are made by type, so that most of them mean something; now and then one of another
// type takes the place. Recursion counts down, and a definition calls earlier ones only, each as
// often as an estimate of the steps allows, so that nearly every program ends soon.
#include "random/program.h"

#include <array>
#include <string_view>
#include <utility>
#include <vector>

namespace marl {

namespace {

enum Type { integer, truth, text, list, couple, function, array };
constexpr unsigned type_count = 7;

struct Variable {
    char letter;
    Type type;
};

struct Definition {
    std::string name;
    std::vector<Type> parameters;
    Type result;
    double cost;
    bool counted;  // the first parameter is a counter
};

class Generator {
  public:
    Generator(const Choose& choose, bool with_todo) : choose_(choose), with_todo_(with_todo) {}

    std::string program() {
        orders_ = choose_(2) == 0;
        const unsigned count = 1 + choose_(6);
        for (unsigned i = 0; i < count; ++i) definition(i);
        std::string entry = "a\\";
        variables_ = {{'a', integer}};
        cost_ = 0;
        for (unsigned i = 1 + choose_(4); i > 0; --i) {
            entry += "x{puts(init(lisp(" + expression(any_type(), 5) + ")))}";
        }
        entry += "0";
        if (chance(6) && !(with_todo_ && loads_ > 0)) redefine();
        entry += ",\ntt\\x\\y{puts(init(lisp(x)))}x,\ntl\\l\\x\\y{puts(init(l))}x" + definitions_;
        return entry;
    }

  private:
    // Choices.

    // What the choice 0 leads to is the simplest each time, so that a program can be made smaller
    // by making its choices 0.
    bool chance(unsigned one_in) { return choose_(one_in) == one_in - 1; }
    Type any_type() { return static_cast<Type>(choose_(with_todo_ ? type_count - 1 : type_count)); }

    template <size_t n>
    std::string one_of(const std::array<std::string_view, n>& texts) {
        return std::string(texts[choose_(n)]);
    }

    // Scopes.

    char new_letter() { return static_cast<char>('b' + choose_(24)); }

    struct Scope {
        std::vector<Variable>& variables;
        std::vector<Variable> saved = variables;
        ~Scope() { variables = saved; }
    };

    void bind(char letter, Type type) {
        std::erase_if(variables_, [&](const Variable& v) { return v.letter == letter; });
        variables_.push_back({letter, type});
    }

    /// "x\", with x of the type from here on.
    std::string binder(Type type) {
        const char letter = new_letter();
        bind(letter, type);
        return std::string(1, letter) + "\\";
    }

    bool variable(Type type, std::string& found) {
        std::vector<char> fitting;
        for (const Variable& v : variables_) {
            if (v.type == type) fitting.push_back(v.letter);
        }
        if (fitting.empty()) return false;
        found = std::string(1, fitting[choose_(static_cast<unsigned>(fitting.size()))]);
        return true;
    }

    // Expressions. Each one stands as an atom.

    std::string expression(Type type, int depth) {
        cost_ += scale_;
        if (chance(60)) type = any_type();
        if (with_todo_ && type == array) type = list;
        std::string found;
        if (choose_(10) == 0) return literal(type);
        if (depth > 0 && self_ && self_calls_ > 0 && self_->result == type && chance(3)) {
            return self_call(depth);
        }
        if ((depth <= 0 || chance(4)) && variable(type, found)) return found;
        if (depth <= 0) return literal(type);
        if (chance(3)) return of_any_type(type, depth - 1);
        switch (type) {
            case integer: return an_integer(depth - 1);
            case truth: return a_truth(depth - 1);
            case text: return a_text(depth - 1);
            case list: return a_list(depth - 1);
            case couple: return "V(" + ex(depth - 1) + "," + ex(depth - 1) + ")";
            case array: return an_array(depth - 1);
            case function: return a_function(depth - 1);
        }
        return "0";
    }

    std::string ex(int depth) { return expression(chance(3) ? any_type() : integer, depth); }

    std::string literal(Type type) {
        static constexpr std::array<std::string_view, 26> integers = {"0",
                                                                      "1",
                                                                      "2",
                                                                      "3",
                                                                      "4",
                                                                      "5",
                                                                      "7",
                                                                      "10",
                                                                      "64",
                                                                      "100",
                                                                      "255",
                                                                      "01",
                                                                      "02",
                                                                      "07",
                                                                      "999999999",
                                                                      "1000000000",
                                                                      "4294967296",
                                                                      "9223372036854775807",
                                                                      "09223372036854775808",
                                                                      "99999999999999999999",
                                                                      "0012",
                                                                      "00",
                                                                      "004",
                                                                      "0000",
                                                                      "(real(2))",
                                                                      "(real[1.5])"};
        static constexpr std::array<std::string_view, 6> texts = {
            "[]", "[a]", "[abc]", "[a[bc]d]", "(init[abc])", "([ab][c])"};
        static constexpr std::array<std::string_view, 11> functions = {
            "(x\\x+1)", "(x\\x*x)", "(plus(2))", "(C(dash)(1))", "I", "(K(3))", "(x\\(x<3)(1)(x))",
            "H",        "Z",        "K",         "(x\\0)"};
        switch (type) {
            case integer: return one_of(integers);
            case truth: return choose_(2) ? "K" : "H";
            case text: return one_of(texts);
            case list: return choose_(2) ? "K" : "J(1,J(2,K))";
            case couple: return "V(1,2)";
            case array: return choose_(2) ? "(cray(2))" : "(cork(cray(3),1,7))";
            case function: return one_of(functions);
        }
        return "0";
    }

    std::string of_any_type(Type type, int depth) {
        const auto e = [&] { return expression(type, depth); };
        const auto other = [&] { return expression(any_type(), depth); };
        const Scope scope{variables_};
        const unsigned form = choose_(25);
        switch (form) {
            case 0: return "(" + expression(truth, depth) + ")(" + e() + ")(" + e() + ")";
            case 1: {
                const std::string condition = expression(truth, depth);
                const std::string yes = e();
                return "(" + condition + "(" + yes + "," + e() + "))";
            }
            case 2: return let(type, depth);
            case 3:
            case 4:
            case 11:
            case 13:
            case 14:
            case 17: return binding(form, type, depth);
            case 5: return "tt(" + e() + ")";
            case 6: return "tl([" + std::string(1, new_letter()) + "]," + e() + ")";
            case 7: return "K(" + e() + "," + other() + ")";
            case 8: return "H(" + other() + "," + e() + ")";
            case 9: return "(V(" + e() + "," + other() + ")K)";
            case 10: return "(V(" + other() + "," + e() + ")H)";
            case 12: return fold(type, depth);
            case 15: return loaded(type, depth);
            case 16: return "(I(" + e() + "))";
            case 18: return arranged(type, depth);
            case 19:
            case 20: {
                if (!with_todo_) return "tt(" + e() + ")";
                const std::string value = "todo(tt," + other() + ")";
                const std::string key = binder(couple);
                return choose_(2) == 0 ? "((" + key + e() + ")(" + value + "))"
                                       : "(" + value + "(" + key + binder(integer) + e() + "))";
            }
            default: return call(type, depth);
        }
    }

    /// One of the forms that bind names.
    std::string binding(unsigned form, Type type, int depth) {
        const auto e = [&] { return expression(type, depth); };
        switch (form) {
            case 3: {
                const Type bound = any_type();
                const std::string value = expression(bound, depth);
                const std::string key = binder(bound);
                return "((" + key + e() + ")(" + value + "))";
            }
            case 4: {
                const Type first = any_type();
                const Type second = any_type();
                const std::string x = expression(first, depth);
                const std::string y = expression(second, depth);
                std::string keys = binder(first);
                keys += binder(second);
                return "((" + keys + e() + ")(" + x + "," + y + "))";
            }
            case 11: {
                const std::string pair = expression(couple, depth);
                std::string keys = binder(integer);
                keys += binder(integer);
                return "(" + pair + "(" + keys + e() + "))";
            }
            case 13: {
                const Type bound = any_type();
                const std::string value = expression(bound, depth);
                const std::string key = binder(bound);
                return "(T(" + value + ")(" + key + e() + "))";
            }
            case 14: {
                const std::string value = expression(integer, depth);
                std::string keys = binder(integer);
                keys += binder(integer);
                return "(W(" + keys + e() + ")(" + value + "))";
            }
            case 17: {
                const std::string pair = expression(couple, depth);
                const char first = new_letter();
                const char second = first == 'y' ? 'c' : static_cast<char>(first + 1);
                bind(first, integer);
                bind(second, integer);
                return std::string("(") + first + " " + second + "{" + pair + "}" + e() + ")";
            }
        }
        return e();
    }

    /// By way of a combinator that only arranges what it gets.
    std::string arranged(Type type, int depth) {
        const auto e = [&] { return "(" + expression(type, depth) + ")"; };
        const auto other = [&] { return "(" + expression(any_type(), depth) + ")"; };
        const auto taking = [&](unsigned count) {
            const Scope scope{variables_};
            std::string keys;
            for (; count > 0; --count) keys += binder(integer);
            return "(" + keys + expression(type, depth) + ")";
        };
        switch (choose_(10)) {
            case 0: return "(D" + taking(2) + other() + "(x\\x)" + other() + ")";
            case 1: return "(E" + taking(3) + other() + "(x\\y\\x)" + other() + other() + ")";
            case 2: return "(F" + other() + e() + "K)";
            case 3: return "(N" + other() + e() + other() + ")";
            case 4: return "(L(V" + other() + e() + ")" + e() + e() + ")";
            case 5: return "(U" + e() + other() + other() + other() + "(x\\y\\x K))";
            case 6: return "(X" + other() + e() + other() + "(K(K))K)";
            case 7: return "(O(x\\J" + e() + ")" + taking(1) + ")";
            case 8: return "(M(x\\y\\" + expression(type, depth) + ")" + other() + ")";
            default: return "(Q(V" + other() + other() + ")" + e() + e() + ")";
        }
    }

    std::string let(Type type, int depth) {
        const Type bound = any_type();
        const std::string value = expression(bound, depth);
        const Scope scope{variables_};
        const char letter = new_letter();
        bind(letter, bound);
        return "(" + std::string(1, letter) + "{" + value + "}" + expression(type, depth) + ")";
    }

    /// What a list gives: one thing when it is empty, else another one made of head and tail.
    std::string fold(Type type, int depth) {
        const std::string elements = expression(list, depth);
        const std::string empty = expression(type, depth);
        const Scope scope{variables_};
        std::string keys = binder(integer);
        keys += binder(list);
        return "(" + elements + "(" + empty + ")(" + keys + expression(type, depth) + "))";
    }

    std::string an_integer(int depth) {
        const auto n = [&] { return expression(integer, depth); };
        const auto t = [&] { return expression(text, depth); };
        static constexpr std::array<std::string_view, 7> operators = {"+", "-", "/", "%",
                                                                      "+", "-", "+"};
        switch (choose_(16)) {
            case 0: return "look(" + t() + "," + n() + ")";
            case 1: return "rank(" + expression(any_type(), depth) + ")";
            case 2: return orders_ ? "cmpr(" + ex(depth) + "," + ex(depth) + ")" : n();
            case 3: return "(" + expression(function, depth) + "(" + n() + "))";
            case 4:
                return "(S(" + two_place(depth) + ")(" + expression(function, depth) + ")(" + n() +
                       "))";
            case 5: return "(C(" + two_place(depth) + ")(" + n() + ")(" + n() + "))";
            case 6: return "(" + n() + "^" + std::to_string(choose_(4)) + ")";
            case 7: return yielding(depth);
            case 8: return "(~" + n() + ")";
            // Of a text and a number it is the text so many times.
            case 10: return "(" + n() + "%100000*(" + n() + "%100000))";
            case 9: return "look(" + expression(array, depth) + "," + n() + ")";
            default: {
                const std::string x = n();
                const std::string op = one_of(operators);
                return "(" + x + op + n() + ")";
            }
        }
    }

    /// Recursion without a name.
    std::string yielding(int depth) {
        const Scope scope{variables_};
        const char self = new_letter();
        const char counter = self == 'y' ? 'c' : static_cast<char>(self + 1);
        bind(self, couple);  // so that nobody calls it
        variables_.pop_back();
        bind(counter, integer);
        scale_ *= 5;
        const std::string n(1, counter);
        const std::string s(1, self);
        const std::string base = expression(integer, depth);
        const std::string step = expression(integer, depth);
        scale_ /= 5;
        return "(Y(" + s + "\\" + n + "\\(" + n + "<1)(" + base + ")(" + step + "+" + s + "(" + n +
               "-1)))(" + std::to_string(choose_(5)) + "))";
    }

    std::string two_place(int depth) {
        static constexpr std::array<std::string_view, 6> known = {"plus", "dash", "mult",
                                                                  "K",    "same", "H"};
        if (chance(2)) return one_of(known);
        const Scope scope{variables_};
        std::string keys = binder(integer);
        keys += binder(integer);
        return "(" + keys + expression(integer, depth) + ")";
    }

    std::string a_truth(int depth) {
        static constexpr std::array<std::string_view, 4> operators = {"=", "#", "<", ">"};
        const auto p = [&] { return expression(truth, depth); };
        switch (choose_(10)) {
            case 0: return "(" + p() + "&" + p() + ")";
            case 1: return "(" + p() + "|" + p() + ")";
            case 2: return "(!" + p() + ")";
            case 3: {
                if (with_todo_) return "(!" + p() + ")";
                const Type type = any_type();
                return "raws(" + expression(type, depth) + "," + expression(type, depth) + ")";
            }
            case 4: return "leaf(" + expression(text, depth) + ")";
            case 5: return "(" + expression(array, depth) + "(" + expression(integer, depth) + "))";
            default: {
                const Type type = chance(4) ? any_type() : integer;
                const std::string x = expression(type, depth);
                const std::string_view between = operators[choose_(orders_ ? 4 : 2)];
                return "(" + x + std::string(between) + expression(type, depth) + ")";
            }
        }
    }

    std::string a_text(int depth) {
        const auto t = [&] { return expression(text, depth); };
        const auto n = [&] { return expression(integer, depth); };
        switch (choose_(9)) {
            case 0: return "(" + t() + "+" + t() + ")";
            case 1: return "cork(" + t() + "," + n() + ",88)";
            case 2: return "trim(" + t() + ",0," + n() + ")";
            case 3: return "left(" + t() + ")";
            case 4: return "rght(" + t() + ")";
            case 5: return "(lisp(" + ex(depth) + "))";
            case 6: return "(" + t() + t() + ")";
            case 7: return "init(" + t() + ")";
            default: return "type(" + expression(any_type(), depth) + ")";
        }
    }

    std::string a_list(int depth) {
        const auto l = [&] { return expression(list, depth); };
        switch (choose_(5)) {
            case 0: return "(" + expression(array, depth) + "Z)";
            case 1: return "(" + l() + "(K)(h\\t\\J(t,J(h,K))))";
            default: return "J(" + ex(depth) + "," + l() + ")";
        }
    }

    std::string an_array(int depth) {
        const auto x = [&] { return expression(array, depth); };
        switch (choose_(4)) {
            case 0: return "(" + x() + "+" + x() + ")";
            case 1: return "trim(" + x() + ",0,1)";
            default:
                return "cork(" + x() + "," + std::to_string(choose_(3)) + "," +
                       (orders_ ? "7" : ex(depth)) + ")";
        }
    }

    std::string a_function(int depth) {
        const auto f = [&] { return expression(function, depth); };
        const Scope scope{variables_};
        switch (choose_(6)) {
            case 0: return "(B" + f() + f() + ")";
            case 1: return "(C" + two_place(depth) + "(" + expression(integer, depth) + "))";
            case 2: return "(" + two_place(depth) + "(" + expression(integer, depth) + "))";
            case 3: return partial_call(depth);
            default: {
                const std::string key = binder(integer);
                return "(" + key + expression(integer, depth) + ")";
            }
        }
    }

    // Calls.

    std::string counter(int depth) {
        if (chance(2)) return std::to_string(choose_(6));
        if (depth == 5 && chance(3)) return std::to_string(10 + choose_(90));
        return "(" + expression(integer, depth) + "%5)";
    }

    std::string arguments(const Definition& called, size_t count, int depth) {
        std::string shown;
        const bool curried = chance(3);
        for (size_t i = 0; i < count; ++i) {
            shown += i == 0 || curried ? "(" : ",";
            shown +=
                i == 0 && called.counted ? counter(depth) : expression(called.parameters[i], depth);
            if (curried || i + 1 == count) shown += ")";
        }
        return shown;
    }

    const Definition* callable(Type type) {
        std::vector<const Definition*> fitting;
        for (const Definition& d : known_) {
            if (d.result == type && cost_ + scale_ * d.cost < most_cost) fitting.push_back(&d);
        }
        if (fitting.empty()) return nullptr;
        return fitting[choose_(static_cast<unsigned>(fitting.size()))];
    }

    std::string call(Type type, int depth) {
        const Definition* called = callable(type);
        if (!called) return literal(type);
        cost_ += scale_ * called->cost;
        const Definition chosen = *called;
        const std::string applied =
            chosen.name + arguments(chosen, chosen.parameters.size(), depth);
        if (chance(12)) return "(" + applied + "(" + expression(integer, depth) + "))";
        if (!chance(6) || chosen.parameters.size() < 2) return "(" + applied + ")";
        // The last argument comes by another way.
        const std::string part =
            chosen.name + arguments(chosen, chosen.parameters.size() - 1, depth);
        const std::string last = expression(chosen.parameters.back(), depth);
        return chance(2) ? "(f{" + part + "}f(" + last + "))" : "(T(" + last + ")(" + part + "))";
    }

    std::string partial_call(int depth) {
        const Definition* called = callable(integer);
        if (!called || called->parameters.size() < 2) return literal(function);
        const Definition chosen = *called;
        cost_ += scale_ * chosen.cost;
        return "(" + chosen.name + arguments(chosen, chosen.parameters.size() - 1, depth) + ")";
    }

    std::string self_call(int depth) {
        --self_calls_;
        std::string shown = "(" + self_name_ + "(" + self_next_;
        for (size_t i = 1; i < self_->parameters.size(); ++i) {
            shown += "," + expression(self_->parameters[i], depth - 1);
        }
        return shown + "))";
    }

    /// A value that a text loaded in the run gives. A text may call what another one defines. With
    /// `todo` it does without the program's definitions, so that no constant is computed in it.
    std::string loaded(Type type, int depth) {
        if (loads_ > 3) return literal(type);
        ++loads_;
        if (chance(8)) return "(road[zz])";
        const Scope scope{variables_};
        variables_.clear();
        const Definition* const self = std::exchange(self_, nullptr);
        std::vector<Definition> known;
        if (with_todo_) std::swap(known, known_);
        const std::string name = "la" + std::string(1, static_cast<char>('a' + loads_));
        std::string inner = expression(type, depth);
        if (chance(2)) {
            const std::string parameter = binder(integer);
            inner = name + "(" + inner + ")," + name + "\\" + parameter + expression(type, depth);
        } else if (chance(4)) {
            inner =
                "la" + std::string(1, static_cast<char>('a' + choose_(loads_))) + "(" + inner + ")";
        } else if (chance(8)) {
            inner += "," + name + "\\x\\" + expression(type, 1) + ",lb\\(tl\\tl)(tl)";
        }
        if (with_todo_) std::swap(known, known_);
        self_ = self;
        const char* const loader = chance(2) ? "load" : "road";
        return std::string("(") + loader + "[" + inner + "])";
    }

    // Definitions.

    void definition(unsigned number) {
        variables_.clear();
        cost_ = 0;
        Definition made;
        made.name = "f" + std::string(1, static_cast<char>('a' + number));
        made.counted = false;
        made.result = chance(3) ? any_type() : integer;
        std::string body;
        switch (choose_(6)) {
            case 0: body = constant(made); break;
            case 1:
            case 2: body = plain(made); break;
            case 3: body = builder(made); break;
            default: body = counting(made); break;
        }
        made.cost = cost_;
        definitions_ += ",\n" + made.name + body;
        known_.push_back(made);
    }

    std::string constant(const Definition& made) {
        if (chance(20)) return "\\" + made.name + "c+1,\n" + made.name + "c\\I(" + made.name + ")";
        return (chance(4) ? "()\\" : "\\") + expression(made.result, 4);
    }

    std::string parameters(Definition& made, unsigned count) {
        std::string keys;
        for (unsigned i = 0; i < count; ++i) {
            const Type type = chance(2) ? any_type() : integer;
            made.parameters.push_back(type);
            keys += binder(type);
        }
        return keys;
    }

    std::string plain(Definition& made) {
        const std::string keys = parameters(made, 1 + choose_(4));
        return "\\" + keys + expression(made.result, 4);
    }

    /// A list, counted down or made of another list.
    std::string builder(Definition& made) {
        made.result = list;
        const bool counts = chance(2);
        made.counted = counts;
        made.parameters = {counts ? integer : list};
        const std::string rest = parameters(made, choose_(3));
        std::string others;
        for (const char c : rest) {
            if (c != '\\') others += std::string(",") + c;
        }
        scale_ = 5;
        std::string body;
        if (counts) {
            bind('n', integer);
            body = "\\n\\" + without(rest, 'n', others) + "(n<1)K(J(" + ex(3) + "," + made.name +
                   "(n-1" + others + ")))";
        } else {
            bind('l', list);
            bind('h', integer);
            body = "\\l\\" + without(rest, 'l', others) + "l(K)(h\\t\\J(" + ex(3) + "," +
                   made.name + "(t" + others + ")))";
        }
        scale_ = 1;
        return body;
    }

    /// The parameters, with those that carry the letter renamed in place.
    static std::string without(std::string keys, char letter, std::string& others) {
        for (char& c : keys) c = c == letter || c == 'h' || c == 't' ? 'z' : c;
        for (char& c : others) c = c == letter || c == 'h' || c == 't' ? 'z' : c;
        return keys;
    }

    /// Recursion that counts down, in all places where a call may stand.
    std::string counting(Definition& made) {
        made.counted = true;
        made.parameters = {integer};
        std::string keys = parameters(made, choose_(4));
        std::string others;
        keys = without(keys, 'n', others);
        bind('n', integer);
        const bool doubly = chance(4);
        scale_ = doubly ? 30 : 6;
        const std::string base = expression(made.result, 3);
        self_ = &made;
        self_next_ = "n-1";
        if (chance(4)) {
            // By way of another definition, which turns the other arguments round.
            const std::string by = made.name + "by";
            std::string turned;
            for (size_t i = keys.size(); i > 0; i -= 2) turned += std::string(",") + keys[i - 2];
            definitions_ += ",\n" + by + "\\n\\" + keys + made.name + "(n" + turned + ")";
            self_name_ = by;
        } else {
            self_name_ = made.name;
        }
        self_calls_ = doubly ? 2 : 1;
        std::string step;
        if (chance(3)) {
            step = self_call(4);
        } else {
            step = expression(made.result, 4);
        }
        self_ = nullptr;
        scale_ = 1;
        static constexpr std::array<std::string_view, 4> conditions = {"n<1", "1>n", "(n<1)|(n<0)",
                                                                       "n<1"};
        if (chance(4)) return "\\n\\" + keys + "(0<n)(" + step + ")(" + base + ")";
        return "\\n\\" + keys + "(" + one_of(conditions) + ")(" + base + ")(" + step + ")";
    }

    /// Gives names of the prelude another meaning.
    void redefine() {
        // Much of what counts down never ends without K.
        if (chance(20)) definitions_ += ",\nK\\a\\b\\b";
        static constexpr std::array<std::string_view, 22> others = {
            "[+]\\dash",
            "[+]\\x\\y\\dash(y,x)",
            "[-]\\x\\y\\tt(dash(x,y))",
            "[<]\\x\\less(x)",
            "[&]\\p\\q\\r\\p q(r)",
            "[|]\\p\\q\\q",
            "[=]\\x\\y\\K",
            "[*]\\7",
            "[/]()\\tt(over)",
            "H\\a\\K",
            "H\\K",
            "I\\a\\tt(a)",
            "V\\a\\b\\c\\c b a",
            "J\\a\\b\\V(b,a)",
            "S\\a\\b\\c\\b c",
            "B\\x\\y\\x",
            "C\\2",
            "Z\\a\\b\\b",
            "W\\a\\b\\tt(a b b)",
            "E\\a\\b\\c\\d\\e\\a",
            "[!]()\\K(K)",
            "I\\tt(K(1))",
        };
        for (unsigned i = 1 + choose_(2); i > 0; --i) definitions_ += ",\n" + one_of(others);
    }

    static constexpr double most_cost = 3000;

    const Choose& choose_;
    bool with_todo_;
    // Arrays are ordered by the addresses of what their slots hold, unless it is the same number: a
    // program has either orders or arrays of all things.
    bool orders_ = true;
    std::vector<Definition> known_;
    std::string definitions_;
    std::vector<Variable> variables_;
    double cost_ = 0;
    double scale_ = 1;
    unsigned loads_ = 0;
    const Definition* self_ = nullptr;
    std::string self_name_;
    std::string self_next_;
    int self_calls_ = 0;
};

}  // namespace

std::string random_program(const Choose& choose, bool with_todo) {
    return Generator(choose, with_todo).program();
}

}  // namespace marl
