// The intern set itself, for who makes members. Without it, front/intern.h does.
//
// The members stand in a row, each with the hash of its structure, and two indexes lead to their
// places: by structure, to find the member that equals an expression, and by address, to know a
// member when a walk comes to it and to stop there. Either is made when it is needed first: a
// program that is parsed into the set and then runs needs no addresses, and when most members have
// left nothing may ask for the others again. Half of all nodes are names of one byte, which have a
// table in place of both. The children of a new member are members, so two Pairs are compared by
// their children's addresses; only where a child was taken out of the set later does `compare` have
// to look further.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "reduce/tables.h"
#include "text/hash_index.h"
#include "value/value.h"

namespace marl {

inline uint64_t hash_of_pair(uint64_t left_hash, uint64_t right_hash) {
    return mix(left_hash ^ 0x9E3779B97F4A7C15, right_hash ^ 0xD6E8FEB86659FD93);
}

inline uint64_t hash_of_letter(uint8_t byte) { return byte * 0x9E3779B97F4A7C15; }

inline uint64_t hash_of_address(Node* node) { return mix(reinterpret_cast<uint64_t>(node)); }

/// A member; what a walk has found is borrowed, as nothing leaves the set meanwhile.
struct Member {
    Node* node;
    uint64_t hash;
};

/// An index of the members, from some question on until many members leave.
struct MemberIndex {
    HashIndex places;
    bool stands = false;

    void enter(uint64_t hash, uint32_t place) {
        if (stands) places.enter(hash, place);
    }
};

struct InternSet {
    std::vector<Member> members;  // each owns a reference
    MemberIndex by_structure;     // of the members that are no letters
    MemberIndex by_address;       // of the same
    std::array<uint32_t, 256> of_letter;

    InternSet() { of_letter.fill(no_place); }

    /// Makes both indexes stand.
    void index() {
        index_structure();
        if (by_address.stands) return;
        by_address.stands = true;
        for_each_indexed([&](const Member& member, uint32_t place) {
            by_address.enter(hash_of_address(member.node), place);
        });
    }

    void index_structure() {
        if (by_structure.stands) return;
        by_structure.stands = true;
        for_each_indexed(
            [&](const Member& member, uint32_t place) { by_structure.enter(member.hash, place); });
    }

    /// Both indexes stand.
    uint32_t place_of(Node* node) const {
        if (count_of(node) < 2) return no_place;  // the set's reference and the caller's
        const auto is_it = [&](uint32_t place) { return members[place].node == node; };
        if (!is_letter_leaf(node)) return by_address.places.find(hash_of_address(node), is_it);
        const uint32_t place = of_letter[first_byte(node)];
        return place != no_place && is_it(place) ? place : no_place;
    }

    /// The place of the member under the hash that is it; where there is none, of a new one, which
    /// `make()` gives. No letter. The index by structure stands.
    template <class IsIt, class Make>
    uint32_t find_or_add(uint64_t hash, IsIt is_it, Make make) {
        const auto next = static_cast<uint32_t>(members.size());
        const uint32_t place = by_structure.places.find_or_enter(hash, next, [&](uint32_t i) {
            const Member& member = members[i];
            return member.hash == hash && is_it(member.node);
        });
        if (place == next) add(hash, make);
        return place;
    }

    /// The place of a letter, which `make()` gives where it is no member.
    template <class Make>
    uint32_t find_or_add_letter(uint8_t byte, Make make) {
        const uint32_t place = of_letter[byte];
        return place != no_place ? place : add_letter(byte, make());
    }

    /// The last member takes the place of the one that leaves. Both indexes stand.
    void remove(uint32_t place) {
        const Member leaving = members[place];
        const Member last = members.back();
        const auto last_place = static_cast<uint32_t>(members.size() - 1);
        if (is_letter_leaf(leaving.node)) {
            of_letter[first_byte(leaving.node)] = no_place;
        } else {
            by_structure.places.remove(leaving.hash, place);
            by_address.places.remove(hash_of_address(leaving.node), place);
        }
        if (place != last_place) move(last, last_place, place);
        members.pop_back();
        release(leaving.node);
    }

