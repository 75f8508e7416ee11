// The thread that asks sends a signal; its handler, in the thread that runs the program, copies
// addresses of instructions, and no more. The asking thread takes the copy and counts it. At the
// end the addresses become names: every instruction belongs to the code of one definition.
//
// On the plain machine an observer keeps the calls, and the handler copies Symbols.
//
// A deep context is looked at near its top and at its bottom, where the callers of all are.
#include "lab/sample.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <map>
#include <optional>
#include <set>
#include <thread>

#include "driver/interrupt.h"
#include "driver/session.h"
#include "lab/observe.h"
#include "lab/plain_calls.h"
#include "lab/stopped.h"
#include "lab/written.h"
#include "reduce/machine.h"
#include "reduce/needs.h"
#include "reduce/stack.h"

namespace marl::lab {

namespace {

constexpr ptrdiff_t most_on_top = 200;
constexpr ptrdiff_t most_at_bottom = 56;

/// An entry of the context, or the instruction that is at work; on the plain machine a Symbol, with
/// no instruction.
struct Place {
    const Instruction* instruction;
    Word word;

    // NOLINTNEXTLINE(modernize-use-nullptr): the 0 is the comparison's own.
    auto operator<=>(const Place&) const = default;
};

/// The innermost first.
struct Look {
    Place places[most_on_top + most_at_bottom + 1];
    size_t count = 0;

