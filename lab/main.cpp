// marl-lab: what a program means, where it is wrong, what it costs.
//
// Each command has a function here that tells the command line about it, and does its work
// elsewhere. A new command is such a function and its row in `commands`.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "lab/explain.h"
#include "lab/json.h"
#include "lab/lab.h"
#include "lab/message.h"
#include "lab/repl.h"
#include "lab/run_commands.h"
#include "lab/serve.h"

namespace marl::lab {

namespace {

/// What the process ends with. A command that finds something sets it to 1.
int status = 0;

std::string read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

CLI::Option* add_files(CLI::App* command, std::vector<std::string>& files) {
    return command->add_option("FILE", files, "Programs")->required()->check(CLI::ExistingFile);
}

void add_check(CLI::App& lab) {
    struct Options {
        std::vector<std::string> files;
        bool json = false;
    };
    const auto options = std::make_shared<Options>();
    CLI::App* command = lab.add_subcommand("check", "Show what is wrong or doubtful in programs");
    add_files(command, options->files);
    command->add_flag("--json", options->json, "One JSON object a file, one a line");
    command->callback([options] {
        for (const std::string& path : options->files) {
            const std::string text = read_file(path);
            const Checked checked = check_source(text);
            if (options->json) {
                std::cout << text_of(json_of(path, text, checked)) << '\n';
            } else {
                std::cout << shown_messages(path, text, checked.messages);
            }
            if (checked.faults > 0) status = 1;
        }
    });
}

void write_file(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    if (file.flush()) return;
    std::cerr << path << ": can't be written\n";
    status = 1;
}

/// Formats a file, or with `check` only tells that it is not formatted.
void format_file(const std::string& path, bool check) {
    const std::string text = read_file(path);
    const Formatted formatted = format_source(text);
    if (!formatted.text) {
        std::cout << shown_messages(path, text, formatted.messages);
        status = 1;
    } else if (*formatted.text != text) {
        std::cout << path << '\n';
        if (check) {
            status = 1;
        } else {
            write_file(path, *formatted.text);
        }
    }
}

void add_format(CLI::App& lab) {
    struct Options {
        std::vector<std::string> files;
        bool check = false;
    };
    const auto options = std::make_shared<Options>();
    CLI::App* command = lab.add_subcommand("format", "Put programs into the canonical layout");
    add_files(command, options->files);
    command->add_flag("--check", options->check, "Write nothing; name the files that would change");
    command->callback([options] {
        for (const std::string& path : options->files) format_file(path, options->check);
    });
}

void add_serve(CLI::App& lab) {
    CLI::App* command =
        lab.add_subcommand("serve", "Be the language server of an editor, on standard streams");
    command->callback([] { status = serve_client(STDIN_FILENO, STDOUT_FILENO); });
}

/// The word `json` stands for the objects that commands give to tools.
void explain(const std::string& name) {
    if (name.empty()) {
        std::cout << explained_words();
    } else if (name == "json") {
        std::cout << json_types();
    } else if (const auto text = explanation_of(name)) {
        std::cout << *text;
    } else {
        std::cerr << "marl-lab: there is nothing to tell about " << ticked(name)
                  << "; `marl-lab explain` lists the words.\n";
        status = 2;
    }
}

void add_explain(CLI::App& lab) {
    const auto name = std::make_shared<std::string>();
    CLI::App* command = lab.add_subcommand(
        "explain", "Tell what a warning, a kind of fault or a built-in is about");
    command->add_option("NAME", *name, "The word; `json` tells what --json gives, as TypeScript");
    command->callback([name] { explain(*name); });
}

void add_repl(CLI::App& lab) {
    CLI::App* command = lab.add_subcommand("repl", "Evaluate what is typed");
    command->callback([] { status = run_repl(); });
}

void add_run_commands(CLI::App& lab) {
    add_steps(lab, status);
    add_profile(lab, status);
}

constexpr void (*commands[])(CLI::App&) = {add_check, add_format, add_explain,
                                           add_serve, add_repl,   add_run_commands};

}  // namespace

}  // namespace marl::lab

int main(int argument_count, char** arguments) {
    CLI::App lab("See what a marl program means, where it is wrong, and what it costs.",
                 "marl-lab");
    lab.require_subcommand(1);
    for (const auto add_command : marl::lab::commands) add_command(lab);
    CLI11_PARSE(lab, argument_count, arguments);
    return marl::lab::status;
}
