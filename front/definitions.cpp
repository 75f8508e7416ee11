// A program is cut at its outermost commas and each piece is parsed as an expression by itself;
// what it defines is read off the Pair that came of it, a lambda whose key is the name. So "n\e"
// needs no syntax of its own. Lines of backquotes are counted in the raw source, where newlines
// still stand, and handed to the backquote Leaves in the order in which both appear.
#include "front/definitions.h"

#include <algorithm>

#include "front/scan.h"
#include "value/walk.h"

namespace marl {

namespace {

bool is_word_text(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return is_word(c); });
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

bool is_lambda(Node* value) {
    return !is_leaf(value) && !is_leaf(left(value)) && is_leaf_text(left(left(value)), "\\");
}

}  // namespace

bool is_definable(std::string_view text) {
    return is_word_text(text) || is_combinator(text) || is_bracketed_operator(text);
}

DefinedName defined_name(Node* piece) {
    if (!is_lambda(piece)) return {};
    Node* written = right(left(piece));
    if (is_leaf(written)) return {leaf_bytes(written), false};
    if (!is_leaf_of(right(written), '}')) return {};
    return {leaf_bytes(left(written)), true};
}

size_t defined_key_size(std::string_view piece) {
    size_t size = 0;
    while (size < piece.size() && is_word(piece[size])) ++size;
    const bool is_word_there = size > 0;
    if (!is_word_there) size = piece.starts_with('[') ? 3 : 1;
    const bool is_lambda = size < piece.size() && piece[size] == '\\';
    return is_lambda && (is_word_there || is_definable(piece.substr(0, size))) ? size : 0;
}

std::string_view key_in(std::string_view text) { return text[0] == '[' ? text.substr(1, 1) : text; }

String definition_key(std::string_view text) {
    MARL_REQUIRE(is_definable(text));
    return String(key_in(text));
}

std::vector<int64_t> backquote_lines(std::string_view source) {
    std::vector<int64_t> lines;
    if (source.find('`') == source.npos) return lines;
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

void stamp_lines(Node* expression, const std::vector<int64_t>& lines, size_t& next) {
    walk(expression, [&](Node* node) {
        if (next == lines.size()) return Go::out;
        if (is_leaf_of(node, '`')) set_span(node, lines[next++]);
        return Go::in;
    });
}

size_t end_of_piece(std::string_view normalised, size_t begin) {
    constexpr Bytes counts = bytes_in("()[]{},");
    size_t end = begin;
    while ((end = find_byte(normalised, end, counts)) < normalised.size()) {
        if (normalised[end] == ',') break;
        end = static_cast<size_t>(match_bracket(normalised, static_cast<int64_t>(end))) + 1;
    }
    return end;
}

bool is_binder_key(std::string_view key) { return key == "\\" || key == "{"; }

}  // namespace marl
