// The clock and the calendar, the process and its environment, and errors by number.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "library/convention.h"
#include "library/families.h"
#include "reduce/interrupts.h"
#include "value/todo.h"

namespace marl {

namespace {

/// C's exit, with its flushing of streams. Nothing more is reduced: the tables that go down with
/// the process run no todo action.
void end_process(int status) {
    todo_armed = false;
    exit(status);
}

/// Starts a shell on a command. It gets SIGQUIT back as it was before this call; a handler of this
/// process it doesn't inherit anyway. Gives an error number.
int start_shell(const char* command, bool restore_quit, pid_t* child) {
    const char* words[] = {"sh", "-c", command, nullptr};
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    if (restore_quit) {
        sigset_t defaults;
        sigemptyset(&defaults);
        sigaddset(&defaults, SIGQUIT);
        posix_spawnattr_setsigdefault(&attributes, &defaults);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    }
    const int failure = posix_spawn(child, "/bin/sh", nullptr, &attributes,
                                    const_cast<char* const*>(words), environ);
    posix_spawnattr_destroy(&attributes);
    return failure;
}

/// Waits for a shell, or for an interrupt of the run, which goes on to the shell.
int wait_for(pid_t child) {
    while (!interrupted) {
        int status;
        if (waitpid(child, &status, 0) == child) return status;
        if (errno != EINTR) return -1;
    }
    kill(child, SIGINT);
    return SIGINT;  // as of a command that the signal has ended
}

/// C's system, but for one thing: that one ignores SIGINT while the command runs, and an interrupt
/// of the run would be lost. Here the run is interrupted, whether the signal came to the whole
/// process group or to this process alone.
int run_command(const char* command) {
    if (!command) return system(nullptr);
    struct sigaction ignore = {};
    struct sigaction before;
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGQUIT, &ignore, &before);
    pid_t child;
    const int failure = start_shell(command, before.sa_handler != SIG_IGN, &child);
    constexpr int not_run = 127 << 8;  // the exit status of a shell that could not be run
    int status = not_run;
    if (failure == 0) {
        status = wait_for(child);
    } else {
        errno = failure;
    }
    const int errno_of_command = errno;
    sigaction(SIGQUIT, &before, nullptr);
    errno = errno_of_command;
    return status;
}

int error_number() { return errno; }

// A moment has 64 bits in the program's memory, also where time_t is narrower.

int64_t now(void* place) {
    const int64_t moment = time(nullptr);
    if (place) memcpy(place, &moment, sizeof moment);
    return moment;
}

time_t moment_at(const void* place) {
    int64_t moment;
    memcpy(&moment, place, sizeof moment);
    return static_cast<time_t>(moment);
}

const char* time_text(const void* place) {
    const time_t moment = moment_at(place);
    return ctime(&moment);
}
const tm* universal_time(const void* place) {
    const time_t moment = moment_at(place);
    return gmtime(&moment);
}
const tm* local_time(const void* place) {
    const time_t moment = moment_at(place);
    return localtime(&moment);
}

constexpr Builtin rows[] = {
    wrap<S(I), now>("time", 1),
    {"time_t", 0, constant<sizeof(int64_t)>},
    wrap<S(I), time_text>("ctime", 1),
    wrap<S(I), universal_time>("gmtime", 1),
    wrap<S(I), local_time>("localtime", 1),
    wrap<S(I), asctime>("asctime", 1),
    wrap<S(I), mktime>("mktime", 1),
    wrap<D(I, I), difftime>("difftime", 2),
    wrap<U(I, I, M, I), strftime>("strftime", 4),
    wrap<V(I), end_process>("exit", 1),
    wrap<V(), abort>("abort", 0),
    wrap<S(M), run_command>("system", 1),
    wrap<S(M), getenv>("getenv", 1),
    wrap<S(I), raise>("raise", 1),
    wrap<S(), rand>("rand", 0),
    wrap<V(I), srand>("srand", 1),
    {"rand_max", 0, constant<RAND_MAX>},
    wrap<S(), error_number>("errno", 0),
    {"eacces", 0, constant<EACCES>},
    {"ebadf", 0, constant<EBADF>},
    {"econnaborted", 0, constant<ECONNABORTED>},
    {"efault", 0, constant<EFAULT>},
    {"eintr", 0, constant<EINTR>},
    {"einval", 0, constant<EINVAL>},
    {"eio", 0, constant<EIO>},
    {"emfile", 0, constant<EMFILE>},
    {"enfile", 0, constant<ENFILE>},
    {"enodev", 0, constant<ENODEV>},
    {"enomem", 0, constant<ENOMEM>},
    {"enotsock", 0, constant<ENOTSOCK>},
    {"enxio", 0, constant<ENXIO>},
    {"eopnotsupp", 0, constant<EOPNOTSUPP>},
    {"eoverflow", 0, constant<EOVERFLOW>},
    {"ewouldblock", 0, constant<EWOULDBLOCK>},
};

}  // namespace

std::span<const Builtin> process_rows() { return rows; }

}  // namespace marl
