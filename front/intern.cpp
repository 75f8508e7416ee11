// The members stand in a row, each with the hash of its structure, and two indexes lead to their
// places: by structure, to find the member that equals an expression, and by address, to know a
// member when a walk comes to it and to stop there. Half of all nodes are names of one byte, which
// have a table in place of both. The children of a new member are members, so two Pairs are
// compared by their children's addresses; only where a child was taken out of the set later does
// `compare` have to look further.
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

struct InternSet {
    std::vector<Member> members;  // each owns a reference
    HashIndex by_structure;       // of the members that are no letters
    HashIndex by_address;         // of the same
    std::array<uint32_t, 256> of_letter;

    InternSet() { of_letter.fill(no_place); }

    uint32_t place_of(Node* node) const {
        if (count_of(node) < 2) return no_place;  // the set's reference and the caller's
        const auto is_it = [&](uint32_t place) { return members[place].node == node; };
        if (!is_letter_leaf(node)) return by_address.find(hash_of_address(node), is_it);
        const uint32_t place = of_letter[first_byte(node)];
        return place != no_place && is_it(place) ? place : no_place;
    }

    Member add(Value node, uint64_t hash) {
        MARL_REQUIRE(members.size() < no_place - 1);
        const auto place = static_cast<uint32_t>(members.size());
        if (is_letter_leaf(node)) {
            of_letter[first_byte(node)] = place;
        } else {
            by_structure.enter(hash, place);
            by_address.enter(hash_of_address(node), place);
        }
        members.push_back({node.take(), hash});
        return members.back();
    }

    /// The last member takes the place of the one that leaves.
    void remove(uint32_t place) {
        const Member leaving = members[place];
        const Member last = members.back();
        const auto last_place = static_cast<uint32_t>(members.size() - 1);
        if (is_letter_leaf(leaving.node)) {
            of_letter[first_byte(leaving.node)] = no_place;
        } else {
            by_structure.remove(leaving.hash, place);
            by_address.remove(hash_of_address(leaving.node), place);
        }
        if (place != last_place) move(last, last_place, place);
        members.pop_back();
        release(leaving.node);
    }

  private:
    void move(Member member, uint32_t from, uint32_t to) {
        if (is_letter_leaf(member.node)) {
            of_letter[first_byte(member.node)] = to;
        } else {
            by_structure.move(member.hash, from, to);
            by_address.move(hash_of_address(member.node), from, to);
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
            set.by_structure.fetch(hash);
            set.by_address.fetch(hash_of_address(node));
        }
        if (steps.size() == batch) look_up();
    }

    /// The walk comes to a node that may have been met before.
    bool meet_again(Node* node) {
        if (!is_leaf(node)) look_up();
        if (const uint32_t place = set.place_of(node); place != no_place) {
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
                case Step::find_letter: found.push_back(member_of_letter(node, hash)); break;
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

    Member member_of_letter(Node* node, uint64_t hash) {
        const uint32_t place = set.of_letter[first_byte(node)];
        return place != no_place ? set.members[place] : set.add(Value::share(node), hash);
    }

    Member member_of_leaf(Node* node, uint64_t hash) {
        const uint32_t place = set.by_structure.find(hash, [&](uint32_t i) {
            const Member& member = set.members[i];
            return member.hash == hash && is_leaf(member.node) && same(member.node, node);
        });
        if (place != no_place) return set.members[place];
        return set.add(Value::share(node), hash);
    }

    Member member_of_pair(Node* node, uint64_t hash, Node* function, Node* argument) {
        const uint32_t place = set.by_structure.find(hash, [&](uint32_t i) {
            const Member& member = set.members[i];
            return member.hash == hash && !is_leaf(member.node) &&
                   same(left(member.node), function) && same(right(member.node), argument);
        });
        if (place != no_place) return set.members[place];
        if (left(node) == function && right(node) == argument) {
            return set.add(Value::share(node), hash);
        }
        return set.add(pair(Value::share(function), Value::share(argument)), hash);
    }
};

}  // namespace

Value intern(Value v) {
    // Kept for the next time: nothing in here runs program code.
    static Interning& work = *new Interning;
    work.begin_anew();
    walk_both_ways(
        v, [&](Node* node) { return work.begin(node); }, [&](Node* node) { work.end(node); });
    work.look_up();
    return Value::share(work.found.back().node);
}

void drop_unsettled_members() {
    InternSet& set = intern_set();
    for (size_t i = set.members.size(); i-- > 0;) {
        if (!settled(set.members[i].node)) set.remove(static_cast<uint32_t>(i));
    }
}

void drop_unsettled(Node* expression) {
    InternSet& set = intern_set();
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
    for (; !places.empty(); places.pop_back()) set.remove(places.back());
}

void clear_intern_set() {
    const InternSet old = std::exchange(intern_set(), {});
    for (const Member& member : old.members) release(member.node);
}

}  // namespace marl
