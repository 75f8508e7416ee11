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
#include <utility>

#include "driver/interrupt.h"
#include "driver/process.h"
#include "driver/report.h"
#include "driver/shutdown.h"
#include "front/check.h"
#include "front/prelude.h"
#include "lab/result_text.h"
#include "number/convert.h"
#include "reduce/machine.h"
#include "reduce/tables.h"
#include "text/fatal.h"
#include "text/stream.h"
#include "value/todo.h"

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

Report prepare(const std::string& text) {
    build_prelude();
    Module module;
    Report parsed = parse_program(String(text), module);
    if (!passed(parsed)) return parsed;
    install_interrupt_handler();
    return check_program(std::move(module));
}

/// Writes a line behind what the program has written through C.
void print_line(const std::string& line) {
    fwrite(line.data(), 1, line.size(), stdout);
    fputc('\n', stdout);
    fflush(stdout);
}

int fail(const Report& report) {
    put_text(stream_err, "\x1B[m");
    put_string(stream_err, report_picture(report));
    return 1;
}

/// Runs `shut` for an interrupt that came while no loop was there to see it.
void heed_interrupt() {
    if (interrupted) run_interrupt();
}

int run(const std::string& text, int64_t arguments) {
    if (const Report report = prepare(text); !passed(report)) return fail(report);
    Value result = run_entry(arguments);
    heed_interrupt();
    const Report outcome = report_on(result);
    const bool is_shown = outcome.kind == "range";
    if (!passed(outcome) && !is_shown) return fail(outcome);
    if (is_shown) print_line(result_text(result));
    shutdown();
    heed_interrupt();
    return is_shown ? 0 : static_cast<int>(to_i64(result));
}

int show_value(const std::string& text) {
    if (const Report report = prepare(text); !passed(report)) {
        print_line(result_text(report));
        return 1;
    }
    todo_armed = true;
    Value result = reduce(Value::share(find_definition("")));
    print_line(result_text(result));
    result = Value();
    shutdown();
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
