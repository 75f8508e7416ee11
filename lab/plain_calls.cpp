#include "lab/plain_calls.h"

#include <atomic>

#include "reduce/analysis.h"
#include "reduce/plain.h"

namespace marl::lab {

namespace {

/// While one is there, what the handler of a signal reads is being changed.
class Changing {
  public:
    explicit Changing(volatile bool& flag) : flag_(flag) {
        flag_ = true;
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
    ~Changing() {
        std::atomic_signal_fence(std::memory_order_seq_cst);
        flag_ = false;
    }
    Changing(const Changing&) = delete;
    Changing& operator=(const Changing&) = delete;

  private:
    volatile bool& flag_;
};

}  // namespace

PlainCalls::PlainCalls(const Sources& sources) {
    for (const auto& [key, place] : sources.definitions) {
        if (const Symbol* symbol = find_symbol(key)) definitions_.insert(symbol);
    }
    // The entry is not called by its name.
    if (const Symbol* entry = find_symbol("")) calls_.push_back({entry, 0});
    observer = this;
}

void PlainCalls::begin() { runs_.push_back({calls_.size(), contexts_.size()}); }

bool PlainCalls::see(Node* context, Value& focus) {
    const Changing changing(changing_);
    builtin_ = nullptr;
    follow(context);
    if (is_last_state(context, focus)) {
        calls_.resize(runs_.back().calls);
        contexts_.resize(runs_.back().contexts);
        runs_.pop_back();
    } else {
        leave(settled(focus) ? contexts_.size() : contexts_.size() + 1);
    }
    return true;
}

void PlainCalls::fires(const Symbol& symbol, Node* context) {
    if (!symbol.builtin && !definitions_.contains(&symbol)) return;
    const Changing changing(changing_);
    if (symbol.builtin) {
        builtin_ = &symbol;
        return;
    }
    follow(context);
    leave(contexts_.size());
    calls_.push_back({&symbol, contexts_.size()});
}

/// Goes from the context of the state before to that of the next one, which has a frame more or
/// some fewer; an abort leaves none.
void PlainCalls::follow(Node* context) {
    const size_t bottom = runs_.back().contexts;
    if (contexts_.size() > bottom && contexts_.back() == context) return;
    const Node* below = top_frame(context).below;
    while (contexts_.size() > bottom && contexts_.back() != context && contexts_.back() != below) {
        contexts_.pop_back();
    }
    if (contexts_.size() == bottom || contexts_.back() == below) contexts_.push_back(context);
}

/// The calls that were taken up with so many contexts, or more, have come to their end.
void PlainCalls::leave(size_t contexts) {
    while (calls_.size() > runs_.back().calls && calls_.back().contexts >= contexts) {
        calls_.pop_back();
    }
}

}  // namespace marl::lab
