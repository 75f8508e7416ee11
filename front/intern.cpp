// The members stand in a row, each with the hash of its structure, and two indexes lead to their
// places: by structure, to find the member that equals an expression, and by address, to know a
// member when a walk comes to it and to stop there. Either is made when it is needed first: a
// program that is parsed into the set and then runs needs no addresses, and when most members have
// left nothing may ask for the others again. Half of all nodes are names of one byte, which have a
// table in place of both. The children of a new member are members, so two Pairs are compared by
// their children's addresses; only where a child was taken out of the set later does `compare` have
// to look further.
#include "front/intern.h"

#include <array>
#include <bit>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "reduce/analysis.h"
#include "text/hash_index.h"
#include "value/todo.h"
#include "value/walk.h"

namespace marl {

namespace {

uint64_t hash_of_pair(uint64_t left_hash, uint64_t right_hash) {
    return mix(std::rotl(left_hash, 23) * 0x9E3779B97F4A7C15 + right_hash);
}

uint64_t hash_of_letter(uint8_t byte) { return byte * 0x9E3779B97F4A7C15; }

uint64_t hash_of_address(Node* node) { return mix(reinterpret_cast<uint64_t>(node)); }

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
        if (place != next) return place;
        MARL_REQUIRE(next < no_place - 1);
        members.push_back({make().take(), hash});
        by_address.enter(hash_of_address(members.back().node), next);
        return next;
    }

