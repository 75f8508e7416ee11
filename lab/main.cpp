// marl-lab: what a program means, where it is wrong, what it costs.
//
// Each command has a function here that tells the command line about it, and does its work
// elsewhere. A new command is such a function and its row in `commands`.
#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "lab/lab.h"
#include "lab/message.h"

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

constexpr void (*commands[])(CLI::App&) = {add_check};

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
