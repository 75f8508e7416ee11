// marl-lab: what a program means, where it is wrong, what it costs.
//
// Each command has a function here that tells the command line about it, and does its work
// elsewhere. A new command is such a function and its row in `commands`.
//
// The process ends with 0 when all is well, with 1 when a command finds something, and with 2 when
// it is called wrongly or can't read or write what it has to.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "lab/check_bundle.h"
#include "lab/debug_command.h"
#include "lab/explain.h"
#include "lab/files.h"
#include "lab/fixes.h"
#include "lab/json.h"
#include "lab/lab.h"
#include "lab/message.h"
#include "lab/near.h"
#include "lab/pack_commands.h"
#include "lab/repl.h"
#include "lab/run_commands.h"
#include "lab/screen.h"
#include "lab/serve.h"

namespace marl::lab {

namespace {

constexpr int found = 1;
constexpr int trouble = 2;

/// What the process ends with.
int status = 0;

void end_with(int least) { status = std::max(status, least); }

void complain(const std::string& why) {
    std::cout << std::flush;
    std::cerr << "marl-lab: " << why << '\n';
    end_with(trouble);
}

/// Writes out what the process has written to standard output; a complaint when any of it is lost.
void flush_output() {
    errno = 0;
    const bool streams = static_cast<bool>(std::cout.flush());
    const bool files = std::fflush(stdout) == 0 && !std::ferror(stdout);
    if (streams && files) return;
    complain(std::string("Standard output can't be written: ") + std::strerror(errno) + ".");
}

/// The text of a source; a complaint and nothing when it can't be read.
std::optional<std::string> source_of(const std::string& path) {
    FileText file = read_file(path);
    if (!file.text) complain(file.why);
    return std::move(file.text);
}

/// Replaces a file's text, or writes what takes the place of that of standard input.
void replace_source(const std::string& path, const std::string& text) {
    if (path == "-") {
        std::cout << text;
    } else if (const std::string why = write_file(path, text); !why.empty()) {
        complain(why);
    }
}

void add_files(CLI::App* command, std::vector<std::string>& files) {
    command->add_option("FILE", files, "Programs; - is standard input")->required();
}

// check.

struct CheckCommand {
    std::vector<std::string> files;
    bool json = false;
    bool fix = false;
    std::string deny;
    std::string colour = "auto";

    /// Where people read: beside a mended source that goes to standard output.
    std::ostream& out(const std::string& path) const {
        return fix && path == "-" ? std::cerr : std::cout;
    }

    std::string mended(const std::string& path, const std::string& text) const {
        const Mend mend = mend_source(text, path);
        if (!json) {
            for (const std::string& title : mend.titles) {
                out(path) << path << ": " << title << ".\n";
            }
        }
        if (mend.text != text || path == "-") replace_source(path, mend.text);
        return mend.text;
    }

    void run(const std::string& path) const {
        auto text = source_of(path);
        if (!text) return;
        if (fix) text = mended(path, *text);
        const Files disk = files_on_disk();
        const Bundle bundle = read_bundle(disk, path, *text);
        const auto messages = check_bundle(disk, bundle, Scope::program_and_tests);
        if (json) {
            show_json(path, bundle, messages);
        } else {
            FILE* file = fix && path == "-" ? stderr : stdout;
            out(path) << shown_messages(bundle, messages, has_colours(file, colour));
        }
        const bool any = std::any_of(messages.begin(), messages.end(),
                                     [](const auto& one) { return !one.empty(); });
        if (has_faults(messages) || (!deny.empty() && any)) end_with(found);
    }

    /// An object for the file, and one for each file that it uses of which there is something to
    /// tell.
    void show_json(const std::string& path, const Bundle& bundle,
                   const std::vector<std::vector<Message>>& messages) const {
        for (size_t i = 0; i < messages.size(); ++i) {
            if (i > 0 && messages[i].empty()) continue;
            const SourceFile& source = bundle.sources[i];
            out(path) << text_of(
                             json_of(source.shown, source.program.text, checked_of(messages[i])))
                      << '\n';
        }
    }
};

void add_check(CLI::App& lab) {
    const auto check = std::make_shared<CheckCommand>();
    CLI::App* command = lab.add_subcommand("check", "Show what is wrong or doubtful in programs");
    add_files(command, check->files);
    command->add_flag("--json", check->json,
                      "One JSON object a file, one a line; `explain json` tells the fields");
    command->add_flag("--fix", check->fix, "Mend first what there is just one way to mend");
    command->add_option("--deny", check->deny, "End with the status 1 also for warnings")
        ->check(CLI::IsMember({"warnings"}));
    add_colour(command, check->colour);
    command->callback([check] {
        for (const std::string& path : check->files) check->run(path);
    });
}

// format.

struct FormatCommand {
    std::vector<std::string> files;
    bool check = false;