    /// Takes out what nobody else holds, from the last member on, in the same way: the parts of one
    /// came in before it.
    void remove_unheld() {
        by_structure = by_address = {};
        const size_t all = members.size();
        for (size_t i = all; i-- > 0;) {
            Node* node = members[i].node;
            if (count_of(node) != 1) continue;
            members[i] = members.back();
            members.pop_back();
            release(node);
        }
        if (members.size() != all) keep([](Node*) { return true; });
    }

    /// Takes out all but what passes the test, which sees the members as they stand.
    template <class Test>
    void keep(Test stays) {
        by_structure = by_address = {};
        of_letter.fill(no_place);
        size_t kept = 0;
        for (const Member& member : members) {
            if (!stays(member.node)) {
                release(member.node);
                continue;
            }
            if (is_letter_leaf(member.node)) {
                of_letter[first_byte(member.node)] = static_cast<uint32_t>(kept);
            }
            members[kept++] = member;
        }
        members.resize(kept);
    }

  private:
    // What finds most of its members has no registers to save for the making of others.
    template <class Make>
    [[gnu::noinline]] void add(uint64_t hash, Make make) {
        const auto place = static_cast<uint32_t>(members.size());
        MARL_REQUIRE(place < no_place - 1);
        members.push_back({make().take(), hash});
        by_address.enter(hash_of_address(members.back().node), place);
    }

    [[gnu::noinline]] uint32_t add_letter(uint8_t byte, Value letter) {
        members.push_back({letter.take(), hash_of_letter(byte)});
        of_letter[byte] = static_cast<uint32_t>(members.size() - 1);
        return of_letter[byte];
    }

    template <class See>
    void for_each_indexed(See see) {
        for (size_t i = 0; i < members.size(); ++i) {
            if (!is_letter_leaf(members[i].node)) see(members[i], static_cast<uint32_t>(i));
        }
    }

    void move(Member member, uint32_t from, uint32_t to) {
        if (is_letter_leaf(member.node)) {
            of_letter[first_byte(member.node)] = to;
        } else {
            by_structure.places.move(member.hash, from, to);
            by_address.places.move(hash_of_address(member.node), from, to);
        }
        members[to] = member;
    }
};

inline InternSet& intern_set() {
    static auto* set = new InternSet;
    return *set;
}

/// A member while nothing leaves the set, or none. For a parse that makes members from the start.
struct Interned {
    uint32_t number = 0;  // the place behind it; 0: none

    explicit operator bool() const { return number != 0; }
};

/// The node of one that is some, borrowed.
inline Node* node_of(const InternSet& set, Interned member) {
    return set.members[member.number - 1].node;
}

// The members that equal something, which are added when there are none. The index by structure
// stands.

/// A Leaf of a name of one byte.
inline Interned intern_letter(InternSet& set, char letter) {
    const auto make = [=] { return letter_leaf(letter); };
    return {set.find_or_add_letter(static_cast<uint8_t>(letter), make) + 1};
}

/// Any other name, born with its symbol.
inline Interned intern_word(InternSet& set, std::string_view name) {
    const auto equals = [=](Node* member) {
        if (!is_leaf(member)) return false;
        const char* text = leaf_text(member);
        return strncmp(text, name.data(), name.size()) == 0 && text[name.size()] == 0;
    };
    const auto make = [=] {
        Value made = leaf(name);
        symbol_slot(made) = &symbol_of(name);
        return made;
    };
    return {set.find_or_add(hash_of_bytes(name), equals, make) + 1};
}

/// Any other Leaf.
inline Interned intern_leaf(InternSet& set, std::string_view bytes) {
    const auto equals = [=](Node* member) { return is_leaf_text(member, bytes); };
    return {set.find_or_add(hash_of_bytes(bytes), equals, [=] { return leaf(bytes); }) + 1};
}

inline Interned intern_pair(InternSet& set, Interned left_member, Interned right_member) {
    const Member& function = set.members[left_member.number - 1];
    const Member& argument = set.members[right_member.number - 1];
    const uint64_t hash = hash_of_pair(function.hash, argument.hash);
    const auto equals = [f = function.node, a = argument.node](Node* member) {
        return !is_leaf(member) && left(member) == f && right(member) == a;
    };
    const auto make = [f = function.node, a = argument.node] {
        return pair(Value::share(f), Value::share(a));
    };
    return {set.find_or_add(hash, equals, make) + 1};
}

}  // namespace marl
