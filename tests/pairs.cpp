// Runs programs in one process, each as it is, by the rules one by one, and with a todo Value in
// its entry, for random/compare.py, which starts processes only for what differs here.
//
//     pairs PROGRAMS FIRST MILLISECONDS <INPUT
//     pairs --rules FILE
//
// PROGRAMS is a file of programs, each with a NUL behind it; the FIRST ones of them are left out.
// Prints a "=" for each program that does the same each time, else a "!". A program that takes
// longer than MILLISECONDS by the rules ends the process with a "-", since nothing can be compared;
// one that ends the process otherwise, or takes ten times as long elsewhere, is the last one, too,
// and has none of them. The second form does what marl does, by the rules alone.
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "driver/marl.h"
#include "driver/process.h"
#include "driver/run.h"
#include "random/printed.h"
#include "reduce/calm.h"

namespace {

constexpr char by_the_rules[] = ",\nexact\\x\\todo";
constexpr char begins_calm[] = "q{todo(I,1)}";  // behind the entry's parameter

int said;  // where what is found goes

/// Lets the process end when this many milliseconds of its own have passed, as `act` says.
void limit_time(long milliseconds, void (*act)(int)) {
    signal(SIGVTALRM, act);
    const itimerval limit{{0, 0}, {milliseconds / 1000, milliseconds % 1000 * 1000}};
    setitimer(ITIMER_VIRTUAL, &limit, nullptr);
}

void say_endless(int /*signal*/) { _exit(write(said, "-", 1) != 1); }

/// All that a program does, in a process as it is at the start.
std::string behaviour(const std::string& source, bool calm) {
    marl::calls_are_calm = calm;
    rewind(stdin);
    srand(1);
    errno = 0;
    marl_session* const session = marl_begin();
    if (marl_load(session, source.data(), source.size())) marl_run(session, nullptr);
    size_t size = 0;
    const char* const result = marl_result(session, &size);
    const char* const fault = marl_fault_picture(session);
    std::string shown = std::to_string(marl_status(session)) + "\n";
    if (result) shown.append(result, size);
    if (fault) shown += fault;
    marl_end(session);
    return shown + "\n" + marl::printed_since();
}

int run_by_the_rules(char** arguments) {
    std::ifstream file(arguments[0], std::ios::binary);
    const std::string source(std::istreambuf_iterator<char>(file), {});
    marl::calls_are_calm = false;
    return static_cast<int>(marl::run_source(marl::String(std::string_view(source + by_the_rules)),
                                             marl::argument_address(arguments)));
}

}  // namespace

int main(int count, char** arguments) {
    if (count == 3 && std::string_view(arguments[1]) == "--rules")
        return run_by_the_rules(arguments + 2);
    if (count != 4 || !freopen("/dev/null", "w", stderr)) return 1;
    said = dup(STDOUT_FILENO);
    dup2(fileno(tmpfile()), STDOUT_FILENO);
    std::ifstream file(arguments[1], std::ios::binary);
    std::string source;
    for (long first = atol(arguments[2]); first > 0; --first) std::getline(file, source, '\0');
    const long milliseconds = atol(arguments[3]);
    while (std::getline(file, source, '\0')) {
        limit_time(milliseconds, say_endless);
        const std::string rules = behaviour(source + by_the_rules, false);
        limit_time(10 * milliseconds, SIG_DFL);
        const bool same =
            behaviour(source, true) == rules &&
            behaviour(source.substr(0, 2) + begins_calm + source.substr(2), true) == rules;
        if (write(said, same ? "=" : "!", 1) != 1) return 1;
    }
    return 0;
}
