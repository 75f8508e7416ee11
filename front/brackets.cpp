// Two passes. Forward, a stack of open brackets finds what dangles or doesn't fit; inside square
// brackets only these count. Backward, over brackets that are known to balance, a stack of closing
// ones with the leftmost comma seen in each finds a parenthesis that has commas and nothing to
// call. Going backward makes the last such parenthesis the one that is reported, and its first
// comma the place.
#include "front/brackets.h"

#include <optional>
#include <vector>

#include "front/scan.h"
#include "text/rope.h"

namespace marl {

namespace {

char byte_at(std::string_view text, int64_t i) { return text[static_cast<size_t>(i)]; }

std::string_view bracket_name(char bracket) {
    if (bracket == '(' || bracket == ')') return "parenthesis";
    return bracket == '[' || bracket == ']' ? "bracket" : "wing";
}

String sentence(std::initializer_list<std::string_view> parts) {
    Rope rope;
    for (const std::string_view part : parts) rope_append(rope, part);
    return rope_flatten(rope);
}

/// A bracket without a partner; `side` is "right" or "left".
int64_t dangling(std::string_view source, std::string_view side, int64_t at, Report& report) {
    report.kind = "match";
    report.vip = base64_name(at);
    report.say = sentence({"Dangling ", side, "-", bracket_name(byte_at(source, at)), " at [",
                           report.vip.view(), "]."});
    return at;
}

int64_t misfit(std::string_view source, int64_t opening, int64_t closing, Report& report) {
    report.kind = "match";
    report.vip = base64_name(opening);
    report.tip = base64_name(closing);
    report.say =
        sentence({"'", source.substr(static_cast<size_t>(opening), 1), "' at [", report.vip.view(),
                  "] doesn't fit '", source.substr(static_cast<size_t>(closing), 1), "' at [",
                  report.tip.view(), "]."});
    return opening;
}

int64_t misplaced_comma(int64_t at, Report& report) {
    report.kind = "comma";
    report.vip = base64_name(at);
    report.say = sentence({"Comma at [", report.vip.view(), "] is not part of a valid call list."});
    return at;
}

/// The first bracket fault, from left to right.
std::optional<int64_t> find_bracket_fault(std::string_view source, Report& report) {
    std::vector<int64_t> open;
    const auto size = static_cast<int64_t>(source.size());
    for (int64_t i = 0; i < size; ++i) {
        const char byte = byte_at(source, i);
        const bool opens = byte == '(' || byte == '[' || byte == '{';
        if (!opens && partner(byte) == byte) continue;
        const bool in_bytes = !open.empty() && byte_at(source, open.back()) == '[';
        if (in_bytes && byte != '[' && byte != ']') continue;
        if (opens) {
            open.push_back(i);
        } else if (open.empty()) {
            return dangling(source, "right", i, report);
        } else if (byte_at(source, open.back()) == partner(byte)) {
            open.pop_back();
        } else {
            return misfit(source, open.back(), i, report);
        }
    }
    if (open.empty()) return std::nullopt;
    return dangling(source, "left", open.back(), report);
}

/// Whether a parenthesis at i that holds a comma stands behind nothing that it could be applied to.
bool lacks_callee(std::string_view source, int64_t i) {
    return i == 0 || is_spacing_operator(static_cast<uint8_t>(byte_at(source, i - 1)));
}

/// The leftmost comma of the last parenthesis that holds commas and is no call list. The walk goes
/// backward: above each closing bracket, `seen` holds at most the leftmost of its commas so far.
std::optional<int64_t> find_comma_fault(std::string_view source, Report& report) {
    std::vector<int64_t> seen;
    for (int64_t i = static_cast<int64_t>(source.size()) - 1; i >= 0; --i) {
        const char byte = byte_at(source, i);
        const char top = seen.empty() ? '}' : byte_at(source, seen.back());
        if (byte == ']') {
            i = match_bracket(source, i);
        } else if (byte == ')' || byte == '}') {
            seen.push_back(i);
        } else if (byte == ',' && top == ')') {
            seen.push_back(i);
        } else if (byte == ',' && top == ',') {
            seen.back() = i;
        } else if (byte == '{') {
            seen.pop_back();
        } else if (byte == '(') {
            if (top == ',' && lacks_callee(source, i)) return misplaced_comma(seen.back(), report);
            if (top == ',') seen.pop_back();
            seen.pop_back();
        }
    }
    return std::nullopt;
}

}  // namespace

bool check_brackets(std::string_view source, Report& report, int64_t& position) {
    std::optional<int64_t> fault = find_bracket_fault(source, report);
    if (!fault) fault = find_comma_fault(source, report);
    if (fault) position = *fault;
    return !fault;
}

}  // namespace marl
