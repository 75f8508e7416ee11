// marl-lab-run: runs a packed program for marl-lab, on the machine that marl has.
//
// marl-lab itself is built on a core that can be watched. So it hands what it has packed to this
// program, which takes its place in the process: signals, standard streams and the terminal are the
// program's own. The text comes in a descriptor, which is closed once it is read. So that a program
// finds its arguments as marl would give them, with the file's name in front, how to run stands in
// argument 0: the mode, a colon, and the number of the descriptor.
//
// The mode `run` applies the entry to the arguments and ends with the program's integer. A Report
// ends with status 1, and a value that is no integer is shown, with status 0. The mode `value`
// shows what the prompt shows for the entry expression by itself.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>

#include "driver/interrupt.h"
#include "driver/process.h"
#include "driver/report.h"
#include "driver/session.h"
#include "lab/result_text.h"
#include "number/kind.h"
#include "text/fatal.h"
#include "text/stream.h"

namespace marl::lab {

namespace {

constexpr int wrong_use = 2;

std::string read_descriptor(int descriptor) {
    std::string text;
    char buffer[65536];
    off_t at = 0;
    for (ssize_t size; (size = pread(descriptor, buffer, sizeof buffer, at)) > 0; at += size) {
        text.append(buffer, static_cast<size_t>(size));
    }
    close(descriptor);
    return text;
}

/// Opens a session that an interrupt ends in good order; false behind a fault.
bool open(Session& session, const std::string& text) {
    if (!load_session(session, String(text))) return false;
    install_interrupt_handler();
    return check_session(session);
}

/// Writes a line behind what the program has written through C.
void print_line(const std::string& line) {
    fwrite(line.data(), 1, line.size(), stdout);
    fputc('\n', stdout);
    fflush(stdout);
}

int fail(const Report& report) {
    show_report(report);
    return 1;
}

int run(const std::string& text, int64_t arguments) {
    Session session;
    if (open(session, text)) {
        run_session(session, arguments);
        heed_interrupt();
    }
    if (!passed(session.report)) return fail(session.report);
    const bool is_integer = kind_of(session.result) == 'i';
    if (!is_integer) print_line(result_text(session.result));
    const int status = is_integer ? static_cast<int>(status_of_session(session)) : 0;
    end_session(session);
    heed_interrupt();
    return status;
}

int show_value(const std::string& text) {
    Session session;
    if (!open(session, text)) {
        print_line(result_text(session.report));
        return 1;
    }
    evaluate_session(session);
    print_line(result_text(session.result));
    end_session(session);
    return 0;
}

int start(int argument_count, char** arguments) {
    reserve_standard_descriptors();
    const std::string_view how = argument_count > 0 ? arguments[0] : "";
    const size_t colon = how.find(':');
    const std::string_view mode = how.substr(0, colon);
    if (argument_count < 2 || colon == how.npos || (mode != "run" && mode != "value")) {
        put_text(stream_err, "This program is for marl-lab: marl-lab run FILE [ARGUMENT]...\n");
        return wrong_use;
    }
    const std::string text = read_descriptor(std::atoi(how.substr(colon + 1).data()));
    return mode == "run" ? run(text, argument_address(arguments + 2)) : show_value(text);
}

}  // namespace

}  // namespace marl::lab

int main(int argument_count, char** arguments) {
    std::set_new_handler(marl::out_of_memory);
    return marl::lab::start(argument_count, arguments);
}
