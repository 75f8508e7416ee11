// All but `run` leave their command line to CLI11. What stands behind the file of `run` is for the
// program, dashes and all, so that line is read by hand.
#include "lab/pack_commands.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>

#include "lab/doc.h"
#include "lab/files.h"
#include "lab/message.h"
#include "lab/new_project.h"
#include "lab/pack.h"
#include "lab/packed_file.h"
#include "lab/run_program.h"
#include "lab/run_tests.h"
#include "lab/screen.h"

namespace marl::lab {

namespace {

constexpr int at_fault = 1;
constexpr int wrong_use = 2;

int complain(const std::string& why) {
    std::cerr << "marl-lab: " << why << '\n';
    return wrong_use;
}

/// Without the warnings that are about one file alone: `check` tells them.
std::vector<std::vector<Message>> urgent(std::vector<std::vector<Message>> all) {
    for (std::vector<Message>& messages : all) {
        std::erase_if(messages, [](const Message& message) {
            return message.severity == Severity::warning && message.kind != "redefined_elsewhere";
        });
    }
    return all;
}

struct PackCommand {
    std::string path;
    std::string output = "-";

    int run() const {
        const FileText file = read_file(path);
        if (!file.text) return complain(file.why);
        const Files files = files_on_disk();
        const Bundle bundle = read_bundle(files, path, *file.text);
        const Packed packed = pack(files, bundle);
        std::cerr << shown_messages(bundle, urgent(packed.messages), has_colours(stderr, "auto"));
        if (has_faults(packed.messages)) return at_fault;
        if (output == "-") {
            std::cout << packed.text;
            return 0;
        }
        const std::string why = write_file(output, packed.text);
        return why.empty() ? 0 : complain(why);
    }
};

struct DocCommand {
    std::string name;
    std::string form = "text";

    int run() const {
        const PageForm page_form = form == "html"       ? PageForm::html
                                   : form == "markdown" ? PageForm::markdown
                                                        : PageForm::text;
        const bool is_file = name.find('/') != name.npos || name.ends_with(".marl");
        if (is_file) {
            const FileText file = read_file(name);
            if (!file.text) return complain(file.why);
            std::cout << shown_page(page_of(name, read_program(*file.text)), page_form);
            return 0;
        }
        const auto shown = shown_name(files_on_disk(), name, page_form);
        if (!shown) return complain("Nothing is known of " + ticked(name) + ".");
        std::cout << *shown;
        return 0;
    }
};

}  // namespace

void add_pack(CLI::App& lab, int& status) {
    const auto options = std::make_shared<PackCommand>();
    CLI::App* command =
        lab.add_subcommand("pack", "Make one plain program of a file and what it uses");
    command->add_option("FILE", options->path, "The program, or - for standard input")->required();
    command->add_option("-o,--output", options->output, "Write there");
    command->callback([options, &status] { status = options->run(); });
}

void add_run(CLI::App& lab, int& status) {
    CLI::App* command = lab.add_subcommand(
        "run", "Run a program, with the files that it uses, as marl would: run FILE [ARGUMENT]...");
    command->callback([&status] { status = wrong_use; });  // is_run_line has seen all that is right
}

void add_test(CLI::App& lab, int& status) {
    const auto options = std::make_shared<TestOptions>();
    CLI::App* command = lab.add_subcommand("test", "Run the tests of files and folders");
    command->add_option("PATH", options->paths, "Files and folders")->required();
    command->add_option("--seconds", options->seconds, "How long each test may run")
        ->check(CLI::PositiveNumber);
    command->callback([options, &status] { status = run_tests(*options, std::cout); });
}

void add_doc(CLI::App& lab, int& status) {
    const auto options = std::make_shared<DocCommand>();
    CLI::App* command = lab.add_subcommand(
        "doc", "Show what the reference and the library know of a name, or a file's definitions");
    command->add_option("NAME", options->name, "A name, a theme of the library, or a file")
        ->required();
    command->add_option("--form", options->form, "text, markdown or html")
        ->check(CLI::IsMember({"text", "markdown", "html"}));
    command->callback([options, &status] { status = options->run(); });
}

void add_new(CLI::App& lab, int& status) {
    const auto folder = std::make_shared<std::string>();
    CLI::App* command = lab.add_subcommand("new", "Lay out a folder to begin a program in");
    command->add_option("NAME", *folder, "The folder")->required();
    command->callback([folder, &status] {
        std::string why;
        for (const std::string& file : lay_out_project(*folder, why)) std::cout << file << '\n';
        if (!why.empty()) status = complain(why);
    });
}

bool is_run_line(int argument_count, char** arguments) {
    if (argument_count < 2 || std::string_view(arguments[1]) != "run") return false;
    const std::string_view next = argument_count > 2 ? arguments[2] : "";
    return next != "-h" && next != "--help";
}

int run_line(int argument_count, char** arguments) {
    if (argument_count < 3) return complain("A program is missing: run FILE [ARGUMENT]...");
    const PackedFile packed = packed_file(arguments[2]);
    return packed.text ? complain(become(Mode::run, *packed.text, arguments + 2)) : packed.status;
}

}  // namespace marl::lab
