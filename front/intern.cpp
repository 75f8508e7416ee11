// One walk over an expression finds or makes its members, children before their parents.
#include "front/intern.h"

#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "front/intern_set.h"
#include "reduce/analysis.h"
#include "value/todo.h"
#include "value/walk.h"

namespace marl {

namespace {

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

void drop_unsettled_members() {
    InternSet& set = intern_set();
    // What a parse has made for definitions that were replaced or removed is held by nobody else,
    // and may have names in it that mean nothing.
    set.remove_unheld();
    set.keep([](Node* node) {
        analyse(node);  // its children came in before
        return settled_analysed(node);
    });
}

void expect_members(size_t bytes) {
    std::vector<Member>& members = intern_set().members;
    members.reserve(members.size() + bytes / 4);
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