    void add(const Instruction* instruction, Word word) { places[count++] = {instruction, word}; }
};

/// The calls of the plain machine; null for a program that doesn't need it.
PlainCalls* plain_calls = nullptr;

/// Adds what `add` makes of entries near the top of so many and at their bottom.
void look_near_ends(ptrdiff_t depth, const auto& add) {
    const ptrdiff_t near_top = std::min(depth, most_on_top);
    for (ptrdiff_t i = 0; i < near_top; ++i) add(i);
    for (ptrdiff_t i = std::max(near_top, depth - most_at_bottom); i < depth; ++i) add(i);
}

void look_at_plain(Look& look) {
    if (plain_calls->is_changing()) return;
    const auto add = [&](const Symbol* symbol) {
        look.add(nullptr, reinterpret_cast<Word>(symbol));
    };
    if (plain_calls->builtin()) add(plain_calls->builtin());
    look_near_ends(static_cast<ptrdiff_t>(plain_calls->depth()), [&](ptrdiff_t from_top) {
        add(plain_calls->call(static_cast<size_t>(from_top)));
    });
}

void look_at_code(Look& look) {
    if (machine.at) look.add(machine.at, 0);
    StackEntry* const bottom = machine.stack.entries;
    if (machine.moves || !bottom) return;
    StackEntry* const top = machine.at_top ? machine.at_top : machine.stack.top;
    if (top < bottom || top > machine.stack.limit + spare_entries) return;
    look_near_ends(top - bottom, [&](ptrdiff_t from_top) {
        const StackEntry& entry = top[-from_top - 1];
        const bool tells = entry.next && (is_code(entry) || entry.kind() == Op::update);
        if (tells) look.add(entry.next, entry.word);
    });
}

/// Looks at the machine, from the thread that runs it or from a signal in it.
void look(Look& look) {
    look.count = 0;
    if (!plain_calls || in_calm_call) look_at_code(look);
    if (plain_calls) look_at_plain(look);
}

// The samples.

enum class Ask { idle, asked, answered };
std::atomic<Ask> ask{Ask::idle};
Look answer;

void on_ask(int) {
    if (ask.load(std::memory_order_acquire) != Ask::asked) return;
    look(answer);
    ask.store(Ask::answered, std::memory_order_release);
}

int64_t nanoseconds_of(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return int64_t{1'000'000'000} * time.tv_sec + time.tv_nsec;
}

void sleep_for(long microseconds) {
    const timespec time{0, microseconds * 1000};
    nanosleep(&time, nullptr);
}

class Sampler {
  public:
    Sampler() : runner_(pthread_self()) {
        pthread_getcpuclockid(runner_, &clock_);
        struct sigaction action {};
        action.sa_handler = on_ask;
        action.sa_flags = SA_RESTART | SA_ONSTACK;
        sigemptyset(&action.sa_mask);
        sigaction(SIGPROF, &action, nullptr);
        // Signals are for the thread that runs the program.
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        thread_ = std::thread([this] { run(); });
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
    ~Sampler() { stop(); }
    Sampler(const Sampler&) = delete;
    Sampler& operator=(const Sampler&) = delete;

    void stop() {
        if (!thread_.joinable()) return;
        stops_ = true;
        thread_.join();
        signal(SIGPROF, SIG_IGN);
    }

    /// From here on, with the thread stopped: the time for each look, in nanoseconds.
    const std::map<std::vector<Place>, int64_t>& times() const { return times_; }
    size_t samples() const { return samples_; }

  private:
    void run() {
        constexpr long between = 1000;
        constexpr int64_t least = 100'000;
        int64_t before = nanoseconds_of(clock_);
        while (!stops_) {
            sleep_for(between);
            const int64_t now = nanoseconds_of(clock_);
            if (now - before < least || !take()) continue;
            times_[{answer.places, answer.places + answer.count}] += now - before;
            ++samples_;
            before = now;
        }
    }

    /// Whether the runner has answered.
    bool take() {
        ask = Ask::asked;
        pthread_kill(runner_, SIGPROF);
        for (int i = 0; i < 1000 && ask != Ask::answered && !stops_; ++i) sleep_for(20);
        return ask.exchange(Ask::idle) == Ask::answered;
    }

    const pthread_t runner_;
    clockid_t clock_{};
    std::thread thread_;
    std::atomic<bool> stops_{false};
    std::map<std::vector<Place>, int64_t> times_;
    size_t samples_ = 0;
};

// Names.

std::string name_of(const Symbol& symbol) {
    return symbol.name.empty() ? "(entry)" : std::string(symbol.name);
}

/// Which definition an instruction belongs to.
class Owners {
  public:
    Owners() {
        for (const Symbol* symbol : defined_symbols()) {
            if (symbol->code) add(*symbol->code, *symbol);
        }
    }

    const Symbol* of(const Instruction* instruction) const {
        auto behind = by_begin_.upper_bound(instruction);
        if (behind == by_begin_.begin()) return nullptr;
        const auto& [begin, owned] = *--behind;
        return instruction < begin + owned.size ? owned.symbol : nullptr;
    }

  private:
    struct Owned {
        size_t size;
        const Symbol* symbol;
    };

    void add(const Code& code, const Symbol& symbol) {
        each_part(code, [&](const Code& part) {
            if (!part.instructions.empty()) {
                by_begin_[part.start()] = {part.instructions.size(), &symbol};
            }
            return true;
        });
    }

    std::map<const Instruction*, Owned> by_begin_;
};

/// Whether a built-in is what an operator names: the work of whoever writes the operator.
bool is_operators(std::string_view builtin) {
    constexpr std::string_view names[] = {"plus", "dash", "mult", "over", "cent", "powa",
                                          "less", "gteq", "same", "diff", "buck", "wave"};
    return std::find(std::begin(names), std::end(names), builtin) != std::end(names);
}

/// The built-in that is at work there.
const Builtin* builtin_at(const Place& place) {
    const Instruction* at = place.instruction;
    if (!at) return reinterpret_cast<const Symbol*>(place.word)->builtin;
    const bool is_builtin = at->op == Op::builtin || at->op == Op::builtin_last ||
                            at->op == Op::builtin_held || at->op == Op::builtin_nested;
    return is_builtin ? at->builtin : nullptr;
}

/// The definition that is.
const Symbol* symbol_at(const Owners& owners, const Place& place) {
    const Instruction* at = place.instruction;
    const bool is_named = !at || at->op == Op::update;
    return is_named ? reinterpret_cast<const Symbol*>(place.word) : owners.of(at);
}

/// The definitions of the sources that a look tells, the innermost first, and a built-in in front.
std::vector<std::string> names_of(const Owners& owners, const Sources& sources, const Place* places,
                                  size_t count) {
    std::vector<std::string> names;
    for (size_t i = 0; i < count; ++i) {
        const Builtin* builtin = builtin_at(places[i]);
        if (i == 0 && builtin && !is_operators(builtin->name)) names.emplace_back(builtin->name);
        const Symbol* symbol = symbol_at(owners, places[i]);
        if (symbol && sources.definitions.contains(symbol->name)) {
            names.push_back(name_of(*symbol));
        }
    }
    return names;
}

/// The outermost first, and each name once: what stands between two calls of it goes.
std::vector<std::string> folded(const std::vector<std::string>& innermost_first) {
    std::vector<std::string> way;
    for (auto name = innermost_first.rbegin(); name != innermost_first.rend(); ++name) {
        const auto known = std::find(way.begin(), way.end(), *name);
        if (known != way.end()) way.erase(known, way.end());
        way.push_back(*name);
    }
    return way;
}

/// The rows, of all looks.
class Table {
  public:
    void add(const std::vector<std::string>& names, int64_t time) {
        total_ += time;
        const std::vector<std::string> way =
            names.empty() ? std::vector<std::string>{"(entry)"} : folded(names);
        rows_[way.back()].self += time;
        for (const std::string& name : std::set<std::string>(way.begin(), way.end())) {
            rows_[name].whole += time;
        }
        for (size_t i = 1; i < way.size(); ++i) rows_[way[i]].callers[way[i - 1]] += time;
        std::string line = way.front() == ";" ? "semicolon" : way.front();
        for (size_t i = 1; i < way.size(); ++i) line += ';' + way[i];
        lines_[line] += time;
    }

    void tell(Sampled& sampled, const Sources& sources) const {
        for (const auto& [name, row] : rows_) {
            const std::string_view key = name == "(entry)" ? "" : std::string_view(name);
            SampledRow told{name, share(row.self), share(row.whole),
                            spot_of_definition(sources, key)};
            for (const auto& [caller, time] : row.callers) {
                told.callers.emplace_back(caller, share(time));
            }
            std::sort(told.callers.begin(), told.callers.end(),
                      [](const auto& a, const auto& b) { return a.second > b.second; });
            sampled.rows.push_back(std::move(told));
        }
        for (const auto& [line, time] : lines_) {
            sampled.folded += line + ' ' + std::to_string(time / 1000) + '\n';
        }
        sampled.seconds = static_cast<double>(total_) / 1e9;
    }

  private:
    struct Row {
        int64_t self = 0;
        int64_t whole = 0;
        std::map<std::string, int64_t> callers;
    };

    double share(int64_t time) const {
        return total_ > 0 ? static_cast<double>(time) / static_cast<double>(total_) : 0;
    }

    std::map<std::string, Row> rows_;
    std::map<std::string, int64_t> lines_;
    int64_t total_ = 0;
};

/// `owners` are as the code stood at the end of the run.
Sampled sampled_of(const Sampler& sampler, const Owners& owners, const Sources& sources,
                   Ending ending) {
    Sampled sampled{std::move(ending), {}, {}, 0, sampler.samples()};
    Table table;
    for (const auto& [places, time] : sampler.times()) {
        table.add(names_of(owners, sources, places.data(), places.size()), time);
    }
    table.tell(sampled, sources);
    return sampled;
}

using TellSampled = std::function<void(const Sampled&)>;

/// The sampling that goes on, for the end of the process.
struct Pending {
    Sampler* sampler = nullptr;
    const Sources* sources = nullptr;
    const TellSampled* tell = nullptr;
};
Pending pending;

void tell_pending() {
    const auto [sampler, sources, tell] = std::exchange(pending, {});
    if (!sampler) return;
    sampler->stop();
    (*tell)(sampled_of(*sampler, Owners(), *sources, {true, false, 0, {}}));
}

std::vector<std::string> calls_under_way(const Sources& sources) {
    static Look now;
    look(now);
    return folded(names_of(Owners(), sources, now.places, now.count));
}

}  // namespace

void sample(std::string_view text, const std::vector<std::string>& arguments,
            const Sources& sources, const TellSampled& tell) {
    static const bool registered = std::atexit(tell_pending) == 0;
    MARL_REQUIRE(registered);
    const ShownOnSignal shown([&] {
        std::vector<std::string> calls = calls_under_way(sources);
        std::reverse(calls.begin(), calls.end());
        return calls;
    });
    Session session;
    if (load_session(session, String(text))) {
        install_interrupt_handler();
        note_interrupts();
    }
    if (!check_session(session)) {
        return tell(Sampled{
            {false, false, 0, std::string(report_picture(session.report).view())}, {}, {}, 0, 0});
    }
    std::optional<PlainCalls> plain;
    if (needs_plain_machine) plain_calls = &plain.emplace(sources);
    Sampler sampler;
    pending = {&sampler, &sources, &tell};
    const bool ends = run_session(session, argument_array(arguments));
    sampler.stop();
    pending = {};
    plain_calls = nullptr;
    plain.reset();
    const Owners owners;  // the result takes the entry's place, and its code goes
    const bool returns = ends && require_integer(session);
    Ending ending{true, true, returns ? status_of_session(session) : 0, {}};
    if (!returns) ending.report = report_picture(session.report).view();
    const Sampled sampled = sampled_of(sampler, owners, sources, std::move(ending));
    end_session(session);
    tell(sampled);
}

}  // namespace marl::lab
