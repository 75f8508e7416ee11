// A stack of what a walk has still to do. The first items stand in the list itself, so that a walk
// over an expression of ordinary size allocates nothing.
#pragma once

#include <cstddef>
#include <type_traits>
#include <vector>

namespace marl {

template <class Item>
class Worklist {
    static_assert(std::is_trivially_copyable_v<Item>);

  public:
    bool empty() const { return size_ == 0; }
    void push(Item item) {
        if (size_ < most_near) {
            near_[size_] = item;
        } else {
            far_.push_back(item);
        }
        ++size_;
    }
    const Item& top() const { return size_ <= most_near ? near_[size_ - 1] : far_.back(); }
    Item pop() {
        const Item item = top();
        if (size_-- > most_near) far_.pop_back();
        return item;
    }

  private:
    static constexpr size_t most_near = 32;
    size_t size_ = 0;
    Item near_[most_near];
    std::vector<Item> far_;
};

}  // namespace marl
