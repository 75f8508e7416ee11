// marl-lab: what a program means, where it is wrong, what it costs.
//
// Each command has a function here that tells the command line about it, and does its work
// elsewhere. A new command is such a function and its row in `commands`.
#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

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
            const Json result = check_source(path, read_file(path));
            if (options->json) {
                std::cout << result.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
            } else {
                std::cout << shown_messages(path, result["messages"]);
            }
            if (result["faults"] > 0) status = 1;
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
    const Json result = format_source(text);
    if (result.contains("messages")) {
        std::cout << shown_messages(path, result["messages"]);
        status = 1;
    } else if (result["text"] != text) {
        std::cout << path << '\n';
        if (check) {
            status = 1;
        } else {
            write_file(path, result["text"].get<std::string>());
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
    command->callback([] { status = serve_streams(std::cin, std::cout); });
}

void add_repl(CLI::App& lab) {
    CLI::App* command = lab.add_subcommand("repl", "Evaluate what is typed");
    command->callback([] { status = run_repl(); });
}

void add_run_commands(CLI::App& lab) {
    add_steps(lab, status);
    add_profile(lab, status);
}

constexpr void (*commands[])(CLI::App&) = {add_check, add_format, add_serve, add_repl,
                                           add_run_commands};

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
