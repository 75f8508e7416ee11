// A session is a list of definitions, as they were written. An expression is evaluated in a child
// process, which reads all of them as one program with the expression as its entry. So nothing that
// an evaluation does, an interrupt, a wrong address or `exit`, can harm the session; and a constant
// is evaluated anew for each expression that uses it.
#include "lab/repl.h"

#include <editline/readline.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csetjmp>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "driver/report.h"
#include "driver/shutdown.h"
#include "front/check.h"
#include "front/scan.h"
#include "lab/lab.h"
#include "lab/message.h"
#include "lab/program.h"
#include "lab/reference.h"
#include "lab/screen.h"
#include "reduce/machine.h"
#include "reduce/tables.h"
#include "value/todo.h"

namespace marl::lab {

namespace {

constexpr const char* help_text =
    "An expression is evaluated and its value shown; name\\body defines a name, also again.\n"
    ":help NAME    what the reference says about a combinator, an operator or a built-in\n"
    ":time EXPR    evaluates, and shows the seconds of CPU time that it took\n"
    ":steps EXPR   evaluates, and shows every state of the reduction\n"
    ":load FILE    takes the definitions of a file\n"
    ":save FILE    writes the definitions of the session, as a program\n"
    ":quit         ends the session, like the end of the input\n";

struct Definition {
    std::string key;
    std::string text;
};

struct Session {
    std::vector<Definition> definitions;

    void define(const std::string& key, std::string text) {
        const auto old = std::find_if(definitions.begin(), definitions.end(),
                                      [&](const Definition& one) { return one.key == key; });
        if (old == definitions.end()) {
            definitions.push_back({key, std::move(text)});
        } else {
            old->text = std::move(text);
        }
    }

