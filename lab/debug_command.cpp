// Each command is a line: a word, and what it is about. A moment is shown as the place in the
// source, the whole expression with what is called marked, and what has been written since the last
// moment that was shown.
#include "lab/debug_command.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "lab/dap.h"
#include "lab/debug.h"
#include "lab/files.h"
#include "lab/message.h"
#include "lab/packed_file.h"
#include "lab/screen.h"

namespace marl::lab {

namespace {

constexpr const char* help =
    "  f [N]     forward to the next call, or N of them: into what is called\n"
    "  b [N]     back\n"
    "  o         over what is called\n"
    "  u         out of the innermost call\n"
    "  n NAME    to the next call of NAME\n"
    "  l NAME    back to the last call of NAME\n"
    "  e         to the end\n"
    "  p [NAME]  show a parameter's value, or those of all\n"
    "  s         show the calls that are under way\n"
    "  w         show what the program has written up to here\n"
    "  q         quit\n";

int terminal_width() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 20) return size.ws_col;
    const char* columns = getenv("COLUMNS");
    const int width = columns ? atoi(columns) : 0;
    return width > 20 ? width : 80;
}

class View {
  public:
    View(const Debugger& debugger, const Sources& sources, int width)
        : debugger_(debugger),
          sources_(sources),
          screen_("", "auto"),
          width_(static_cast<size_t>(width)) {}

    void show() {
        const Moment& now = debugger_.now();
        show_output(now);
        if (now.is_end) return show_end(now);
        const DebugFrame& frame = now.frames.front();
        const DebugFrame& at = now.frames[now.frames.size() > 1 && !frame.end.line ? 1 : 0];
        std::string head = std::to_string(now.number);
        if (at.place.line > 0) head += "  " + text_of(at.place);
        screen_.line(screen_.faint(head));
        show_source(at);
        show_text(now);
    }

    void show_values(const std::string& name) {
        for (const auto& [parameter, value] : debugger_.now().frames.front().values) {
            if (name.empty() || name == parameter) {
                screen_.line("  " + parameter + " = " + on_one_line(value));
            }
        }
    }

    void show_stack() {
        for (const DebugFrame& frame : debugger_.now().frames) {
            std::string call = frame.name;
            for (const auto& [name, value] : frame.values) call += ' ' + value;
            screen_.line("  " + on_one_line(call) + "  " + screen_.faint(text_of(frame.place)));
        }
    }

    void show_all_output() { write_lines(debugger_.output(0, debugger_.now().written)); }

  private:
    void show_output(const Moment& now) {
        if (now.written > shown_) write_lines(debugger_.output(shown_, now.written));
        shown_ = now.written;
    }

    void write_lines(const std::string& text) {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            screen_.line(screen_.word("| ") + on_one_line(line));
        }
    }

    void show_end(const Moment& now) {
        if (now.report.empty()) {
            screen_.line("The end; the status is " + std::to_string(now.status) + ".");
        } else {
            std::cout << now.report << std::flush;
        }
    }

    void show_source(const DebugFrame& at) {
        for (const SourceFile& source : sources_.bundle.sources) {
            if (source.shown != at.place.file || at.place.line == 0) continue;
            const Lines lines(source.program.text);
            const std::string line(lines.text_of(at.place.line - 1));
            const size_t begin = at.place.column - 1;
            const bool ends_here = at.end.line == at.place.line;
            const size_t end = ends_here ? at.end.column - 1 : line.size();
            show_marked("  ", line, {begin, std::max(begin, end)});
        }
    }

    void show_text(const Moment& now) { show_marked("= ", now.text, now.mark); }

    /// As much of a text, around its marked part, as a line of the terminal has room for.
    void show_marked(const std::string& before, const std::string& text, Range mark) {
        const size_t room = width_ - before.size() - 4;
        size_t begin = 0;
        if (text.size() > room) {
            const size_t size = std::min(mark.end - mark.begin, room);
            const size_t wanted = mark.begin - std::min(mark.begin, (room - size) / 2);
            begin = std::min(wanted, text.size() - room);
        }
        const size_t end = std::min(text.size(), begin + room);
        const auto part = [&](size_t from, size_t to) {
            from = std::clamp(from, begin, end);
            to = std::clamp(to, from, end);
            return on_one_line(text.substr(from, to - from));
        };
        screen_.line(before + part(begin, mark.begin) + screen_.strong(part(mark.begin, mark.end)) +
                     part(mark.end, end));
    }

    const Debugger& debugger_;
    const Sources& sources_;
    Screen screen_;
    const size_t width_;
    int64_t shown_ = 0;
};

struct DebugCommand {
    std::string path;
    std::vector<std::string> arguments;
    std::string input;
    bool dap = false;

    int run() const {
        if (dap) return serve_debugger(STDIN_FILENO, STDOUT_FILENO);
        PackedFile packed = packed_file(path);
        if (!packed.text) return packed.status;
        const int width = terminal_width();
        Debugger debugger(*packed.text, arguments, packed.sources, input, width);
        View view(debugger, packed.sources, width);
        say(debugger.forward(1));
        view.show();
        const bool asks = isatty(STDIN_FILENO) != 0;
        for (std::string line; prompt(asks) && std::getline(std::cin, line);) {
            if (!obey(debugger, view, line)) break;
        }
        return 0;
    }

    static bool prompt(bool asks) {
        if (asks) std::cout << "(h for help) " << std::flush;
        return true;
    }

    static void say(const std::string& why) {
        if (!why.empty()) std::cout << why << std::endl;
    }

    /// Whether to go on.
    static bool obey(Debugger& debugger, View& view, const std::string& line) {
        std::istringstream words(line);
        std::string word;
        std::string about;
        words >> word >> about;
        const int64_t count = about.empty() ? 1 : std::max(1, std::atoi(about.c_str()));
        std::string why;
        switch (word.empty() ? 'f' : word[0]) {
            case 'f': why = debugger.forward(count); break;
            case 'b': why = debugger.back(count); break;
            case 'o': why = debugger.over(); break;
            case 'u': why = debugger.out(); break;
            case 'n': why = debugger.next_call({about}); break;
            case 'l': why = debugger.last_call({about}); break;
            case 'e': why = debugger.to_end(); break;
            case 'p': view.show_values(about); return true;
            case 's': view.show_stack(); return true;
            case 'w': view.show_all_output(); return true;
            case 'q': return false;
            default: std::cout << help << std::flush; return true;
        }
        if (why.empty()) {
            view.show();
        } else {
            say(why);
        }
        return true;
    }
};

}  // namespace

void add_debug(CLI::App& lab, int& status) {
    const auto debug = std::make_shared<DebugCommand>();
    CLI::App* command =
        lab.add_subcommand("debug", "Go through a run, call by call, forward and back");
    CLI::Option* file = command->add_option("FILE", debug->path, "The program");
    command->add_option("ARGUMENT", debug->arguments, "What the program gets");
    command->add_option("--input", debug->input,
                        "A file that the program reads; without it nothing");
    command->add_flag("--dap", debug->dap, "Speak the Debug Adapter Protocol on standard streams");
    command->callback([debug, file, &status] {
        if (!debug->dap && file->count() == 0) throw CLI::RequiredError("FILE");
        status = debug->run();
    });
}

}  // namespace marl::lab
