// The text goes over in a file that has no name, whose descriptor the other program inherits.
#include "lab/run_program.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "lab/library.h"

namespace marl::lab {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

std::string runner_path() {
    const fs::path here = folder_of_binary();
    for (const fs::path& path : {here / "marl-lab-run", here / "../libexec/marl/marl-lab-run"}) {
        if (access(path.c_str(), X_OK) == 0) return path.string();
    }
    return {};
}

/// A file without a name that holds a text, read from its beginning. It takes no number of a
/// standard stream, be that closed or not. -1 when there can be none.
int open_nameless(const std::string& text) {
    const int made = memfd_create("program", MFD_CLOEXEC);
    const int descriptor = fcntl(made, F_DUPFD_CLOEXEC, 3);
    close(made);
    for (size_t done = 0; descriptor >= 0 && done < text.size();) {
        const ssize_t size = write(descriptor, text.data() + done, text.size() - done);
        if (size < 0) return -1;
        done += static_cast<size_t>(size);
    }
    if (descriptor >= 0) lseek(descriptor, 0, SEEK_SET);
    return descriptor;
}

/// Descriptors that are closed when their holder goes.
struct Descriptor {
    int number = -1;
    explicit Descriptor(int its_number) : number(its_number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close_now(); }
    void close_now() {
        if (number >= 0) close(number);
        number = -1;
    }
};

/// In the child: becomes the program.
[[noreturn]] void start(const Run& run, int input, int output) {
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    std::vector<std::string> words = run.arguments;
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const bool moved = run.folder.empty() || chdir(run.folder.c_str()) == 0;
    const std::string why =
        moved ? become(run.mode, run.text, arguments.data()) : "no folder " + run.folder;
    dprintf(STDERR_FILENO, "%s\n", why.c_str());
    _exit(127);
}

/// Collects what a process writes until it closes its output or its time is up.
void collect(int output, Clock::time_point end, Ran& ran) {
    char buffer[65536];
    while (true) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd waiting{output, POLLIN, 0};
        const int ready = left > 0 ? poll(&waiting, 1, static_cast<int>(left)) : 0;
        if (ready < 0 && errno == EINTR) continue;
        ran.in_time = ready > 0;
        if (ready <= 0) return;
        const ssize_t size = read(output, buffer, sizeof buffer);
        if (size <= 0) return;
        ran.output.append(buffer, static_cast<size_t>(size));
    }
}

/// Waits for a process that has closed its output, or kills it when its time is up.
void await(pid_t child, Clock::time_point end, Ran& ran) {
    int status = 0;
    while (ran.in_time && waitpid(child, &status, WNOHANG) == 0) {
        if (Clock::now() > end) ran.in_time = false;
        usleep(1000);
    }
    if (!ran.in_time) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    ran.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

std::string become(Mode mode, const std::string& text, char** arguments) {
    const std::string runner = runner_path();
    if (runner.empty()) return "marl-lab-run, which runs programs, is not beside marl-lab.";
    const int descriptor = open_nameless(text);
    if (descriptor < 0) return std::string("The program can't be handed over: ") + strerror(errno);
    fcntl(descriptor, F_SETFD, 0);  // the only one that goes over
    std::string how = (mode == Mode::run ? "run:" : "value:") + std::to_string(descriptor);
    std::vector<char*> all{how.data()};
    for (char** one = arguments; *one; ++one) all.push_back(*one);
    all.push_back(nullptr);
    execv(runner.c_str(), all.data());
    return runner + ": " + strerror(errno);
}

Ran run_apart(const Run& run) {
    Ran ran;
    const Descriptor input(open_nameless(run.input));
    int ends[2];
    if (input.number < 0 || pipe2(ends, O_CLOEXEC) != 0) {
        ran.trouble = strerror(errno);
        return ran;
    }
    const Descriptor output(ends[0]);
    Descriptor written(ends[1]);
    const pid_t child = fork();
    if (child < 0) {
        ran.trouble = strerror(errno);
        return ran;
    }
    if (child == 0) start(run, input.number, written.number);
    written.close_now();
    const auto end = Clock::now() + std::chrono::seconds(run.seconds);
    collect(output.number, end, ran);
    await(child, end, ran);
    return ran;
}

}  // namespace marl::lab
