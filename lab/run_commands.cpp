// Each command is a structure of its options, with a `run` that gives the status for the process.
#include "lab/run_commands.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "lab/files.h"
#include "lab/lab.h"
#include "lab/packed_file.h"
#include "lab/sample.h"
#include "lab/screen.h"

namespace marl::lab {

namespace {

/// What both commands take.
struct ProgramFile {
    std::string path;
    std::vector<std::string> arguments;
    std::string text = {};
    Sources sources = {};

    /// Gives 0, or the status to end with when there is none to run.
    int read() {
        PackedFile packed = packed_file(path);
        if (packed.text) text = std::move(*packed.text);
        sources = std::move(packed.sources);
        return packed.status;
    }
};

void add_program(CLI::App* command, ProgramFile& program) {
    command->add_option("FILE", program.path, "The program; - is standard input")->required();
    command->add_option("ARGUMENT", program.arguments, "What the program gets");
    command->footer("Arguments of the program that begin with - stand behind --");
}

/// Shows why a run didn't end well. Gives the status for the process.
int status_of(const Ending& ending) {
    if (ending.report.empty()) return static_cast<int>(ending.status);
    fwrite(ending.report.data(), 1, ending.report.size(), stderr);
    return 1;
}

struct StepsCommand {
    ProgramFile program;
    StepsOptions options;
    std::string only;
    bool why = false;
    std::string output;
    std::string colour = "auto";

    int run() const {
        Screen screen(output, colour);
        if (why) {
            const Why result = why_z(program.text, program.arguments, program.sources);
            show_why(screen, result);
            return result.started ? 0 : status_of(result);
        }
        if (only.empty()) {
            const auto tell = [&](const Step& step) { show_step(screen, step); };
            return status_of(run_steps(program.text, program.arguments, options, tell));
        }
        bool any = false;
        const auto tell = [&](const CallLine& call) {
            any = true;
            show_call(screen, call);
        };
        const Ending ending = run_calls(program.text, program.arguments, only, options.full, tell);
        if (!any && ending.started) screen.line("Nothing calls " + only + ".");
        return status_of(ending);
    }
};

struct ProfileCommand {
    ProgramFile program;
    std::string folded;
    std::string sort = "self";
    std::string output;

    int run() const {
        int status = 0;
        sample(program.text, program.arguments, program.sources, [&](const Sampled& result) {
            status = status_of(result);
            if (result.started && !show(result)) status = 2;
        });
        return status;
    }

    /// Whether all of it could be written.
    bool show(const Sampled& result) const {
        const std::string why = folded.empty() ? "" : write_file(folded, result.folded);
        if (!why.empty()) fprintf(stderr, "marl-lab: %s\n", why.c_str());
        std::vector<SampledRow> rows = result.rows;
        std::sort(rows.begin(), rows.end(), [&](const SampledRow& a, const SampledRow& b) {
            return std::pair(-weight(a), a.name) < std::pair(-weight(b), b.name);
        });
        Screen screen(output, "never");
        char line[100];
        snprintf(line, sizeof line, "%.3f s, %zu samples", result.seconds, result.samples);
        screen.line(line);
        screen.line(" self %  whole %  name, where it is defined, and its callers");
        for (const SampledRow& row : rows) screen.line(row_text(row));
        return why.empty();
    }

    /// What the rows are sorted by, the largest first.
    double weight(const SampledRow& row) const {
        return sort == "self" ? row.self : sort == "whole" ? row.whole : 0;
    }

    static std::string per_cent(double share, int width) {
        char number[40];
        snprintf(number, sizeof number, "%*.1f", width, share * 100);
        return number;
    }

    static std::string row_text(const SampledRow& row) {
        constexpr size_t most_callers = 3;
        std::string text =
            per_cent(row.self, 7) + "  " + per_cent(row.whole, 7) + "  " + on_one_line(row.name);
        if (row.place.line > 0) text += "  " + text_of(row.place);
        for (size_t i = 0; i < std::min(most_callers, row.callers.size()); ++i) {
            const auto& [caller, share] = row.callers[i];
            text += (i == 0 ? "  from " : ", ") + on_one_line(caller) + ' ' + per_cent(share, 0);
        }
        return text;
    }
};

struct CodeCommand {
    std::string path;
    std::string only;
    bool with_native = false;

    int run(const std::string& text) const {
        const Listed listed = list_code(text, only, with_native);
        fputs(listed.report.c_str(), stderr);
        if (!listed.report.empty()) return 1;
        for (const CodeOf& one : listed.definitions) {
            const std::string what = one.text.empty()
                                         ? "a constant, reduced as it stands"
                                         : std::to_string(one.registers) + " registers";
            printf("%s: %s\n%s\n", one.name.c_str(), what.c_str(), one.text.c_str());
        }
        if (!listed.definitions.empty()) return 0;
        printf("The program reaches no definition of %s.\n", only.c_str());
        return 1;
    }
};

constexpr const char* output_help = "Write there, and leave standard output to the program";

}  // namespace

void add_colour(CLI::App* command, std::string& when) {
    command->add_option("--color", when, "When to use colours")
        ->check(CLI::IsMember({"auto", "always", "never"}));
}

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
    command
        ->add_flag("--why-z", steps->why,
                   "Show where the first Z comes from that reaches the result or an effect")
        ->excludes(only);
    command->add_flag("--full", steps->options.full, "Don't shorten long values");
    command->add_option("-o,--output", steps->output, output_help);
    add_colour(command, steps->colour);
    command->callback([steps, &status] {
        status = steps->program.read();
        if (status == 0) status = steps->run();
    });
}

void add_code(CLI::App& lab, int& status) {
    const auto code = std::make_shared<CodeCommand>();
    CLI::App* command = lab.add_subcommand("code", "Show the code that the machine runs");
    command->add_option("FILE", code->path, "The program; - is standard input")->required();
    command->add_option("NAME", code->only,
                        "A definition; without it all that the program reaches");
    command->add_flag("--native", code->with_native,
                      "Show the native code that is made of it, too, where marl makes such");
    command->callback([code, &status] {
        PackedFile packed = packed_file(code->path);
        status = packed.text ? code->run(*packed.text) : packed.status;
    });
}

void add_profile(CLI::App& lab, int& status) {
    const auto options = std::make_shared<ProfileCommand>();
    CLI::App* command = lab.add_subcommand(
        "profile",
        "Run a program as fast as marl does, and show which definitions it spends its time in");
    add_program(command, options->program);
    command->add_option("--folded", options->folded,
                        "Write folded stacks, in microseconds, for a flame-graph viewer");
    command->add_option("--sort", options->sort, "The column to sort by")
        ->check(CLI::IsMember({"self", "whole", "name"}));
    command->add_option("-o,--output", options->output, output_help);
    command->callback([options, &status] {
        status = options->program.read();
        if (status == 0) status = options->run();
    });
}

}  // namespace marl::lab
