// An interrupt runs in three phases. The handler sets the flag that the machine's loop looks at. An
// alarm rings every second until the loop has seen it, so that a call that blocks is cut short
// however late it began. Then `run_interrupt` reduces `shut` with the flag down, and the process
// ends; a second interrupt in that phase ends it at once.
#include "driver/interrupt.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "driver/report.h"
#include "reduce/interrupts.h"
#include "reduce/machine.h"
#include "reduce/tables.h"
#include "text/stream.h"
#include "value/todo.h"

namespace marl {

namespace {

volatile sig_atomic_t shut_runs = 0;

void set_handler(int signal_number, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(signal_number, &action, nullptr);  // without SA_RESTART
}

// A signal that comes between the loop's look at the flag and a blocking call would leave that call
// waiting. So the alarm rings until the loop has seen the flag.
void on_alarm(int) { alarm(1); }

// A second interrupt is for a run that doesn't look: in one long built-in, or in `shut`.
void on_interrupt(int) {
    if (shut_runs) _exit(1);
    if (interrupted) {
        put_text(stream_err, "\n");
        _exit(1);
    }
    interrupted = 1;
    set_handler(SIGALRM, on_alarm);
    alarm(1);
}

void silence_alarm() {
    alarm(0);
    set_handler(SIGALRM, SIG_DFL);
}

}  // namespace

void install_interrupt_handler() { set_handler(SIGINT, on_interrupt); }

void heed_interrupt() {
    if (interrupted) run_interrupt();
}

void run_interrupt() {
    shut_runs = 1;
    interrupted = 0;
    silence_alarm();
    put_text(stream_err, "\n");
    Value result;  // held to the end of the process, like all else: no further action runs
    if (Node* shut = find_definition("shut")) {
        result = reduce(Value::share(shut));
        if (first_byte(result) != 'I') {
            put_string(stream_err, picture_head("after"));
            put_text(stream_err, " <say> The shut function did not return I after SIGHUP.\n");
        }
    }
    todo_armed = false;
    exit(1);
}

}  // namespace marl