    /// The place of a letter, which `make()` gives where it is no member.
    template <class Make>
    uint32_t find_or_add_letter(uint8_t byte, Make make) {
        uint32_t& place = of_letter[byte];
        if (place != no_place) return place;
        place = static_cast<uint32_t>(members.size());
        members.push_back({make().take(), hash_of_letter(byte)});
        return place;
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

    /// Takes out what passes the test, from the last member on, in the same way.
    template <class Test>
    void remove_all(Test leaves) {
        by_structure = by_address = {};
        for (size_t i = members.size(); i-- > 0;) {
            Node* node = members[i].node;
            if (!leaves(node)) continue;
            members[i] = members.back();
            members.pop_back();
            release(node);
        }
        of_letter.fill(no_place);
        for (size_t i = 0; i < members.size(); ++i) {
            Node* node = members[i].node;
            if (is_letter_leaf(node)) of_letter[first_byte(node)] = static_cast<uint32_t>(i);
        }
    }

  private:
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

InternSet& intern_set() {
    static auto* set = new InternSet;
    return *set;
}

bool same(Node* a, Node* b) { return a == b || compare(a, b) == 0; }

/// One walk over an expression, children before parents. Hashes are known at once, but where they
/// lead to in the indexes is mostly far from any cache; so the walk runs ahead by a batch of steps
/// and fetches, and the members are looked up behind it.
struct Interning {
    struct Step {
        Node* node;
        uint64_t hash;
        enum Kind { is_member, find_letter, find_leaf, find_pair } kind;
    };
    static constexpr size_t batch = 128;

    InternSet& set = intern_set();
    bool stops_at_members = true;
    std::vector<uint64_t> hashes;             // of what is done, as far as the walk is
    std::vector<Step> steps;                  // done by the walk only
    std::vector<Member> found;                // the members of what is done and looked up
    std::unordered_map<Node*, Member> known;  // those of shared nodes that are no members

    void begin_anew() {
        hashes.clear();
        found.clear();
        if (!known.empty()) known = {};
    }

    void add_step(Node* node, uint64_t hash, Step::Kind kind) {
        hashes.push_back(hash);
        steps.push_back({node, hash, kind});
        if (kind >= Step::find_leaf) {  // of which the indexes are asked
            set.by_structure.places.fetch(hash);
            if (set.by_address.stands) set.by_address.places.fetch(hash_of_address(node));
        }
        if (steps.size() == batch) look_up();
    }

    /// The walk comes to a node that may have been met before.
    bool meet_again(Node* node) {
        if (!is_leaf(node)) look_up();
        const uint32_t place = stops_at_members ? set.place_of(node) : no_place;
        if (place != no_place) {
            add_step(node, set.members[place].hash, Step::is_member);
            return true;
        }
        const auto member = known.find(node);
        if (member == known.end()) return false;
        add_step(member->second.node, member->second.hash, Step::is_member);
        return true;
    }

    /// Whether the children are due.
    bool begin(Node* node) {
        if (!is_leaf(node)) return count_of(node) == 1 || !meet_again(node);
        if (is_letter_leaf(node)) {
            add_step(node, hash_of_letter(first_byte(node)), Step::find_letter);
        } else if (count_of(node) == 1 || !meet_again(node)) {
            add_step(node, hash_of_bytes(leaf_bytes(node)), Step::find_leaf);
        }
        return false;
    }

    void end(Node* node) {
        const uint64_t right_hash = hashes.back();
        hashes.pop_back();
        const uint64_t left_hash = hashes.back();
        hashes.pop_back();
        add_step(node, hash_of_pair(left_hash, right_hash), Step::find_pair);
    }

    void look_up() {
        for (const auto& [node, hash, kind] : steps) {
            switch (kind) {
                case Step::is_member: found.push_back({node, hash}); break;
                case Step::find_letter: found.push_back(member_of_letter(node)); break;
                case Step::find_leaf: found.push_back(member_of_leaf(node, hash)); break;
                case Step::find_pair: {
                    const Member argument = found.back();
                    found.pop_back();
                    found.back() = member_of_pair(node, hash, found.back().node, argument.node);
                    break;
                }
            }
            const bool is_met_again = count_of(node) > 1 && kind != Step::find_letter;
            if (is_met_again && found.back().node != node) known.emplace(node, found.back());
        }
        steps.clear();
    }

    Member member_of_letter(Node* node) {
        const auto share = [&] { return Value::share(node); };
        return set.members[set.find_or_add_letter(first_byte(node), share)];
    }

    Member member_of_leaf(Node* node, uint64_t hash) {
        const auto equals = [&](Node* member) { return is_leaf(member) && same(member, node); };
        const auto share = [&] { return Value::share(node); };
        return set.members[set.find_or_add(hash, equals, share)];
    }

    Member member_of_pair(Node* node, uint64_t hash, Node* function, Node* argument) {
        const auto equals = [&](Node* member) {
            return !is_leaf(member) && same(left(member), function) &&
                   same(right(member), argument);
        };
        const auto make = [&] {
            if (left(node) == function && right(node) == argument) return Value::share(node);
            return pair(Value::share(function), Value::share(argument));
        };
        return set.members[set.find_or_add(hash, equals, make)];
    }
};

Value interned(Node* v, bool stops_at_members) {
    // Kept for the next time: nothing in here runs program code.
    static Interning& work = *new Interning;
    work.begin_anew();
    work.stops_at_members = stops_at_members;
    walk_both_ways(
        v, [&](Node* node) { return work.begin(node); }, [&](Node* node) { work.end(node); });
    work.look_up();
    return Value::share(work.found.back().node);
}

}  // namespace

Value intern(Value v) {
    intern_set().index();
    return interned(v, true);
}

Value intern_written(Value v) {
    intern_set().index_structure();
    return interned(v, false);
}

Interned intern_letter(char letter) {
    const auto make = [=] { return letter_leaf(letter); };
    return {intern_set().find_or_add_letter(static_cast<uint8_t>(letter), make) + 1};
}

Interned intern_leaf(std::string_view bytes) {
    InternSet& set = intern_set();
    set.index_structure();
    const auto equals = [=](Node* member) { return is_leaf_text(member, bytes); };
    return {set.find_or_add(hash_of_bytes(bytes), equals, [=] { return leaf(bytes); }) + 1};
}

Interned intern_pair(Interned left_member, Interned right_member) {
    InternSet& set = intern_set();
    set.index_structure();
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

Node* node_of(Interned member) { return intern_set().members[member.number - 1].node; }

void drop_unsettled_members() {
    // What a parse has made for definitions that were replaced or removed is held by nobody else,
    // and may have names in it that mean nothing.
    intern_set().remove_all([](Node* node) { return count_of(node) == 1 || !settled(node); });
}

void drop_unsettled(Node* expression) {
    InternSet& set = intern_set();
    set.index();
    walk(expression, [&](Node* node) {
        if (settled(node)) return Go::past;
        const uint32_t place = set.place_of(node);
        if (place == no_place) return Go::past;
        set.remove(place);
        return Go::in;
    });
}

size_t intern_set_size() { return intern_set().members.size(); }

void drop_todos_from(size_t from) {
    InternSet& set = intern_set();
    std::unordered_set<Node*> holders;  // children come in before their parents
    std::vector<uint32_t> places;
    for (size_t i = from; i < set.members.size(); ++i) {
        Node* node = set.members[i].node;
        if (is_leaf(node)) continue;
        if (is_todo(node) || holders.contains(left(node)) || holders.contains(right(node))) {
            holders.insert(node);
            places.push_back(static_cast<uint32_t>(i));
        }
    }
    if (!places.empty()) set.index();
    for (; !places.empty(); places.pop_back()) set.remove(places.back());
}

void clear_intern_set() {
    const InternSet old = std::exchange(intern_set(), {});
    for (const Member& member : old.members) release(member.node);
}

}  // namespace marl