    /// The definitions behind an entry, but for those of some keys.
    std::string program(std::string entry, const std::set<std::string>& without = {}) const {
        for (const Definition& one : definitions) {
            if (!without.contains(one.key)) entry += ",\n" + one.text;
        }
        return entry;
    }
};

Session session;  // what completion looks at, too

// Evaluation, in the child.

enum class Show { value, value_and_time, steps };

void show_result(Node* result) {
    if (is_leaf_of(result, ')')) {
        const std::string name(leaf_bytes(result).substr(1));
        std::cout << "cycle: " << ticked(name) << " needs its own value.\n";
    } else if (!is_leaf(result) && is_leaf_of(left(result), ']')) {
        const Report report = report_parse(text(right(result)));
        std::cout << report.kind.view() << ": " << report.say.view() << '\n';
    } else {
        std::cout << print_value(result).view() << '\n';
    }
}

[[noreturn]] void show_steps_here(const std::string& source) {
    Screen screen("", "auto");
    StepsOptions options;
    options.from = 1;  // behind the one that applies the entry to the program's arguments
    run_steps("a\\" + source, {}, options, [&](const Json& state) { show_state(screen, state); });
    std::exit(0);
}

[[noreturn]] void evaluate_here(const std::string& source, Show show) {
    std::signal(SIGINT, SIG_DFL);
    if (show == Show::steps) show_steps_here(source);
    Report report = set_up_program(String(source));
    if (!passed(report)) {
        std::cout << report.kind.view() << ": " << report.say.view() << std::endl;
        std::exit(1);
    }
    const std::clock_t begin = std::clock();
    todo_armed = true;
    {
        const Value result = reduce(Value::share(find_definition("")));
        std::fflush(stdout);
        show_result(result);
    }
    const double seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
    if (show == Show::value_and_time) std::cout << seconds << " s\n";
    std::cout << std::flush;
    shutdown();
    std::exit(0);
}

void evaluate(const std::string& source, Show show) {
    std::cout << std::flush;
    std::fflush(stdout);
    const auto before = std::signal(SIGINT, SIG_IGN);  // it is meant for the child
    const pid_t child = fork();
    if (child == 0) evaluate_here(source, show);
    int status = 0;
    if (child > 0) waitpid(child, &status, 0);
    std::signal(SIGINT, before);
    if (child < 0) std::cout << "No process can be started: " << std::strerror(errno) << '\n';
    if (!WIFSIGNALED(status)) return;
    if (WTERMSIG(status) == SIGINT) {
        std::cout << "\ninterrupted\n";
    } else {
        std::cout << "The evaluation was ended by signal " << WTERMSIG(status) << ".\n";
    }
}

// Input.

/// Shows the messages on the lines of a program that come from the input, or else, when there are
/// faults, those on the others. Whether there is no fault.
bool show_messages(const std::string& program, size_t first_line, size_t lines) {
    const Json result = check_source("input", program);
    Json own = Json::array();
    Json others = Json::array();
    for (Json message : result["messages"]) {
        const bool about_program = message["kind"] == "entry" || message["kind"] == "unreached";
        if (about_program) continue;
        const auto line = message["line"].get<size_t>();
        const bool is_own = line > first_line && line <= first_line + lines;
        if (is_own) message["line"] = line - first_line;
        if (is_own) message["end_line"] = message["end_line"].get<size_t>() - first_line;
        if (is_own) own.push_back(message);
        if (!is_own && message["severity"] == "fault") others.push_back(message);
    }
    std::cout << shown_messages("input", own);
    const bool faulty = result["faults"].get<size_t>() > 0;
    const bool told = std::any_of(
        own.begin(), own.end(), [](const Json& message) { return message["severity"] == "fault"; });
    if (faulty && !told) std::cout << shown_messages("session", others);
    return !faulty;
}

bool defines(const Piece& piece) {
    return piece.kind == PieceKind::definition && !piece.damaged && !is_letter(piece.key);
}

/// Takes definitions, and an expression in front of them if there is one.
void take_input(const std::string& input, Show show) {
    // Behind an entry the first piece shows whether it is a definition.
    const Program program = read_program("0,\n" + input);
    std::set<std::string> keys;
    for (const Piece& piece : program.pieces) {
        if (defines(piece)) keys.insert(piece.key);
    }
    const bool has_expression = program.pieces.size() < 2 || !defines(program.pieces[1]);
    const auto lines = static_cast<size_t>(std::count(input.begin(), input.end(), '\n')) + 1;
    const std::string whole = session.program(has_expression ? input : "0,\n" + input, keys);
    if (!show_messages(whole, has_expression ? 0 : 1, lines)) return;
    for (const Piece& piece : program.pieces) {
        if (defines(piece)) session.define(piece.key, std::string(program.written(piece.range)));
    }
    if (has_expression) evaluate(whole, show);
}

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \n");
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(" \n,") + 1 - first);
}

/// Whether brackets are open at the end.
bool is_unfinished(const std::string& text) {
    std::vector<char> open;
    for (const char c : text) {
        const bool in_bytes = !open.empty() && open.back() == '[';
        if (c == '[' || (!in_bytes && (c == '(' || c == '{'))) open.push_back(c);
        const bool closes = c == ']' || (!in_bytes && (c == ')' || c == '}'));
        if (closes && !open.empty() && open.back() == partner(c)) open.pop_back();
    }
    return !open.empty();
}

// Commands.

void show_help(const std::string& name) {
    if (name.empty()) {
        std::cout << help_text;
        return;
    }
    const std::string entry = reference_entry(name);
    for (const Definition& one : session.definitions) {
        if (one.key == name) std::cout << one.text << '\n';
    }
    if (!entry.empty()) {
        std::cout << name << '\n' << entry.substr(0, entry.find_last_not_of('\n') + 1) << '\n';
    } else if (is_given(name)) {
        std::cout << ticked(name) << " has no entry.\n";
    } else {
        std::cout << "The reference has nothing about " << ticked(name) << ".\n";
    }
}

