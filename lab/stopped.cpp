// The handlers write with `write` alone what has been put together before. A signal in the midst of
// a change of the texts could find half of one; it ends the process in any case.
#include "lab/stopped.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "lab/message.h"
#include "text/fatal.h"

namespace marl::lab {

namespace {

constexpr int ending[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTERM, SIGHUP};
constexpr size_t most_shown = 20;

struct Shown {
    ShownOnSignal::Tell tell;
    std::optional<std::vector<std::string>> at_interrupt;
};
Shown& shown_now() {
    static auto* shown = new Shown;
    return *shown;
}

void put(const std::string& text) {
    for (size_t at = 0; at < text.size();) {
        const ssize_t size = write(STDERR_FILENO, text.data() + at, text.size() - at);
        if (size <= 0) return;
        at += static_cast<size_t>(size);
    }
}

void show(const char* why, const std::vector<std::string>& calls) {
    if (calls.empty()) return;
    std::string text = std::string(why) + " under way were\n";
    for (size_t i = 0; i < calls.size() && i < most_shown; ++i) {
        text += "  " + one_line(calls[i]) + '\n';
    }
    if (calls.size() > most_shown) {
        text += "  and " + std::to_string(calls.size() - most_shown) + " more\n";
    }
    put(text);
}

void on_ending(int number) {
    const ShownOnSignal::Tell tell = std::exchange(shown_now().tell, nullptr);
    const std::string why = std::string(strsignal(number)) + ';';
    if (tell) show(why.c_str(), tell());
    signal(number, SIG_DFL);
    raise(number);
}

void (*interrupt_before)(int) = nullptr;

void on_interrupt(int number) {
    Shown& shown = shown_now();
    if (shown.tell && !shown.at_interrupt) shown.at_interrupt = shown.tell();
    interrupt_before(number);
}

void at_end() {
    Shown& shown = shown_now();
    if (shown.at_interrupt && shown.tell) show("Interrupted;", *shown.at_interrupt);
}

void handle(int number, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
}

/// A stack for the handlers: the process's own may be what has run out.
void make_signal_stack() {
#ifndef __EMSCRIPTEN__
    constexpr size_t size = 1 << 18;
    static char* memory = static_cast<char*>(malloc(size));
    stack_t stack{};
    stack.ss_sp = memory;
    stack.ss_size = size;
    sigaltstack(&stack, nullptr);
#endif
}

}  // namespace

ShownOnSignal::ShownOnSignal(Tell tell) {
    static const bool registered = std::atexit(at_end) == 0;
    MARL_REQUIRE(registered);
    shown_now() = {std::move(tell), {}};
    make_signal_stack();
    for (const int number : ending) handle(number, on_ending);
}

ShownOnSignal::~ShownOnSignal() {
    shown_now() = {};
    for (const int number : ending) handle(number, SIG_DFL);
}

void note_interrupts() {
    if (!shown_now().tell) return;
    struct sigaction action {};
    sigaction(SIGINT, nullptr, &action);
    if (action.sa_handler == on_interrupt || action.sa_handler == SIG_IGN) return;
    interrupt_before = action.sa_handler;
    action.sa_handler = on_interrupt;
    sigaction(SIGINT, &action, nullptr);
}

}  // namespace marl::lab
