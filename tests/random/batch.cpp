#include "random/batch.h"

#include <sys/mman.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#ifdef MARL_COVERAGE
extern "C" {
#include <gcov.h>
}
#endif

namespace marl {

namespace {

using Choices = std::vector<unsigned>;

unsigned from_environment(const char* name, unsigned otherwise) {
    const char* text = getenv(name);
    return text ? static_cast<unsigned>(strtoul(text, nullptr, 10)) : otherwise;
}

/// The choices that a generator makes with a seed.
Choices choices_of(unsigned seed, const Generate& generate) {
    std::mt19937 random(seed);
    Choices choices;
    generate([&](unsigned n) {
        choices.push_back(static_cast<unsigned>(random()) % n);
        return choices.back();
    });
    return choices;
}

/// The program of choices made before, with 0 behind their end.
std::string program_of(const Choices& choices, const Generate& generate) {
    size_t next = 0;
    return generate([&](unsigned n) { return next < choices.size() ? choices[next++] % n : 0; });
}

/// What the child tells.
struct Finding {
    unsigned number;  // of the program that is being run
    char text[1 << 16];
};

Finding& finding() {
    static auto* const shared = static_cast<Finding*>(
        mmap(nullptr, sizeof(Finding), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    return *shared;
}

/// What a build for coverage writes at the end of a process, which a child's `_exit` passes over.
void write_coverage() {
#ifdef MARL_COVERAGE
    __gcov_dump();
#endif
}

enum class Verdict { good, wrong, crashed, endless };

constexpr int wrong_status = 42;

/// Runs the programs `from` up to `to`, up to the first one that is no good: the finding has its
/// number.
template <class MakeProgram>
Verdict run_batch(unsigned from, unsigned to, const MakeProgram& make_program, const Judge& judge) {
    finding().text[0] = '\0';
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(fileno(tmpfile()), STDOUT_FILENO);
        for (unsigned i = from; i < to; ++i) {
            finding().number = i;
            const std::string source = make_program(i);
            const itimerval limit{{0, 0}, {1, 0}};
            setitimer(ITIMER_VIRTUAL, &limit, nullptr);
            const std::string fault = judge(source);
            if (fault.empty()) continue;
            snprintf(finding().text, sizeof finding().text, "%s", fault.c_str());
            _exit(wrong_status);
        }
        write_coverage();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return Verdict::good;
    if (WIFEXITED(status) && WEXITSTATUS(status) == wrong_status) return Verdict::wrong;
    const bool ended = WIFEXITED(status) || WTERMSIG(status) == SIGVTALRM;
    return ended ? Verdict::endless : Verdict::crashed;
}

/// Fewer and smaller choices for as long as `is_as_bad` holds of them.
template <class IsAsBad>
Choices smaller(Choices choices, const IsAsBad& is_as_bad) {
    const auto take_if_bad = [&](const Choices& tried) {
        const bool taken = tried != choices && is_as_bad(tried);
        if (taken) choices = tried;
        return taken;
    };
    for (bool found = true; found;) {
        found = false;
        for (size_t width = std::max<size_t>(choices.size() / 2, 1); width > 0; width /= 2) {
            for (size_t i = 0; i + width <= choices.size();) {
                Choices tried = choices;
                const auto at = tried.begin() + static_cast<ptrdiff_t>(i);
                tried.erase(at, at + static_cast<ptrdiff_t>(width));
                if (take_if_bad(tried)) {
                    found = true;
                    continue;
                }
                tried = choices;
                std::fill_n(tried.begin() + static_cast<ptrdiff_t>(i), width, 0u);
                found |= take_if_bad(tried);
                i += width;
            }
        }
    }
    return choices;
}

}  // namespace

std::string first_fault(const Generate& generate, const Judge& judge, unsigned count) {
    count = from_environment("MARL_RANDOM_COUNT", count);
    const unsigned seed = from_environment("MARL_RANDOM_SEED", 1);
    unsigned endless = 0;
    for (unsigned from = 0; from < count; from = finding().number + 1) {
        const Verdict verdict = run_batch(
            from, count,
            [&](unsigned i) { return program_of(choices_of(seed + i, generate), generate); },
            judge);
        if (verdict == Verdict::good) break;
        if (verdict == Verdict::endless) {
            if (++endless > 5 + count / 100) return "too many programs take too long";
            continue;
        }
        const unsigned found = seed + finding().number;
        const Choices least = smaller(choices_of(found, generate), [&](const Choices& tried) {
            std::string source = program_of(tried, generate);
            return run_batch(
                       0, 1, [&](unsigned) { return source; }, judge) == verdict;
        });
        std::string source = program_of(least, generate);
        run_batch(
            0, 1, [&](unsigned) { return source; }, judge);
        return "seed " + std::to_string(found) +
               (verdict == Verdict::crashed ? " ends the process" : "") + "\n" + source + "\n" +
               finding().text;
    }
    return "";
}

}  // namespace marl