void load_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::cout << "There is no file " << path << ".\n";
        return;
    }
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const Json result = check_source(path, text);
    if (result["faults"] > 0) {
        std::cout << shown_messages(path, result["messages"]);
        return;
    }
    const Program program = read_program(text);
    for (size_t i = 0; i < program.pieces.size(); ++i) {
        const Piece& piece = program.pieces[i];
        const bool counts = program.counts(i) && piece.kind == PieceKind::definition;
        if (counts) session.define(piece.key, std::string(program.written(piece.range)));
    }
    std::cout << program.definitions.size() << " definitions\n";
}

void save_file(const std::string& path) {
    std::ofstream file(path, std::ios::binary);
    file << session.program("a\\0") << '\n';
    if (!file) {
        std::cout << path << " can't be written.\n";
        return;
    }
    std::cout << session.definitions.size() << " definitions\n";
}

/// Whether the session goes on.
bool take_command(const std::string& line) {
    const size_t blank = std::min(line.find(' '), line.size());
    const std::string command = line.substr(0, blank);
    const std::string rest = trimmed(line.substr(blank));
    if (command == ":quit") return false;
    if (command == ":help") {
        show_help(rest);
    } else if (command == ":time") {
        take_input(rest, Show::value_and_time);
    } else if (command == ":steps") {
        take_input(rest, Show::steps);
    } else if (command == ":load") {
        load_file(rest);
    } else if (command == ":save") {
        save_file(rest);
    } else {
        std::cout << "There is no command " << command << "; :help shows them.\n";
    }
    return true;
}

// The terminal.

char* next_completion(const char* begin, int state) {
    static std::vector<std::string> names;
    if (state == 0) {
        names.clear();
        for (const Definition& one : session.definitions) names.push_back(one.key);
        for (const Row& row : builtin_table()) names.emplace_back(row.name);
        std::erase_if(names, [&](const std::string& name) { return !name.starts_with(begin); });
    }
    const auto index = static_cast<size_t>(state);
    return index < names.size() ? strdup(names[index].c_str()) : nullptr;
}

char** complete(const char* begin, int, int) {
    rl_attempted_completion_over = 1;
    return rl_completion_matches(begin, next_completion);
}

sigjmp_buf prompt_again;

void leave_line(int) { siglongjmp(prompt_again, 1); }

/// A line, or null at the end of the input. An interrupt drops what has been typed.
char* read_line(const char* prompt) {
    std::signal(SIGINT, leave_line);
    char* line = readline(prompt);
    std::signal(SIGINT, SIG_IGN);
    return line;
}

std::string history_path() {
    const char* home = std::getenv("HOME");
    return home ? std::string(home) + "/.marl_lab_history" : std::string();
}

}  // namespace

int run_repl() {
    static std::string name = "marl-lab";
    static std::string separators = " \n(){}[],;\\+-*/%^=<>#&|?:.@'~!\"$`0123456789";
    rl_readline_name = name.data();
    rl_basic_word_break_characters = separators.data();
    rl_attempted_completion_function = complete;
    using_history();
    const std::string history = history_path();
    if (!history.empty()) read_history(history.c_str());
    std::cout << "marl. :help shows what can be typed.\n" << std::flush;

    static std::string input;  // survives a jump
    if (sigsetjmp(prompt_again, 1) != 0) {
        input.clear();
        std::cout << '\n' << std::flush;
    }
    while (char* line = read_line(input.empty() ? "> " : ". ")) {
        if (!input.empty()) input += '\n';
        input += line;
        if (*line != '\0') add_history(line);
        std::free(line);
        if (is_unfinished(input)) continue;
        const std::string whole = trimmed(input);
        input.clear();
        if (whole.starts_with(':')) {
            if (!take_command(whole)) break;
        } else if (!whole.empty()) {
            take_input(whole, Show::value);
        }
        std::cout << std::flush;
    }
    if (!history.empty()) write_history(history.c_str());
    std::cout << '\n';
    return 0;
}

}  // namespace marl::lab
