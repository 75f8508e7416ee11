// Three forms of a Report. The picture, for the terminal, shows program text in the colours of the
// internal character code. The bracket form, for travelling inside an abort Value, writes a field
// whose brackets don't balance with escapes, since the form is taken apart by its brackets. Clipped
// texts, for detail lines, close what a cut leaves open.
#include "driver/report.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string>

#include "front/scan.h"
#include "text/fatal.h"
#include "text/rope.h"
#include "text/stream.h"

namespace marl {

namespace {

// The colouring of program text. A byte shows its layer of the internal code by its colour, and its
// character in that layer is what is printed.

enum class Colour { plain, green, red };

Colour colour_of(uint8_t byte) {
    if (byte < 33) return Colour::green;
    if (byte < 127) return Colour::plain;
    if (byte < 161) return Colour::green;
    return byte < 255 ? Colour::red : Colour::green;
}

const char* colour_escape(Colour colour) {
    switch (colour) {
        case Colour::red: return "\x1B[31m";
        case Colour::green: return "\x1B[32m";
        default: return "\x1B[m";
    }
}

char shown_character(uint8_t byte) {
    constexpr std::string_view low = "JABCDEFGHI,KLMNOPQRSTUVWXYZ(){}[";       // 0 to 31
    constexpr std::string_view high = "~!@#$%^&*<>-|+/=\\.`'\":;?0123456789";  // 127 to 160
    static_assert(low.size() == 32 && high.size() == 34);
    if (byte < 32) return low[byte];
    if (byte < 127) return static_cast<char>(byte);
    if (byte < 161) return high[byte - 127u];
    return byte < 255 ? static_cast<char>(byte - 128) : ']';
}

void append_coloured(Rope& rope, std::string_view text) {
    Colour current = Colour::plain;
    for (const char c : text) {
        const auto byte = static_cast<uint8_t>(c);
        if (colour_of(byte) != current) {
            current = colour_of(byte);
            rope_append(rope, colour_escape(current));
        }
        rope_push(rope, shown_character(byte));
    }
    if (current != Colour::plain) rope_append(rope, colour_escape(Colour::plain));
}

void append_line(Rope& rope, std::string_view label, const String& field) {
    if (field.empty()) return;
    rope_append(rope, label);
    rope_append(rope, field);
    rope_push(rope, '\n');
}

// The bracket form of a field is `["field]`. A field whose brackets don't balance would break the
// form open, so it goes as `['field]` with its brackets written [q] and [r].

bool brackets_balance(std::string_view text) {
    int64_t depth = 0;
    for (const char c : text) {
        if (c == '[') ++depth;
        if (c == ']' && --depth < 0) return false;
    }
    return depth == 0;
}

void append_field(Rope& rope, const String& field) {
    const bool balanced = brackets_balance(field.view());
    rope_append(rope, balanced ? "[\"" : "['");
    for (const char c : field.view()) {
        if (!balanced && c == '[') {
            rope_append(rope, "[q]");
        } else if (!balanced && c == ']') {
            rope_append(rope, "[r]");
        } else {
            rope_push(rope, c);
        }
    }
    rope_push(rope, ']');
}

String unescaped(std::string_view field) {
    Rope rope;
    for (size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '[') {
            rope_push(rope, field[i + 1] == 'q' ? '[' : ']');
            i += 2;
        } else {
            rope_push(rope, field[i]);
        }
    }
    return rope_flatten(rope);
}

/// The field at `position`, which moves behind it.
String take_field(std::string_view text, int64_t& position) {
    const int64_t end = match_bracket(text, position);
    const auto start = static_cast<size_t>(position + 2);
    const std::string_view field = text.substr(start, static_cast<size_t>(end) - start);
    const bool escaped = text[start - 1] == '\'';
    position = end + 1;
    return escaped ? unescaped(field) : String(field);
}

}  // namespace

String picture_head(std::string_view word) {
    Rope rope;
    rope_append(rope, "                        /\\\n\\/\\oh [");
    rope_append(rope, word);
    rope_append(rope, "]     /\\   /  \\\n/\\uck_________/\\_/  \\_/    \\_\n");
    return rope_flatten(rope);
}

String report_picture(const Report& report) {
    Rope way;
    append_coloured(way, report.way.view());
    Rope rope;
    rope_append(rope, picture_head(report.kind.view()));
    append_line(rope, " <way> ", rope_flatten(way));
    append_line(rope, " <vip> ", report.vip);
    append_line(rope, " <tip> ", report.tip);
    append_line(rope, " <say> ", report.say);
    return rope_flatten(rope);
}

void show_report(const Report& report) {
    put_text(stream_err, "\x1B[m");
    put_string(stream_err, report_picture(report));
}

String report_text(const Report& report) {
    Rope rope;
    rope_append(rope, "['");
    append_field(rope, report.say);
    append_field(rope, report.kind);
    append_field(rope, report.vip);
    append_field(rope, report.tip);
    append_field(rope, report.way);
    rope_push(rope, ']');
    return rope_flatten(rope);
}

Report report_parse(const String& text) {
    Report report;
    int64_t position = 2;
    report.say = take_field(text.view(), position);
    report.kind = take_field(text.view(), position);
    report.vip = take_field(text.view(), position);
    report.tip = take_field(text.view(), position);
    report.way = take_field(text.view(), position);
    return report;
}

Value report_value(const Report& report) { return pair(leaf("]"), leaf(report_text(report))); }

String clip_text(std::string_view text, bool wings) {
    constexpr size_t limit = 72;
    std::string clipped;
    std::string open;
    for (const char c : text) {
        const size_t size = clipped.size() + open.size();
        if (size == limit) break;
        const bool in_bytes = !open.empty() && open.back() == '[';
        const bool opens = c == '[' || (!in_bytes && (c == '(' || (wings && c == '{')));
        const bool closes = in_bytes ? c == ']' : c == ')' || (wings && c == '}');
        if (opens) {
            if (size == limit - 1) break;
            open.push_back(c);
        } else if (closes && !open.empty()) {
            open.pop_back();
        }
        clipped.push_back(c);
    }
    for (; !open.empty(); open.pop_back()) clipped.push_back(partner(open.back()));
    return String(std::string_view(clipped));
}

String fit_line(std::string_view text) {
    if (text.size() == 5) return concat(text, " \"");
    if (text.size() <= 72) return String(text);
    return concat(text.substr(0, 69), "...");
}

void bug_note(const String& line) {
    mkdir("/tmp", 0777);
    if (FILE* file = fopen("/tmp/both.bug", "a")) {
        std::string_view rest = line.view();
        while (!rest.empty()) {
            const ssize_t written = write(fileno(file), rest.data(), rest.size());
            if (written <= 0) break;
            rest.remove_prefix(static_cast<size_t>(written));
        }
        MARL_REQUIRE(fclose(file) == 0);
    }
    MARL_REQUIRE(!line.empty() && line.view().back() == '\n');
}

}  // namespace marl
