// A child process evaluates and shows; its exit status and signal tell what has become of it.
#include "lab/evaluate.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iostream>

#include "driver/session.h"
#include "lab/lab.h"
#include "lab/result_text.h"
#include "lab/screen.h"

namespace marl::lab {

namespace {

[[noreturn]] void show_steps_here(const std::string& source) {
    Screen screen("", "auto");
    StepsOptions options;
    options.from = 1;  // behind the one that applies the entry to the program's arguments
    run_steps("a\\" + source, {}, options, [&](const Step& step) { show_step(screen, step); });
    std::exit(0);
}

[[noreturn]] void evaluate_here(const std::string& source, Show show) {
    std::signal(SIGINT, SIG_DFL);
    std::setlocale(LC_ALL, "C");  // as in a process of marl
    if (show == Show::steps) show_steps_here(source);
    Session session;
    if (!open_session(session, String(source))) {
        std::cout << result_text(session.report) << std::endl;
        std::exit(1);
    }
    const std::clock_t begin = std::clock();
    evaluate_session(session);
    std::fflush(stdout);
    std::cout << result_text(session.result) << '\n';
    const double seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
    if (show == Show::value_and_time) std::cout << seconds << " s\n";
    std::cout << std::flush;
    end_session(session);
    std::exit(0);
}

}  // namespace

void evaluate(const std::string& source, Show show) {
    std::cout << std::flush;
    std::fflush(stdout);
    const auto before = std::signal(SIGINT, SIG_IGN);  // it is meant for the child
    const pid_t child = fork();
    if (child == 0) evaluate_here(source, show);
    int status = 0;
    if (child > 0) waitpid(child, &status, 0);
    std::signal(SIGINT, before);
    if (child < 0) std::cout << "No process can be started: " << std::strerror(errno) << '\n';
    if (!WIFSIGNALED(status)) return;
    if (WTERMSIG(status) == SIGINT) {
        std::cout << "\ninterrupted\n";
    } else {
        std::cout << "The evaluation was ended by signal " << WTERMSIG(status) << ".\n";
    }
}

}  // namespace marl::lab
