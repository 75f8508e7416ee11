// The editing library reads characters of the locale, and drops what is none in it. So where the
// locale has only those of one byte, one of UTF-8 is taken.
#include "lab/prompt.h"

#include <editline/readline.h>
#include <unistd.h>

#include <clocale>
#include <csetjmp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <utility>

namespace marl::lab {

namespace {

Complete complete_word;
std::string history_path;

char* next_completion(const char* begin, int state) {
    static std::vector<std::string> names;
    if (state == 0) names = complete_word(begin);
    const auto index = static_cast<size_t>(state);
    return index < names.size() ? strdup(names[index].c_str()) : nullptr;
}

char** complete(const char* begin, int, int) {
    rl_attempted_completion_over = 1;
    return rl_completion_matches(begin, next_completion);
}

sigjmp_buf prompt_again;

void leave_line(int) { siglongjmp(prompt_again, 1); }

/// A line, or null at the end of the input.
char* edited_line(const char* prompt) {
    std::signal(SIGINT, leave_line);
    char* line = readline(prompt);
    std::signal(SIGINT, SIG_IGN);
    return line;
}

/// An entry as the file has it, on one line: white space, backslashes and control bytes by their
/// octal digits.
std::string history_line(const std::string& input) {
    std::string line;
    for (const char c : input) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte > ' ' && byte != '\\' && byte != 0x7F) {
            line += c;
            continue;
        }
        char digits[5];
        snprintf(digits, sizeof digits, "\\%03o", static_cast<unsigned>(byte));
        line += digits;
    }
    return line + '\n';
}

/// The library would write all of its entries, over those of other sessions.
void remember(const std::string& input) {
    if (input.empty()) return;
    add_history(input.c_str());
    if (history_path.empty()) return;
    std::ofstream file(history_path, std::ios::app | std::ios::ate);
    const std::string head = file.tellp() == 0 ? "_HiStOrY_V2_\n" : "";
    file << head + history_line(input) << std::flush;
}

std::optional<std::string> typed_input(bool (*is_whole)(const std::string&)) {
    static std::string input;  // survives a jump
    input.clear();
    if (sigsetjmp(prompt_again, 1) != 0) {
        input.clear();
        std::cout << '\n' << std::flush;
    }
    const char* prompt = "> ";
    while (char* line = edited_line(prompt)) {
        input += line;
        std::free(line);
        if (is_whole(input)) {
            remember(input);
            return input;
        }
        input += '\n';
        prompt = ". ";
    }
    return std::nullopt;
}

}  // namespace

void open_prompt(Complete its_complete) {
    complete_word = std::move(its_complete);
    if (!is_terminal()) return;
    std::setlocale(LC_CTYPE, "");
    if (MB_CUR_MAX == 1) std::setlocale(LC_CTYPE, "C.UTF-8");
    static std::string name = "marl-lab";
    static std::string separators = " \n(){}[],;\\+-*/%^=<>#&|?:.@'~!\"$`0123456789";
    rl_readline_name = name.data();
    rl_basic_word_break_characters = separators.data();
    rl_attempted_completion_function = complete;
    using_history();
    if (const char* home = std::getenv("HOME")) {
        history_path = std::string(home) + "/.marl_lab_history";
        read_history(history_path.c_str());
    }
}

bool is_terminal() { return isatty(STDIN_FILENO) != 0; }

std::optional<std::string> read_input(bool (*is_whole)(const std::string&)) {
    if (is_terminal()) return typed_input(is_whole);
    std::string input;
    for (std::string line; std::getline(std::cin, line);) {
        input += line;
        if (is_whole(input)) return input;
        input += '\n';
    }
    if (input.empty()) return std::nullopt;
    return input;
}

}  // namespace marl::lab
