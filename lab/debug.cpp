// Both processes are forked from this one, so they have the program already. The record and what
// the program writes are files without names, which all of them see.
#include "lab/debug.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "lab/debug_process.h"
#include "lab/effects.h"
#include "lab/message.h"

namespace marl::lab {

namespace {

/// Another view of a file without a name, from its beginning.
int reopened(int descriptor, int how) {
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    return open(path.c_str(), how | O_CLOEXEC);
}

/// A new file without a name that is only added to.
int new_file(const char* name) {
    const int made = memfd_create(name, MFD_CLOEXEC);
    const int appending = reopened(made, O_RDWR | O_APPEND);
    close(made);
    return appending;
}

std::string how_it_ended(int status) {
    if (WIFSIGNALED(status)) {
        return std::string("The program was ended by a signal: ") + strsignal(WTERMSIG(status)) +
               '.';
    }
    return "The program has ended its process.";
}

}  // namespace

Debugger::Debugger(const std::string& text, const std::vector<std::string>& arguments,
                   const Sources& sources, const std::string& input, int width)
    : text_(text),
      arguments_(arguments),
      sources_(sources),
      input_(input),
      width_(width),
      output_(new_file("output")),
      record_(new_file("record")) {
    first_ = start(false);
}

Debugger::~Debugger() {
    end(first_);
    end(replay_);
    close(output_);
    close(record_);
}

Debugger::Process Debugger::start(bool replays) const {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return {};
    const pid_t id = fork();
    if (id != 0) {
        close(ends[1]);
        return {id, ends[0], 0};
    }
    close(ends[0]);
    signal(SIGINT, SIG_IGN);
    const char* input = input_.empty() || replays ? "/dev/null" : input_.c_str();
    dup2(open(input, O_RDONLY), STDIN_FILENO);
    const int output = replays ? open("/dev/null", O_WRONLY) : output_;
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    const int record = replays ? reopened(record_, O_RDONLY) : record_;
    be_debugged({text_, arguments_, sources_, ends[1], output_, record, replays, width_});
}

void Debugger::end(Process& process) {
    if (process.id <= 0) return;
    close(process.channel);
    kill(process.id, SIGKILL);
    waitpid(process.id, nullptr, 0);
    process = {};
}

std::string Debugger::ask(Process& process, const Goal& goal) {
    Packet packet;
    put_goal(packet, goal);
    signal(SIGPIPE, SIG_IGN);
    const bool is_sent = packet.send(process.channel);
    Taker taker(process.channel);
    const Moment moment = take_moment(taker, last_found_);
    if (is_sent && taker.is_good()) {
        process.number = moment.number;
        now_ = moment;
        return {};
    }
    int status = 0;
    if (process.id > 0) waitpid(process.id, &status, 0);
    process.id = -1;
    return how_it_ended(status);
}

std::string Debugger::refusal() const {
    for (const auto& [key, place] : sources_.definitions) {
        const Program& program = sources_.bundle.program(place.source);
        for (const Name& name : program.names_of(program.pieces[place.piece])) {
            if (name.role == Role::use && !name.binder && defies_replay(name.key)) {
                return "A program that names " + ticked(name.key) +
                       " can't be gone through backwards.";
            }
        }
    }
    return {};
}

std::string Debugger::go(const Goal& goal) {
    if (replay_.id > 0) {
        // A replay never goes beyond what the first run has shown.
        Goal bounded = goal;
        bounded.number = std::min(goal.number, first_.number);
        std::string why = ask(replay_, bounded);
        if (!why.empty() || now_.number < first_.number) return why;
        end(replay_);
        if (goal.number == first_.number && first_.id > 0) return {};
        if (goal.number > first_.number) return go(goal);
        return {};
    }
    if (first_.id <= 0) return "The program has ended.";
    return ask(first_, goal);
}

std::string Debugger::forward(int64_t moments) {
    Goal goal;
    goal.number = now_.number + moments;
    return go(goal);
}

std::string Debugger::back(int64_t moments) {
    if (std::string why = refusal(); !why.empty()) return why;
    const int64_t number = std::max<int64_t>(1, now_.number - moments);
    if (number >= now_.number) return "This is the first moment.";
    end(replay_);
    replay_ = start(true);
    Goal goal;
    goal.number = number;
    return ask(replay_, goal);
}

std::string Debugger::over() {
    Goal goal;
    goal.depth = now_.depth;
    return go(goal);
}

std::string Debugger::out() {
    Goal goal;
    goal.depth = static_cast<int64_t>(now_.frames.size()) - 1;
    return go(goal);
}

std::string Debugger::next_call(const std::set<std::string>& names) {
    Goal goal;
    goal.names = names;
    return go(goal);
}

std::string Debugger::last_call(const std::set<std::string>& names) {
    if (std::string why = refusal(); !why.empty()) return why;
    if (now_.number <= 1) return "This is the first moment.";
    Goal search;
    search.number = now_.number;
    search.names = names;
    search.looks_back = true;
    end(replay_);
    replay_ = start(true);
    if (std::string why = ask(replay_, search); !why.empty()) return why;
    const int64_t number = std::max<int64_t>(1, last_found_);
    return back(now_.number - number);
}

std::string Debugger::to_end() { return go({}); }

std::string Debugger::output(int64_t begin, int64_t end) const {
    std::string text(static_cast<size_t>(std::max<int64_t>(0, end - begin)), '\0');
    const ssize_t size = pread(output_, text.data(), text.size(), begin);
    text.resize(static_cast<size_t>(std::max<ssize_t>(0, size)));
    return text;
}

}  // namespace marl::lab
