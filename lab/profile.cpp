// What a run costs, by the names that it calls.
//
// The calls that are going on stand on a stack, each with its Cost and its place in the tree of
// stacks. What passes between two states belongs to the call on top. A name stands once on each way
// through the tree, however deep it recurses.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <map>
#include <memory>
#include <utility>

#include "lab/lab.h"
#include "lab/observe.h"
#include "value/allocate.h"

namespace marl::lab {

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

struct Cost {
    int64_t calls = 0;
    int64_t steps = 0;
    int64_t nodes = 0;
    Clock::duration self{};
    Clock::duration whole{};  // from the first to the last of its calls that stand in each other
    int active = 0;
    Clock::duration entered{};
};

/// A node of the tree of stacks.
struct CallStack {
    const Symbol* symbol;  // null at the root
    CallStack* below;
    int64_t steps = 0;
    std::map<const Symbol*, std::unique_ptr<CallStack>> above;
};

std::string name_of(const Symbol* symbol) {
    if (!symbol) return "(entry)";
    return std::string(symbol->name);
}

/// A name as a folded stack can hold it, where ";" stands between names.
std::string folded_name(const Symbol* symbol) {
    const std::string name = name_of(symbol);
    return name == ";" ? "semicolon" : name;
}

class Profile : public Watcher {
  public:
    /// The counts, beside how the run went.
    Profiled result(Ending ending) {
        // A program that ended the process has not left its calls.
        for (auto& [symbol, cost] : costs_) {
            if (cost.active > 0) cost.whole += passed_ - cost.entered;
            cost.active = 0;
        }
        std::vector<std::string> lines;
        fold(root_, {}, lines);
        std::sort(lines.begin(), lines.end());
        std::string folded;
        for (const std::string& line : lines) folded += line + '\n';
        return {std::move(ending), told_rows(), folded};
    }

  private:
    struct Active {
        Cost* cost;
        CallStack* stack;
    };

    bool at(State& state, Value&) override {
        if (active_.empty()) start();
        charge();
        leave_calls(state);
        if (!state.last) {
            enter_call(state);
            ++active_.back().cost->steps;
            ++active_.back().stack->steps;
        }
        before_ = Clock::now();
        nodes_before_ = made_nodes;
        return true;
    }

    void start() {
        before_ = Clock::now();
        nodes_before_ = made_nodes;
        enter(nullptr, &root_);
    }

    /// What has passed since the last state is the topmost call's.
    void charge() {
        const Clock::duration spent = Clock::now() - before_;
        Cost& cost = *active_.back().cost;
        cost.self += spent;
        cost.nodes += made_nodes - nodes_before_;
        passed_ += spent;
    }

    void enter(const Symbol* symbol, CallStack* stack) {
        Cost& cost = costs_[symbol];
        ++cost.calls;
        if (cost.active++ == 0) cost.entered = passed_;
        active_.push_back({&cost, stack});
    }

    void on_entered(const State& state) override {
        enter(state.symbol, above(active_.back().stack, state.symbol));
    }

    void on_left(const State&, const Call&, Node*) override {
        Cost& cost = *active_.back().cost;
        if (--cost.active == 0) cost.whole += passed_ - cost.entered;
        active_.pop_back();
    }

    /// The place of a call that `stack` makes. A name that stands in the stack keeps its place.
    static CallStack* above(CallStack* stack, const Symbol* symbol) {
        for (CallStack* s = stack; s; s = s->below) {
            if (s->symbol == symbol) return s;
        }
        std::unique_ptr<CallStack>& place = stack->above[symbol];
        if (!place) place.reset(new CallStack{symbol, stack, 0, {}});
        return place.get();
    }

    std::vector<ProfileRow> told_rows() const {
        std::vector<ProfileRow> rows;
        for (const auto& [symbol, cost] : costs_) {
            rows.push_back({name_of(symbol), cost.calls, cost.steps, cost.nodes,
                            Seconds(cost.self).count(), Seconds(cost.whole - cost.self).count()});
        }
        return rows;
    }

    static void fold(const CallStack& stack, std::string way, std::vector<std::string>& lines) {
        if (stack.below) way += ';';
        way += folded_name(stack.symbol);
        if (stack.steps > 0) lines.push_back(way + ' ' + std::to_string(stack.steps));
        for (const auto& [symbol, next] : stack.above) fold(*next, way, lines);
    }

    std::map<const Symbol*, Cost> costs_;
    CallStack root_{nullptr, nullptr, 0, {}};
    std::vector<Active> active_;
    Clock::time_point before_;
    Clock::duration passed_{};
    int64_t nodes_before_ = 0;
};

using TellProfile = std::function<void(const Profiled&)>;

/// The profile that is being made, for the end of the process.
struct Pending {
    Profile* profile = nullptr;
    const TellProfile* tell = nullptr;
};
Pending pending_profile;

void tell_pending() {
    const auto [profile, tell] = std::exchange(pending_profile, {});
    if (profile) (*tell)(profile->result({true, false, 0, {}}));
}

}  // namespace

void profile(std::string_view text, const std::vector<std::string>& arguments,
             const TellProfile& tell) {
    static const bool registered = std::atexit(tell_pending) == 0;
    MARL_REQUIRE(registered);
    Profile watcher;
    pending_profile = {&watcher, &tell};
    const Outcome outcome = run_watched(text, arguments, watcher);
    pending_profile = {};
    tell(watcher.result(ending_of(outcome, watcher)));
}

}  // namespace marl::lab
