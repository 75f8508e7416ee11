#include "lab/call_stack.h"

#include "lab/effects.h"

namespace marl::lab {

std::vector<std::string> CallKeeper::under_way(size_t most) const {
    std::vector<std::string> lines;
    if (!builtin_.empty()) lines.push_back(builtin_);
    for (auto text = texts.rbegin(); text != texts.rend() && lines.size() < most; ++text) {
        lines.push_back(*text);
    }
    return lines;
}

void CallKeeper::keep_calls(const State& state) {
    leave_calls(state);
    builtin_.clear();
    if (state.last || !state.symbol) return;
    if (state.symbol->builtin) {
        if (reaches_outside(state.symbol->name)) builtin_ = call_text(state, Room{});
    } else if (!is_plumbing(*state.symbol)) {
        enter_call(state);
    }
}

void CallKeeper::on_entered(const State& state) { texts.push_back(call_text(state, Room{})); }

void CallKeeper::on_left(const State&, const Call&, Node*) { texts.pop_back(); }

}  // namespace marl::lab
