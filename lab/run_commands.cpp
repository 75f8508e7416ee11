#include "lab/run_commands.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "lab/lab.h"
#include "lab/message.h"
#include "lab/screen.h"

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
