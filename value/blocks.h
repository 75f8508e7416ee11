// Blocks for long numbers and their limbs.
//
// A loop over long numbers frees at each turn what it needs again at the next one, in sizes that
// the general allocator looks for each time. So freed blocks stay on lists, one for each size: the
// small ones differ by as much each, of the others there are four sizes to an octave. They stay up
// to a limit of bytes for all together. Builds with sanitizers have no
// lists.
#pragma once

#include <cstddef>
#include <new>

namespace marl {

/// A block of at least `size` bytes, not set.
void* allocate_block(size_t size);
/// Gives it back; `size` is the one that it was asked for with.
void free_block(void* block, size_t size);

/// For containers whose elements are written before they are read: without a value, they are left
/// unset.
template <class T>
struct UnsetBlocks {
    using value_type = T;

    UnsetBlocks() = default;
    template <class U>
    explicit UnsetBlocks(const UnsetBlocks<U>&) {}

    T* allocate(size_t n) { return static_cast<T*>(allocate_block(n * sizeof(T))); }
    void deallocate(T* block, size_t n) { free_block(block, n * sizeof(T)); }
    template <class U>
    void construct(U* place) {
        ::new (static_cast<void*>(place)) U;
    }
    template <class U, class... Arguments>
    void construct(U* place, Arguments&&... arguments) {
        ::new (static_cast<void*>(place)) U(static_cast<Arguments&&>(arguments)...);
    }
    bool operator==(const UnsetBlocks&) const { return true; }
};

}  // namespace marl
