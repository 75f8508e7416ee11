#include "lab/run_commands.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "lab/lab.h"
#include "lab/message.h"

namespace marl::lab {

namespace {

/// What both commands take.
struct Program {
    std::string path;
    std::vector<std::string> arguments;

    std::string text() const {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
};

void add_program(CLI::App* command, Program& program) {
    command->add_option("FILE", program.path, "The program")->required()->check(CLI::ExistingFile);
    command->add_option("ARGUMENT", program.arguments, "What the program gets");
    command->footer("Arguments of the program that begin with - stand behind --");
}

/// Shows why a run didn't end well. Gives the status for the process.
int status_of(const Json& outcome, const Program& program) {
    const auto report = outcome["report"].get<std::string>();
    if (report.empty()) return outcome["status"].get<int>();
    std::string shown;
    if (!outcome["started"]) {
        shown =
            shown_messages(program.path, check_source(program.path, program.text())["messages"]);
    }
    const std::string& message = shown.empty() ? report : shown;
    fwrite(message.data(), 1, message.size(), stderr);
    return 1;
}

/// Where lines go, and how they look there.
class Screen {
  public:
    Screen(const std::string& path, const std::string& colour) {
        if (!path.empty()) file_ = fopen(path.c_str(), "w");
        if (!file_) {
            fprintf(stderr, "marl-lab: can't write to %s\n", path.c_str());
            exit(1);
        }
        const bool wanted = !getenv("NO_COLOR") && isatty(fileno(file_));
        colours_ = colour == "always" || (colour == "auto" && wanted);
    }

    /// Each line goes out at once, behind what the program has written.
    void line(const std::string& text) {
        fwrite(text.data(), 1, text.size(), file_);
        fputc('\n', file_);
        fflush(file_);
    }

    std::string faint(const std::string& text) const { return in(text, "2", "", ""); }
    std::string strong(const std::string& text) const {
        return in(text, "1;33", "\u00AB", "\u00BB");
    }
    std::string word(const std::string& text) const { return in(text, "36", "", ""); }

  private:
    std::string in(const std::string& text, const char* colour, const char* before,
                   const char* behind) const {
        if (text.empty()) return text;
        if (!colours_) return before + text + behind;
        return "\x1B[" + std::string(colour) + "m" + text + "\x1B[m";
    }

    FILE* file_ = stdout;
    bool colours_ = false;
};

/// A text on one line: control bytes as their pictures.
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

std::string padded(std::string text, size_t width, bool to_right = false) {
    const size_t missing = width - std::min(width, text.size());
    return to_right ? std::string(missing, ' ') + text : text + std::string(missing, ' ');
}

std::string number_of(const Json& line) { return padded(line["n"].dump(), 6, true) + "  "; }

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

std::string link_text(const Screen& screen, const Json& link) {
    const auto kind = link["kind"].get<std::string>();
    const auto call = on_one_line(link["call"].get<std::string>());
    if (kind == "literal") return "Z is written in " + screen.strong(call);
    return screen.strong(call) + " = Z";
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

struct StepsCommand {
    Program program;
    StepsOptions options;
    std::string only;
    bool why = false;
    std::string output;
    std::string colour = "auto";

    int run() const {
        Screen screen(output, colour);
        if (why) {
            const Json result = why_z(program.text(), program.arguments);
            show_why(screen, result);
            return result["started"] ? 0 : status_of(result, program);
        }
        if (only.empty()) {
            const Emit emit = [&](const Json& state) { show_state(screen, state); };
            return status_of(run_steps(program.text(), program.arguments, options, emit), program);
        }
        bool any = false;
        const Emit emit = [&](const Json& call) {
            any = true;
            show_call(screen, call);
        };
        const Json outcome = run_calls(program.text(), program.arguments, only, options.full, emit);
        if (!any && outcome["started"]) screen.line("Nothing calls " + only + ".");
        return status_of(outcome, program);
    }
};

struct ProfileCommand {
    Program program;
    std::string folded;
    std::string sort = "self";
    std::string output;

    int run() const {
        int status = 0;
        const Emit emit = [&](const Json& result) {
            if (result["started"]) show(result);
            status = status_of(result, program);
        };
        profile(program.text(), program.arguments, emit);
        return status;
    }

    void show(const Json& result) const {
        if (!folded.empty()) std::ofstream(folded) << result["folded"].get<std::string>();
        std::vector<Json> rows = result["rows"];
        std::stable_sort(rows.begin(), rows.end(), [&](const Json& a, const Json& b) {
            if (sort == "name" || a[sort] == b[sort]) return a["name"] < b["name"];
            return a[sort] > b[sort];
        });
        Screen screen(output, "never");
        screen.line("     calls       steps       nodes    self ms   below ms  name");
        for (const Json& row : rows) screen.line(row_text(row));
    }

    static std::string row_text(const Json& row) {
        char numbers[100];
        snprintf(numbers, sizeof numbers, "%10lld  %10lld  %10lld %10.3f %10.3f  ",
                 row["calls"].get<long long>(), row["steps"].get<long long>(),
                 row["nodes"].get<long long>(), row["self"].get<double>() * 1000,
                 row["below"].get<double>() * 1000);
        return numbers + on_one_line(row["name"].get<std::string>());
    }
};

constexpr const char* output_help = "Write there, and leave standard output to the program";

}  // namespace

void add_steps(CLI::App& lab, int& status) {
    const auto steps = std::make_shared<StepsCommand>();
    CLI::App* command = lab.add_subcommand(
        "steps", "Show the reduction of a program, a line a step: context . focus");
    add_program(command, steps->program);
    command->add_option("--from", steps->options.from, "Begin with this state");
    command->add_option("--count", steps->options.count, "Leave the run after so many states");
    command->add_option("--until", steps->options.until, "Leave the run where NAME is called");
    CLI::Option* only = command->add_option(
        "--only", steps->only, "Show the calls of NAME, with their arguments and answers");
    command->add_flag("--why-z", steps->why, "Show the first call whose Z is in the result")
        ->excludes(only);
    command->add_flag("--full", steps->options.full, "Don't shorten long values");
    command->add_option("-o,--output", steps->output, output_help);
    command->add_option("--color", steps->colour, "When to use colours")
        ->check(CLI::IsMember({"auto", "always", "never"}));
    command->callback([steps, &status] { status = steps->run(); });
}

void add_profile(CLI::App& lab, int& status) {
    const auto options = std::make_shared<ProfileCommand>();
    CLI::App* command = lab.add_subcommand(
        "profile",
        "Run a program and show what each name costs. It counts the steps of the plain machine, "
        "which does one rule a step: marl itself needs less of them, and less nodes");
    add_program(command, options->program);
    command->add_option("--folded", options->folded,
                        "Write folded stacks, in steps, for a flame-graph viewer");
    command->add_option("--sort", options->sort, "The column to sort by")
        ->check(CLI::IsMember({"self", "below", "calls", "steps", "nodes", "name"}));
    command->add_option("-o,--output", options->output, output_help);
    command->callback([options, &status] { status = options->run(); });
}

}  // namespace marl::lab
