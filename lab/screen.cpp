#include "lab/screen.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <utility>

namespace marl::lab {

namespace {

std::string padded(std::string text, size_t width, bool to_right = false) {
    const size_t missing = width - std::min(width, text.size());
    return to_right ? std::string(missing, ' ') + text : text + std::string(missing, ' ');
}

std::string number_of(const Json& line) { return padded(line["n"].dump(), 6, true) + "  "; }

std::string link_text(const Screen& screen, const Json& link) {
    const auto kind = link["kind"].get<std::string>();
    const auto call = on_one_line(link["call"].get<std::string>());
    if (kind == "literal") return "Z is written in " + screen.strong(call);
    return screen.strong(call) + " = Z";
}

}  // namespace

Screen::Screen(const std::string& path, const std::string& colour) {
    if (!path.empty()) file_ = fopen(path.c_str(), "w");
    if (!file_) {
        fprintf(stderr, "marl-lab: can't write to %s\n", path.c_str());
        exit(1);
    }
    const bool wanted = !getenv("NO_COLOR") && isatty(fileno(file_));
    colours_ = colour == "always" || (colour == "auto" && wanted);
}

void Screen::line(const std::string& text) {
    fwrite(text.data(), 1, text.size(), file_);
    fputc('\n', file_);
    fflush(file_);
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

void show_state(Screen& screen, const Json& state) {
    const auto line = state["line"].get<std::string>();
    const auto begin = state["redex"]["start"].get<size_t>();
    const auto length = state["redex"]["length"].get<size_t>();
    auto rule = state["rule"].get<std::string>();
    if (state.contains("name")) rule += ' ' + state["name"].get<std::string>();
    const std::string nested(2 * state["run"].get<size_t>(), ' ');
    screen.line(screen.faint(number_of(state)) + screen.word(padded(on_one_line(rule), 16)) + "  " +
                nested + on_one_line(line.substr(0, begin)) +
                screen.strong(on_one_line(line.substr(begin, length))) +
                on_one_line(line.substr(begin + length)));
}

void show_call(Screen& screen, const Json& call) {
    constexpr size_t most = 40;
    const auto depth = call["depth"].get<size_t>();
    std::string indent(2 * std::min(depth, most), ' ');
    if (depth > most) indent += '(' + std::to_string(depth) + ") ";
    const bool is_call = call.contains("call");
    const auto text = on_one_line(call[is_call ? "call" : "answer"].get<std::string>());
    screen.line(screen.faint(number_of(call)) + indent +
                (is_call ? text : screen.faint("= ") + screen.word(text)));
}

void show_why(Screen& screen, const Json& why) {
    if (why["result"].get<std::string>().empty()) return;
    const Json& chain = why["chain"];
    screen.line("The result is " + on_one_line(why["result"].get<std::string>()));
    if (chain.empty()) return screen.line("No step has made a Z that is in it.");
    bool first = true;
    for (const Json& link : chain) {
        screen.line(screen.faint(number_of(link)) + (first ? "" : "then ") +
                    link_text(screen, link));
        if (std::exchange(first, false)) {
            for (const Json& call : link["within"]) {
                screen.line("          in " + on_one_line(call.get<std::string>()));
            }
        }
    }
}

}  // namespace marl::lab
