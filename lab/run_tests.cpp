// Each test has a process of its own, so that none can end or disturb another one.
#include "lab/run_tests.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <ostream>
#include <sstream>

#include "front/scan.h"
#include "lab/files.h"
#include "lab/pack.h"
#include "lab/run_program.h"
#include "lab/test_notes.h"

namespace marl::lab {

namespace {

namespace fs = std::filesystem;

constexpr int wrong_use = 2;
constexpr size_t most_shown_lines = 10;

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \n");
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(" \n") + 1 - first);
}

/// The text with one blank for each run of white space.
std::string on_one_line(const std::string& text) {
    std::string line;
    for (const char c : text) {
        if (!is_white(c)) line += c;
        if (is_white(c) && !line.empty() && line.back() != ' ') line += ' ';
    }
    return line;
}

/// Whether a text is the expected one. A long expected one may be broken into lines.
bool matches(const std::string& expected, const std::string& text) {
    if (text == expected) return true;
    return expected.find('\n') != expected.npos && on_one_line(expected) == text;
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

/// Lines under a head, as many as one wants to see.
std::string indented(const std::string& head, const std::vector<std::string>& lines, size_t from) {
    std::string shown;
    for (size_t i = from; i < lines.size() && i < from + most_shown_lines; ++i) {
        shown += "  " + (i == from ? head : std::string(head.size(), ' ')) + lines[i] + "\n";
    }
    if (from >= lines.size()) return "  " + head + "(nothing)\n";
    if (lines.size() > from + most_shown_lines) shown += "  ...\n";
    return shown;
}

/// Two outputs from the first line on in which they differ.
std::string difference(const std::string& expected, const std::string& actual) {
    const std::vector<std::string> wanted = lines_of(expected);
    const std::vector<std::string> got = lines_of(actual);
    size_t same = 0;
    while (same < wanted.size() && same < got.size() && wanted[same] == got[same]) ++same;
    std::string shown = "  standard output, line " + std::to_string(same + 1) + "\n";
    if (same == wanted.size() && same == got.size()) shown += "  the newline at the end\n";
    return shown + indented("expected ", wanted, same) + indented("     got ", got, same);
}

std::string trouble_of(const Ran& ran, int seconds) {
    if (!ran.trouble.empty()) return ran.trouble;
    return ran.in_time ? "" : "no end within " + std::to_string(seconds) + " seconds";
}

struct Testing {
    const TestOptions& options;
    std::ostream& out;
    const Files files = files_on_disk();
    size_t passed = 0;
    size_t failed = 0;
    bool unreadable = false;

    void fail(const std::string& what, const std::string& why) {
        ++failed;
        out << what << '\n' << why << std::flush;
    }

    // The tests in notes.

    void test_note(const Bundle& bundle, const TestNote& test) {
        const Program& program = bundle.program(0);
        const Program expression = read_expression(program, test.expression);
        const Packed packed = pack_expression(bundle, expression);
        const std::string& path = bundle.sources[0].path;
        const size_t line = Lines(program.text).line_of(test.expression.begin) + 1;
        const std::string what = path + ":" + std::to_string(line) +
                                 ": failed: " + std::string(program.written(test.expression));
        if (has_faults(packed.messages)) {
            return fail(what, shown_messages(bundle, packed.messages));
        }
        const Ran ran = run_apart({Mode::value, packed.text, {path}, {}, {}, options.seconds});
        const std::string trouble = trouble_of(ran, options.seconds);
        const std::string got = trimmed(ran.output);
        if (!trouble.empty()) {
            fail(what, "  " + trouble + "\n");
        } else if (!matches(test.expected, got)) {
            fail(what, indented("expected ", lines_of(test.expected), 0) +
                           indented("     got ", lines_of(got), 0));
        } else {
            ++passed;
        }
    }

    // Programs with files beside them.

    static std::optional<std::string> beside(const std::string& path, const char* extension) {
        return read_file(fs::path(path).replace_extension(extension).string()).text;
    }

    static bool is_tested(const std::string& path) {
        const auto extensions = {".in", ".args", ".out", ".status"};
        return std::any_of(extensions.begin(), extensions.end(), [&](const char* extension) {
            return beside(path, extension).has_value();
        });
    }

    void test_program(const Bundle& bundle) {
        const std::string& path = bundle.sources[0].path;
        const Packed packed = pack_expression(bundle, bundle.program(0));
        if (has_faults(packed.messages)) {
            return fail(path + ": failed", shown_messages(bundle, packed.messages));
        }
        const fs::path file(path);
        Run run{Mode::run,
                packed.text,
                lines_of(beside(path, ".args").value_or("")),
                beside(path, ".in").value_or(""),
                file.parent_path().string(),
                options.seconds};
        run.arguments.insert(run.arguments.begin(), file.filename().string());
        const Ran ran = run_apart(run);
        const std::string trouble = trouble_of(ran, options.seconds);
        if (!trouble.empty()) return fail(path + ": failed", "  " + trouble + "\n");
        std::string why;
        const std::string output = beside(path, ".out").value_or("");
        const std::string status = trimmed(beside(path, ".status").value_or("0"));
        if (ran.output != output) why += difference(output, ran.output);
        if (std::to_string(ran.status) != status) {
            why += "  expected status " + status + "\n       got status " +
                   std::to_string(ran.status) + "\n";
        }
        if (!why.empty()) return fail(path + ": failed", why);
        ++passed;
    }

    // Files and folders.

    void test_file(const std::string& path, const std::string& text) {
        const Bundle bundle = read_bundle(files, path, text);
        const std::vector<TestNote> tests = test_notes(bundle.program(0));
        const bool runs = bundle.program(0).has_entry && is_tested(path);
        if (tests.empty() && !runs) return;
        const auto messages = only_faults(check_bundle(files, bundle, Scope::program_and_tests));
        if (has_faults(messages)) {
            return fail(path + ": at fault", shown_messages(bundle, messages));
        }
        for (const TestNote& test : tests) test_note(bundle, test);
        if (runs) test_program(bundle);
    }

    void test_path(const std::string& path) {
        std::error_code none;
        if (fs::is_directory(path, none)) return test_folder(path);
        const FileText file = read_file(path);
        if (file.text) return test_file(path, *file.text);
        out << "marl-lab: " << file.why << '\n';
        unreadable = true;
    }

    void test_folder(const std::string& folder) {
        std::vector<std::string> paths;
        std::error_code none;
        const auto may_skip = fs::directory_options::skip_permission_denied;
        for (const auto& entry : fs::recursive_directory_iterator(folder, may_skip, none)) {
            if (entry.is_regular_file(none) && entry.path().extension() == ".marl") {
                paths.push_back(entry.path().string());
            }
        }
        std::sort(paths.begin(), paths.end());
        for (const std::string& path : paths) test_path(path);
    }
};

}  // namespace

int run_tests(const TestOptions& options, std::ostream& out) {
    Testing testing{options, out};
    for (const std::string& path : options.paths) testing.test_path(path);
    if (testing.passed + testing.failed == 0 && !testing.unreadable) {
        out << "marl-lab: There are no tests: no notes `[test: expression -> text]`, and no "
               "program "
               "with its output beside it.\n";
    }
    out << testing.passed << " passed, " << testing.failed << " failed\n";
    if (testing.unreadable) return wrong_use;
    return testing.failed > 0 || testing.passed == 0 ? 1 : 0;
}

}  // namespace marl::lab