    void run(const std::string& path) const {
        const auto text = source_of(path);
        if (!text) return;
        const Formatted formatted = format_source(*text);
        const bool to_output = path == "-" && !check;
        if (!formatted.text) {
            (to_output ? std::cerr : std::cout) << shown_messages(path, *text, formatted.messages);
            end_with(found);
        } else if (to_output) {
            std::cout << *formatted.text;
        } else if (*formatted.text != *text) {
            std::cout << path << '\n';
            if (check) {
                end_with(found);
            } else {
                replace_source(path, *formatted.text);
            }
        }
    }
};

void add_format(CLI::App& lab) {
    const auto format = std::make_shared<FormatCommand>();
    CLI::App* command = lab.add_subcommand("format", "Put programs into the canonical layout");
    add_files(command, format->files);
    command->add_flag("--check", format->check, "Write nothing; name the files that would change");
    command->callback([format] {
        for (const std::string& path : format->files) format->run(path);
    });
}

// explain.

/// The word `json` stands for the objects that commands give to tools.
void explain(const std::string& name) {
    if (name.empty()) {
        std::cout << explained_words();
    } else if (name == "json") {
        std::cout << json_types();
    } else if (const auto text = explanation_of(name)) {
        std::cout << *text;
    } else {
        complain("There is nothing to tell about " + ticked(name) +
                 "; `marl-lab explain` lists the words.");
    }
}

void add_explain(CLI::App& lab) {
    const auto name = std::make_shared<std::string>();
    CLI::App* command = lab.add_subcommand(
        "explain", "Tell what a warning, a kind of fault or a built-in is about");
    command->add_option("NAME", *name, "The word; `json` tells what --json gives, as TypeScript");
    command->callback([name] { explain(*name); });
}

void add_serve(CLI::App& lab) {
    CLI::App* command =
        lab.add_subcommand("serve", "Be the language server of an editor, on standard streams");
    command->callback([] { end_with(serve_client(STDIN_FILENO, STDOUT_FILENO)); });
}

void add_repl(CLI::App& lab) {
    const auto file = std::make_shared<std::string>();
    CLI::App* command = lab.add_subcommand("repl", "Evaluate what is typed");
    command->add_option("FILE", *file, "A program whose definitions are there from the start");
    command->callback([file] { end_with(run_repl(*file)); });
}

void add_run_commands(CLI::App& lab) {
    add_steps(lab, status);
    add_debug(lab, status);
    add_profile(lab, status);
    add_code(lab, status);
}

void add_pack_commands(CLI::App& lab) {
    add_pack(lab, status);
    add_run(lab, status);
    add_test(lab, status);
    add_doc(lab, status);
    add_new(lab, status);
}

constexpr void (*commands[])(CLI::App&) = {add_check, add_format,       add_explain,      add_serve,
                                           add_repl,  add_run_commands, add_pack_commands};

/// Whether a word in the place of a command is one; a complaint when it is none.
bool is_command(const CLI::App& lab, const std::string& word) {
    std::vector<std::string> names;
    for (const CLI::App* command : lab.get_subcommands({})) names.push_back(command->get_name());
    if (std::find(names.begin(), names.end(), word) != names.end()) return true;
    const std::vector<std::string> near = near_names(word, names);
    complain("There is no command " + ticked(word) +
             (near.empty() ? "; --help shows them." : "; is it " + ticked(near[0]) + "?"));
    return false;
}

int run(int argument_count, char** arguments) {
    if (is_run_line(argument_count, arguments)) return run_line(argument_count, arguments);
    CLI::App lab("See what a marl program means, where it is wrong, and what it costs.",
                 "marl-lab");
    lab.require_subcommand(1);
    lab.set_version_flag("--version", "marl-lab " MARL_VERSION);
    for (const auto add_command : commands) add_command(lab);
    const std::string first = argument_count > 1 ? arguments[1] : "-";
    if (!first.starts_with('-') && !is_command(lab, first)) return status;
    try {
        lab.parse(argument_count, arguments);
    } catch (const CLI::ParseError& fault) {
        if (lab.exit(fault) != 0) end_with(trouble);
    }
    flush_output();
    return status;
}

}  // namespace

}  // namespace marl::lab

int main(int argument_count, char** arguments) { return marl::lab::run(argument_count, arguments); }
