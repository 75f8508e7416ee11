// The record is a row of entries: the built-in's name, what it gave, and how much had been written
// by then. What such built-ins give is a Leaf, so its bytes are all.
#include "lab/debug_process.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "lab/effects.h"
#include "lab/infix.h"
#include "lab/observe.h"
#include "reduce/analysis.h"

namespace marl::lab {

namespace {

class Debugged : public Watcher {
  public:
    Debugged(const DebugProcess& process, Written& written)
        : Watcher(&written), process_(process), record_(process.record) {
        frames_.push_back({"(entry)", {}, {}, {}});
    }

    bool answers(const Builtin& row, Value*, Value& result) override {
        if (!process_.replays || !has_started() || !reaches_outside(row.name)) return false;
        const std::string name = record_.text();
        const std::string bytes = record_.text();
        written_ = record_.number();
        if (!record_.is_good() || name != row.name) std::_Exit(1);
        result = leaf(bytes);
        return true;
    }

    void called(const Builtin& row, Node* result) override {
        if (process_.replays || !has_started() || !reaches_outside(row.name)) return;
        note_output();
        Packet entry;
        entry.put(std::string(row.name));
        entry.put(std::string(is_leaf(result) ? leaf_bytes(result) : "Z"));
        entry.put(written_);
        entry.send(process_.record);
    }

    /// Tells the end, again and again.
    void stay(const Ending& ending) {
        note_output();
        Moment moment;
        moment.number = number_ + 1;
        moment.is_end = true;
        moment.frames = {{"(entry)", {}, {}, {}}};
        moment.written = written_;
        moment.report = ending.report;
        moment.status = ending.status;
        for (;;) {
            tell(moment);
            take_goal();
        }
    }

    void take_first_goal() { take_goal(); }

  private:
    bool at(State& state, Value&) override {
        leave_calls(state);
        if (state.last || !state.symbol || is_plumbing(*state.symbol)) return true;
        ++number_;
        const bool is_definition = !state.symbol->builtin;
        note_place(state);
        if (is_definition) enter_call(state);
        const std::string name(state.symbol->name);
        const bool is_named = goal_.names.contains(name);
        if (is_named && goal_.looks_back && number_ < goal_.number) last_found_ = number_;
        const bool is_new = number_ > told_;
        const auto depth = static_cast<int64_t>(frames_.size()) - (is_definition ? 1 : 0);
        const bool stops = number_ >= goal_.number || (is_new && depth <= goal_.depth) ||
                           (is_new && is_named && !goal_.looks_back);
        if (!stops) return true;
        stop(state, depth);
        return true;
    }

    void stop(const State& state, int64_t depth) {
        if (!process_.replays) note_output();
        Moment moment;
        moment.number = number_;
        const int64_t nodes = process_.width / 2;
        const MarkedText text = infix_state(state.context, state.focus, {nodes, 6});
        moment.text = text.text;
        moment.mark = {text.begin, text.end};
        moment.frames.assign(frames_.rbegin(), frames_.rend());
        moment.depth = depth;
        moment.written = written_;
        told_ = number_;
        tell(moment);
        take_goal();
    }

    void tell(const Moment& moment) {
        Packet packet;
        packet.put(last_found_);
        packet.put(moment.number);
        packet.put(moment.is_end);
        packet.put(moment.text);
        packet.put(static_cast<int64_t>(moment.mark.begin));
        packet.put(static_cast<int64_t>(moment.mark.end));
        packet.put(moment.depth);
        packet.put(moment.written);
        packet.put(moment.report);
        packet.put(moment.status);
        packet.put(static_cast<int64_t>(moment.frames.size()));
        for (const DebugFrame& frame : moment.frames) {
            packet.put(frame.name);
            for (const Spot& spot : {frame.place, frame.end}) {
                packet.put(spot.file);
                packet.put(static_cast<int64_t>(spot.line));
                packet.put(static_cast<int64_t>(spot.column));
            }
            packet.put(static_cast<int64_t>(frame.values.size()));
            for (const auto& [name, value] : frame.values) {
                packet.put(name);
                packet.put(value);
            }
        }
        packet.send(process_.channel);
    }

    void take_goal() {
        Taker taker(process_.channel);
        goal_ = {};
        goal_.number = taker.number();
        goal_.depth = taker.number();
        goal_.looks_back = taker.number() != 0;
        for (int64_t count = taker.number(); count > 0; --count) goal_.names.insert(taker.text());
        last_found_ = 0;
        if (!taker.is_good()) std::_Exit(0);  // nobody asks any more
    }

    void note_output() {
        std::fflush(nullptr);
        written_ = lseek(process_.output, 0, SEEK_END);
    }

    void note_place(const State& state) {
        if (!state.site) return;
        const Sources& sources = process_.sources;
        frames_.back().place = spot_of(sources, state.site);
        frames_.back().end = end_of(sources, state.site);
    }

    void on_entered(const State& state) override {
        const std::string name(state.symbol->name);
        DebugFrame frame{name, {}, spot_of_definition(process_.sources, name), {}};
        const std::vector<std::string> names = parameters_of(process_.sources, name);
        for (size_t i = 0; i < state.arguments.size(); ++i) {
            frame.values.emplace_back(i < names.size() ? names[i] : "?",
                                      infix_text(state.arguments[i]));
        }
        frames_.push_back(std::move(frame));
    }

    void on_left(const State&, const Call&, Node*) override { frames_.pop_back(); }

    const DebugProcess& process_;
    Taker record_;
    std::vector<DebugFrame> frames_;
    Goal goal_;
    int64_t number_ = 0;
    int64_t told_ = 0;
    int64_t last_found_ = 0;
    int64_t written_ = 0;
};

}  // namespace

void be_debugged(const DebugProcess& process) {
    Written written(process.sources);
    static Debugged* debugged = nullptr;
    debugged = new Debugged(process, written);
    std::atexit([] { debugged->stay({true, true, 0, {}}); });  // the program itself has ended
    debugged->take_first_goal();
    const Outcome outcome = run_watched(process.text, process.arguments, *debugged);
    debugged->stay(ending_of(outcome, *debugged));
    std::_Exit(0);
}

void put_goal(Packet& packet, const Goal& goal) {
    packet.put(goal.number);
    packet.put(goal.depth);
    packet.put(goal.looks_back);
    packet.put(static_cast<int64_t>(goal.names.size()));
    for (const std::string& name : goal.names) packet.put(name);
}

static Spot take_spot(Taker& taker) {
    Spot spot;
    spot.file = taker.text();
    spot.line = static_cast<size_t>(taker.number());
    spot.column = static_cast<size_t>(taker.number());
    return spot;
}

Moment take_moment(Taker& taker, int64_t& last_found) {
    Moment moment;
    last_found = taker.number();
    moment.number = taker.number();
    moment.is_end = taker.number() != 0;
    moment.text = taker.text();
    moment.mark.begin = static_cast<size_t>(taker.number());
    moment.mark.end = static_cast<size_t>(taker.number());
    moment.depth = taker.number();
    moment.written = taker.number();
    moment.report = taker.text();
    moment.status = taker.number();
    for (int64_t frames = taker.number(); frames > 0 && taker.is_good(); --frames) {
        DebugFrame frame;
        frame.name = taker.text();
        frame.place = take_spot(taker);
        frame.end = take_spot(taker);
        for (int64_t values = taker.number(); values > 0 && taker.is_good(); --values) {
            std::string name = taker.text();
            frame.values.emplace_back(std::move(name), taker.text());
        }
        moment.frames.push_back(std::move(frame));
    }
    return moment;
}

}  // namespace marl::lab
