// Random programs run by the machine and by the plain one: they must print the same and come to the
// same.
//
//   MARL_RANDOM_COUNT   how many programs, else a number for a few seconds
//   MARL_RANDOM_SEED    where to begin, else 1
//
// The programs run in a child process, so that one that crashes or doesn't end can be named. One
// that differs is made smaller first: a program is the choices that its generator made, and choices
// are left out and set to 0 for as long as what comes of them still differs.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "driver/report.h"
#include "driver/shutdown.h"
#include "front/check.h"
#include "front/definitions.h"
#include "front/prelude.h"
#include "random/program.h"
#include "reduce/exactness.h"
#include "reduce/machine.h"
#include "reduce/tables.h"

namespace marl {
namespace {

using Choices = std::vector<unsigned>;

unsigned from_environment(const char* name, unsigned otherwise) {
    const char* text = getenv(name);
    return text ? static_cast<unsigned>(strtoul(text, nullptr, 10)) : otherwise;
}

/// Fresh choices, which are noted.
Choose noted(std::mt19937& random, Choices& choices) {
    return [&](unsigned n) {
        choices.push_back(static_cast<unsigned>(random()) % n);
        return choices.back();
    };
}

/// Choices made before, and 0 behind their end.
Choose repeated(const Choices& choices, size_t& next) {
    return [&](unsigned n) { return next < choices.size() ? choices[next++] % n : 0; };
}

/// What a program does: all that it prints, and the printed form of its result or its Report.
std::string behaviour(const std::string& source, bool plain) {
    build_prelude();
    Report report = parse_program(String(std::string_view(source)));
    exactness_due |= plain;
    if (passed(report)) report = check_program();
    std::string result;
    if (passed(report)) {
        Value value = reduce(pair(Value::share(find_definition("")), leaf("0")));
        result = print_value(value).view();
    } else {
        result = report.say.view();
    }
    shutdown();
    fflush(stdout);
    std::string shown(static_cast<size_t>(lseek(STDOUT_FILENO, 0, SEEK_CUR)), '\0');
    if (pread(STDOUT_FILENO, shown.data(), shown.size(), 0) < 0) abort();
    lseek(STDOUT_FILENO, 0, SEEK_SET);
    return shown + "= " + result;
}

/// What the child tells.
struct Finding {
    unsigned number;  // of the program that is being run
    char text[1 << 16];
};

Finding* shared_finding() {
    static auto* const finding = static_cast<Finding*>(
        mmap(nullptr, sizeof(Finding), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    return finding;
}

/// How a batch of programs came out; the finding has the number of the last one.
enum class Batch { same, different, crashed, endless };

constexpr int different_status = 42;

/// Runs the programs `from` up to `to` in a child, up to the first one that is not the same.
template <class MakeProgram>
Batch run_batch(unsigned from, unsigned to, const MakeProgram& make_program) {
    Finding& finding = *shared_finding();
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        FILE* const printed = tmpfile();
        dup2(fileno(printed), STDOUT_FILENO);
        for (unsigned i = from; i < to; ++i) {
            finding.number = i;
            const std::string source = make_program(i);
            const itimerval limit{{0, 0}, {1, 0}};
            setitimer(ITIMER_VIRTUAL, &limit, nullptr);
            const std::string plain = behaviour(source, true);
            const std::string fast = behaviour(source, false);
            if (plain == fast) continue;
            snprintf(finding.text, sizeof finding.text, "plain:\n%s\nfast:\n%s\n", plain.c_str(),
                     fast.c_str());
            _exit(different_status);
        }
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return Batch::same;
    if (WIFEXITED(status) && WEXITSTATUS(status) == different_status) return Batch::different;
    // A program that fills the memory is none of our concern either.
    return WIFEXITED(status) || WTERMSIG(status) == SIGVTALRM ? Batch::endless : Batch::crashed;
}

std::string program_of(const Choices& choices, bool load_todo) {
    size_t next = 0;
    return random_program(repeated(choices, next), load_todo);
}

/// Fewer choices with the same outcome.
Choices smaller(Choices choices, Batch outcome, bool load_todo) {
    const auto is_as_bad = [&](const Choices& tried) {
        return run_batch(0, 1, [&](unsigned) { return program_of(tried, load_todo); }) == outcome;
    };
    bool found = true;
    while (found) {
        found = false;
        for (size_t width = std::max<size_t>(choices.size() / 2, 1); width > 0; width /= 2) {
            for (size_t i = 0; i + width <= choices.size();) {
                Choices tried = choices;
                const auto at = tried.begin() + static_cast<ptrdiff_t>(i);
                tried.erase(at, at + static_cast<ptrdiff_t>(width));
                if (is_as_bad(tried)) {
                    choices = tried;
                    found = true;
                    continue;
                }
                tried = choices;
                std::fill_n(tried.begin() + static_cast<ptrdiff_t>(i), width, 0u);
                if (tried != choices && is_as_bad(tried)) {
                    choices = tried;
                    found = true;
                }
                i += width;
            }
        }
    }
    return choices;
}

void compare_machines(bool load_todo, unsigned default_count) {
    const unsigned count = from_environment("MARL_RANDOM_COUNT", default_count);
    const unsigned seed = from_environment("MARL_RANDOM_SEED", 1);
    const auto choices_of = [&](unsigned i) {
        std::mt19937 random(seed + i);
        Choices choices;
        random_program(noted(random, choices), load_todo);
        return choices;
    };
    unsigned endless = 0;
    for (unsigned from = 0; from < count;) {
        const Batch outcome = run_batch(
            from, count, [&](unsigned i) { return program_of(choices_of(i), load_todo); });
        if (outcome == Batch::same) break;
        const unsigned number = shared_finding()->number;
        from = number + 1;
        if (outcome == Batch::endless) {
            ++endless;
            continue;
        }
        const Choices found = smaller(choices_of(number), outcome, load_todo);
        const std::string source = program_of(found, load_todo);
        shared_finding()->text[0] = '\0';
        run_batch(0, 1, [&](unsigned) { return source; });
        FAIL() << "seed " << seed + number
               << (outcome == Batch::crashed ? " ends the process" : " differs") << "\n"
               << source << "\n"
               << shared_finding()->text;
    }
    EXPECT_LT(endless, 5 + count / 100) << "programs that take too long";
}

TEST(RandomPrograms, DoTheSameOnBothMachines) { compare_machines(false, 800); }

TEST(RandomPrograms, DoTheSameWhenTheyLoadTodo) { compare_machines(true, 200); }

}  // namespace
}  // namespace marl
