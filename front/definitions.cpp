// A program is cut at its outermost commas and each piece is parsed as an expression by itself;
// what it defines is read off the Pair that came of it, a lambda whose key is the name. So "n\e"
// needs no syntax of its own. Lines of backquotes are counted in the raw source, where newlines
// still stand, and handed to the backquote Leaves in the order in which both appear.
#include "front/definitions.h"

#include <algorithm>
#include <utility>

#include "front/brackets.h"
#include "front/grammar.h"
#include "front/scan.h"
#include "reduce/tables.h"
#include "text/rope.h"

namespace marl {

namespace {

bool is_word(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return is_word_byte(static_cast<uint8_t>(c));
    });
}

/// A single byte that names a combinator.
bool is_combinator(std::string_view text) {
    if (text.size() != 1) return false;
    const auto byte = static_cast<uint8_t>(text[0]);
    return (byte >= 1 && byte <= 31) || (byte >= 'A' && byte <= 'Z') || byte >= 127;
}

bool is_bracketed_operator(std::string_view text) {
    constexpr std::string_view operators = "{,}~!@#$%^&*<>-|+/=\\.`'\":;?";
    return text.size() == 3 && text[0] == '[' && text[2] == ']' &&
           operators.find(text[1]) != operators.npos;
}

/// Gives each backquote Leaf, left before right, the next line from `next` on.
void stamp_lines(Node* expression, const std::vector<int64_t>& lines, size_t& next) {
    std::vector<Node*> rest{expression};
    while (!rest.empty() && next < lines.size()) {
        Node* node = rest.back();
        rest.pop_back();
        if (!is_leaf(node)) {
            rest.push_back(right(node));
            rest.push_back(left(node));
        } else if (is_leaf_of(node, '`')) {
            set_span(node, lines[next++]);
        }
    }
}

bool is_lambda(Node* value) {
    return !is_leaf(value) && !is_leaf(left(value)) && is_leaf_text(left(left(value)), "\\");
}

/// A fault of a definition's name, `say` being the sentence.
Report name_fault(const char* kind, const Definition& definition, const char* before,
                  const char* behind) {
    Rope say;
    rope_append(say, before);
    rope_append(say, definition.key);
    rope_append(say, behind);
    Report report;
    report.kind = kind;
    report.say = rope_flatten(say);
    report.vip = base64_name(definition.position);
    report.tip = fit_line(definition.key.view());
    return report;
}

Report builtin_key_fault(const Definition& definition) {
    return name_fault("built", definition, "Built in function [", "] cannot be re-defined.");
}

Value lambdas_around_Z(int arity) {
    Value body = leaf("Z");
    for (int i = arity - 1; i >= 0; --i) {
        const char letter = static_cast<char>('a' + i);
        Value binder = pair(leaf("\\"), leaf(std::string_view(&letter, 1)));
        body = pair(std::move(binder), std::move(body));
    }
    return body;
}

/// Gives each built-in a definition of as many lambdas as it has arguments, one for all of the same
/// arity. It makes the name known and gives it its rank; its body never runs.
void enter_builtins() {
    std::vector<Value> by_arity;
    for (const Builtin& row : builtin_table()) {
        while (by_arity.size() <= row.arity) {
            by_arity.push_back(lambdas_around_Z(static_cast<int>(by_arity.size())));
        }
        set_definition(row.name, by_arity[row.arity]);
    }
}

bool is_builtin_key(const String& key) {
    const Symbol* symbol = find_symbol(key.view());
    return symbol && symbol->builtin;
}

}  // namespace

bool is_definable(std::string_view text) {
    return is_word(text) || is_combinator(text) || is_bracketed_operator(text);
}

DefinedName defined_name(Node* piece) {
    if (!is_lambda(piece)) return {};
    Node* written = right(left(piece));
    if (is_leaf(written)) return {leaf_bytes(written), false};
    if (!is_leaf_of(right(written), '}')) return {};
    return {leaf_bytes(left(written)), true};
}

String definition_key(std::string_view text) {
    MARL_REQUIRE(is_definable(text));
    return String(text[0] == '[' ? text.substr(1, 1) : text);
}

std::vector<int64_t> backquote_lines(std::string_view source) {
    std::vector<int64_t> lines;
    int64_t line = 1;
    int64_t depth = 0;
    for (const char c : source) {
        if (c == '[') ++depth;
        if (c == ']') --depth;
        if (c == '\n') ++line;
        if (c == '`' && depth == 0) lines.push_back(line);
    }
    return lines;
}

Pieces parse_pieces(std::string_view normalised, const std::vector<int64_t>& lines) {
    std::vector<int64_t> cuts = find_operators(normalised, ",");
    cuts.push_back(static_cast<int64_t>(normalised.size()));

    Pieces pieces;
    size_t next_line = 0;
    int64_t from = 0;
    for (const int64_t cut : cuts) {
        const auto start = static_cast<size_t>(from);
        Value piece = parse_expression(normalised.substr(start, static_cast<size_t>(cut) - start));
        stamp_lines(piece, lines, next_line);
        if (from == 0) {
            pieces.entry = std::move(piece);
        } else if (const DefinedName name = defined_name(piece); is_definable(name.text)) {
            Value expression = Value::share(right(piece));
            if (name.unmemoised) expression = pair(leaf("I"), std::move(expression));
            pieces.definitions.push_back(
                {from, definition_key(name.text), std::move(expression), name.unmemoised});
        }
        from = cut + 1;
    }
    MARL_REQUIRE(next_line == lines.size());
    return pieces;
}

bool is_local_key(const String& key) {
    return key.length() == 1 && at(key, 0) >= 'a' && at(key, 0) <= 'z';
}

bool is_binder_key(const String& key) { return key.view() == "\\" || key.view() == "{"; }

Report local_key_fault(const Definition& definition) {
    return name_fault("lower", definition, "Single lowercase letters (",
                      ") cannot be defined as global variables.");
}

Report parse_program(const String& source) {
    Report report;
    int64_t position = 0;
    if (!check_brackets(source.view(), report, position)) return report;
    enter_builtins();

    const std::vector<int64_t> lines = backquote_lines(source.view());
    Pieces pieces = parse_pieces(normalise(source.view()).view(), lines);
    set_definition("", std::move(pieces.entry));
    for (Definition& definition : pieces.definitions) {
        const String& key = definition.key;
        if (is_local_key(key)) return local_key_fault(definition);
        if (is_binder_key(key) || is_builtin_key(key)) return builtin_key_fault(definition);
        Symbol& symbol = symbol_of(key.view());
        set_definition(symbol, std::move(definition.expression));
        symbol.unmemoised = definition.unmemoised;
    }
    return report;
}

}  // namespace marl
