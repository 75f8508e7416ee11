// Each line goes where it was asked to go, on one line whatever bytes are in it, in colours where
// somebody sees them.
#include "lab/screen.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace marl::lab {

namespace {

std::string padded(std::string text, size_t width, bool to_right = false) {
    const size_t missing = width - std::min(width, text.size());
    return to_right ? std::string(missing, ' ') + text : text + std::string(missing, ' ');
}

/// A state's number; nothing for one before the program's run.
std::string shown_number(int64_t number) {
    return padded(number < 0 ? "" : std::to_string(number), 6, true) + "  ";
}

/// Where something is written, behind what is said of it.
std::string place_text(const Screen& screen, const Spot& spot) {
    if (spot.line == 0) return {};
    return "  " + screen.faint(spot.file + ':' + std::to_string(spot.line) + ':' +
                               std::to_string(spot.column));
}

std::string link_text(const Screen& screen, const Link& link) {
    const std::string call = screen.strong(on_one_line(link.call));
    const std::string_view kind = link.kind;
    if (kind == "literal") return "Z is written in " + call;
    if (kind == "backquote") return "Z is what the backquote on " + call + " has left";
    if (kind == "empty list") return call + " = Z, of an empty list";
    if (kind == "no list") return call + " = Z, of what is no list";
    return call + " = Z";
}

}  // namespace

bool has_colours(FILE* file, const std::string& when) {
    const char* unwanted = getenv("NO_COLOR");
    if (when != "auto") return when == "always";
    return (!unwanted || *unwanted == '\0') && isatty(fileno(file));
}

Screen::Screen(const std::string& path, const std::string& colour) : path_(path) {
    if (!path.empty()) file_ = fopen(path.c_str(), "w");
    if (!file_) give_up();
    colours_ = has_colours(file_, colour);
}

/// Not by exit: what the process does at its end may come here again.
void Screen::give_up() const {
    const std::string name = path_.empty() ? "Standard output" : path_;
    fprintf(stderr, "marl-lab: %s can't be written: %s.\n", name.c_str(), strerror(errno));
    _exit(2);
}

void Screen::line(const std::string& text) {
    fwrite(text.data(), 1, text.size(), file_);
    fputc('\n', file_);
    if (fflush(file_) != 0) give_up();
}

std::string Screen::in(const std::string& text, const char* colour, const char* before,
                       const char* behind) const {
    if (text.empty()) return text;
    if (!colours_) return before + text + behind;
    return "\x1B[" + std::string(colour) + "m" + text + "\x1B[m";
}

std::string on_one_line(const std::string& text) {
    std::string line;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20) {
            line += "\xE2\x90";
            line += static_cast<char>(0x80 + byte);
        } else {
            line += c;
        }
    }
    return line;
}

void show_step(Screen& screen, const Step& step) {
    const std::string rule = step.name.empty() ? step.rule : step.rule + (' ' + step.name);
    const std::string nested(2 * static_cast<size_t>(step.nesting), ' ');
    const auto part = [&](size_t begin, size_t end) {
        return on_one_line(step.line.substr(begin, end - begin));
    };
    screen.line(screen.faint(shown_number(step.number)) +
                screen.word(padded(on_one_line(rule), 16)) + "  " + nested +
                part(0, step.redex.begin) + screen.strong(part(step.redex.begin, step.redex.end)) +
                part(step.redex.end, step.line.size()));
}

void show_call(Screen& screen, const CallLine& call) {
    constexpr size_t most = 40;
    std::string indent(2 * std::min(call.depth, most), ' ');
    if (call.depth > most) indent += '(' + std::to_string(call.depth) + ") ";
    const std::string text = on_one_line(call.text);
    screen.line(screen.faint(shown_number(call.number)) + indent +
                (call.is_answer ? screen.faint("= ") + screen.word(text) : text));
}

void show_why(Screen& screen, const Why& why) {
    if (why.effect.empty() && why.result.empty()) return;
    screen.line(why.effect.empty() ? "The result is " + on_one_line(why.result)
                                   : screen.strong(on_one_line(why.effect)) + " is given a Z" +
                                         place_text(screen, why.effect_place));
    if (why.chain.empty()) return screen.line("No step has made a Z that is in it.");
    bool first = true;
    for (const Link& link : why.chain) {
        screen.line(screen.faint(shown_number(link.number)) + (first ? "" : "then ") +
                    link_text(screen, link) + place_text(screen, link.place));
        if (!std::exchange(first, false)) continue;
        for (const std::string& call : link.within) {
            screen.line("          in " + on_one_line(call));
        }
    }
    if (why.more > 0) screen.line("        and " + std::to_string(why.more) + " more");
}

}  // namespace marl::lab
