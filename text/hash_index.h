// Hashes, and an index that leads from them to places in a row which somebody else keeps.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "text/swar.h"

namespace marl {

/// Spreads what differs in any bit of either over all of them.
inline uint64_t mix(uint64_t a, uint64_t b = 0xD6E8FEB86659FD93) {
    const Wide product = Wide{a} * b;
    return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

/// Equal for equal bytes, the same in every run.
inline uint64_t hash_of_bytes(std::string_view bytes) {
    const size_t n = bytes.size();
    uint64_t h = n * 0x9E3779B97F4A7C15;
    uint64_t word = 0;
    if (n >= sizeof word) {
        for (size_t i = 0; i + sizeof word < n; i += sizeof word) {
            memcpy(&word, bytes.data() + i, sizeof word);
            h = mix(h ^ word);
        }
        memcpy(&word, bytes.data() + n - sizeof word, sizeof word);
    } else if (n >= sizeof(uint32_t)) {
        uint32_t first, last;
        memcpy(&first, bytes.data(), sizeof first);
        memcpy(&last, bytes.data() + n - sizeof last, sizeof last);
        word = uint64_t{last} << 32 | first;
    } else {
        for (const char byte : bytes) word = word << 8 | static_cast<uint8_t>(byte);
    }
    return mix(h ^ word);
}

/// The place of nobody.
constexpr uint32_t no_place = 0xFFFFFFFF;

/// Places by the low half of a hash: open addressing, linear probing, at most two thirds
/// full. The half hash stands in the slot, so the index grows and shrinks without a look elsewhere.
class HashIndex {
  public:
    HashIndex() = default;
    HashIndex(const HashIndex&) = default;
    /// What is moved from is empty.
    HashIndex(HashIndex&& other) noexcept { swap(other); }
    HashIndex& operator=(HashIndex other) noexcept {
        swap(other);
        return *this;
    }
    ~HashIndex() = default;

    /// The first place entered under the hash for which the test holds, else `no_place`.
    template <class Test>
    uint32_t find(uint64_t hash, Test test) const {
        if (slots_.empty()) return no_place;
        const auto half = static_cast<uint32_t>(hash);
        for (size_t i = half & mask_;; i = (i + 1) & mask_) {
            const Slot& slot = slots_[i];
            if (slot.free()) return no_place;
            if (slot.half_hash == half && test(slot.place())) return slot.place();
        }
    }

    /// The same, but where there is none the given place is entered, and is the answer.
    template <class Test>
    uint32_t find_or_enter(uint64_t hash, uint32_t place, Test test) {
        if (room_ == 0) grow();
        const auto half = static_cast<uint32_t>(hash);
        for (size_t i = half & mask_;; i = (i + 1) & mask_) {
            Slot& slot = slots_[i];
            if (slot.free()) {
                slot = {half, place + 1};
                --room_;
                return place;
            }
            if (slot.half_hash == half && test(slot.place())) return slot.place();
        }
    }

    /// Has the slots of a hash brought into the cache.
    void fetch(uint64_t hash) const {
        if (!slots_.empty()) __builtin_prefetch(&slots_[static_cast<uint32_t>(hash) & mask_]);
    }

    void enter(uint64_t hash, uint32_t place) {
        if (room_ == 0) grow();
        put({static_cast<uint32_t>(hash), place + 1});
        --room_;
    }

    /// Replaces a place that was entered under the hash by another one.
    void move(uint64_t hash, uint32_t from, uint32_t to) {
        slots_[slot_of(hash, from)].place_plus_1 = to + 1;
    }

    void remove(uint64_t hash, uint32_t place) {
        // Later slots of the run move up, unless that would put them in front of where they belong.
        size_t hole = slot_of(hash, place);
        for (size_t i = (hole + 1) & mask_; !slots_[i].free(); i = (i + 1) & mask_) {
            const size_t home = slots_[i].half_hash & mask_;
            if (((i - home) & mask_) < ((i - hole) & mask_)) continue;
            slots_[hole] = slots_[i];
            hole = i;
        }
        slots_[hole] = {};
        ++room_;
    }

  private:
    struct Slot {
        uint32_t half_hash = 0;
        uint32_t place_plus_1 = 0;  // 0: the slot is free

        bool free() const { return place_plus_1 == 0; }
        uint32_t place() const { return place_plus_1 - 1; }
    };

    void swap(HashIndex& other) {
        slots_.swap(other.slots_);
        std::swap(mask_, other.mask_);
        std::swap(room_, other.room_);
    }

    void put(Slot slot) {
        size_t i = slot.half_hash & mask_;
        while (!slots_[i].free()) i = (i + 1) & mask_;
        slots_[i] = slot;
    }

    size_t slot_of(uint64_t hash, uint32_t place) const {
        size_t i = static_cast<uint32_t>(hash) & mask_;
        while (slots_[i].place() != place) i = (i + 1) & mask_;
        return i;
    }

    [[gnu::noinline]] void grow() {
        std::vector<Slot> old(slots_.empty() ? 1024 : slots_.size() * 2);
        old.swap(slots_);
        mask_ = slots_.size() - 1;
        room_ = slots_.size() * 2 / 3 - old.size() * 2 / 3;
        for (const Slot& slot : old) {
            if (!slot.free()) put(slot);
        }
    }

    std::vector<Slot> slots_;  // a power of two of them
    size_t mask_ = 0;
    size_t room_ = 0;  // so many more, and it grows
};

}  // namespace marl
