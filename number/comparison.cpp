// Order and equality of all data, without coercion: two Values of different kinds are ordered by
// their kinds' letters and never equal.
//
// An answer is K, H or, where equality can't be told, Z: two voids that are not one node. Arrays
// are compared element by element, to any depth of nesting, with a list of the arrays that are
// open; an element that both hold as one node is passed over.
#include <functional>
#include <span>
#include <utility>
#include <vector>

#include "number/convert.h"
#include "number/cray.h"
#include "number/digits.h"
#include "number/hint.h"
#include "number/kind.h"
#include "number/numb.h"
#include "number/post.h"
#include "number/word_results.h"
#include "number/zits.h"
#include "reduce/tables.h"
#include "value/real_word.h"
#include "value/short_hint.h"

namespace marl {

namespace {

enum class Answer { yes, no, none };

Answer answer(bool condition) { return condition ? Answer::yes : Answer::no; }
/// The answer that a comparison's result, if it has one, gives to a question.
template <class Question>
Answer answer(std::optional<int> order, Question question) {
    return order ? answer(question(*order)) : Answer::none;
}

Value value_of(Answer answer) {
    return answer == Answer::none ? leaf_Z() : truth(answer == Answer::yes);
}

bool both_crays(Node* x, Node* y) { return is_leaf_of(x, '\n') && is_leaf_of(y, '\n'); }

int compare_texts(Node* x, Node* y) {
    const Value a = zits_flatten(Value::share(x));
    const Value b = zits_flatten(Value::share(y));
    return zits_body(a).compare(zits_body(b));
}

Answer same_digits(Node* x, Node* y) {
    if (is_leaf(x) && is_leaf(y)) return answer(leaf_bytes(x) == leaf_bytes(y));
    const auto a = digits_of(x);
    const auto b = digits_of(y);
    return a && b ? answer(*a == *b) : Answer::none;
}

/// Whether two nodes, not both of them crays, are equal. They are two nodes.
Answer same_values(Node* x, Node* y) {
    const char kind = kind_of(x);
    if (kind != kind_of(y)) return Answer::no;
    switch (kind) {
        case 'a': return answer(post_payload(x) == post_payload(y));
        case 'u': return answer(compare_texts(x, y) == 0);
        case 'r': return answer(to_double(x) == to_double(y));
        case 'i': return answer(hint_compare(x, y), [](int order) { return order == 0; });
        case 'o': return same_digits(x, y);
        default: return Answer::none;
    }
}

/// Whether x sorts before y, both not crays; `gteq_values` is its opposite but for NaNs.
Answer less_values(Node* x, Node* y) {
    const auto below = [](int order) { return order < 0; };
    const char kind = kind_of(x);
    if (kind != kind_of(y)) return answer(kind < kind_of(y));
    switch (kind) {
        case 'a': return answer(post_payload(x) < post_payload(y));
        case 'u': return answer(compare_texts(x, y) < 0);
        case 'r': return answer(to_double(x) < to_double(y));
        case 'i': return answer(hint_compare(x, y), below);
        case 'o': return answer(numb_compare(x, y), below);
        default: return answer(compare(x, y) == 1);
    }
}

Answer gteq_values(Node* x, Node* y) {
    if (kind_of(x) == 'r' && kind_of(y) == 'r') return answer(to_double(x) >= to_double(y));
    switch (less_values(x, y)) {
        case Answer::yes: return Answer::no;
        case Answer::no: return Answer::yes;
        default: return Answer::none;
    }
}

/// Goes through the elements of two crays side by side, up to the end of the shorter.
struct Elements {
    Node* x;
    Node* y;
    int64_t length;
    int64_t next = 0;

    Elements(Node* a, Node* b) : x(a), y(b), length(std::min(cray_length(a), cray_length(b))) {}

    /// The next two that are not one node; false at the end. Empty slots are two Values of their
    /// own that read as Z, for which `empty` stands.
    bool take(Node* empty, Node*& a, Node*& b) {
        while (next < length) {
            const int64_t i = next++;
            const Word both = cray_word(x, i);
            if (both != 0 && both == cray_word(y, i)) continue;
            a = cray_slot(x, i);
            b = cray_slot(y, i);
            if (a && a == b) continue;  // a closure in one of them, and its node in the other
            if (!a) a = empty;
            if (!b) b = empty;
            return true;
        }
        return false;
    }
};

/// Where equality of two crays ends: at two nodes that are not the same, or can't be told.
struct Difference {
    Answer same;  // yes: there is none
    Node* x = nullptr;
    Node* y = nullptr;
};

/// The first difference between the elements of two crays, inside of nested ones of equal length.
Difference first_difference(Node* x, Node* y, Node* empty) {
    std::vector<Elements> open{Elements(x, y)};
    while (!open.empty()) {
        Node* a;
        Node* b;
        if (!open.back().take(empty, a, b)) {
            open.pop_back();
        } else if (!both_crays(a, b)) {
            if (const Answer same = same_values(a, b); same != Answer::yes) return {same, a, b};
        } else if (cray_length(a) != cray_length(b)) {
            return {Answer::no, a, b};
        } else {
            open.emplace_back(a, b);
        }
    }
    return {Answer::yes};
}

Answer same(Node* x, Node* y) {
    if (x == y) return Answer::yes;
    if (!both_crays(x, y)) return same_values(x, y);
    if (cray_length(x) != cray_length(y)) return Answer::no;
    return first_difference(x, y, leaf_Z()).same;
}

/// The first elements that are not equal decide. Those of nested crays are found by the same walk,
/// but where the lengths differ: there the elements in common have not been looked at yet.
Answer gteq(Node* x, Node* y) {
    const Value empty = leaf_Z();
    while (both_crays(x, y)) {
        const Difference found = first_difference(x, y, empty);
        if (found.same == Answer::yes) return answer(cray_length(x) >= cray_length(y));
        if (found.same == Answer::none) return Answer::none;
        x = found.x;
        y = found.y;
    }
    return gteq_values(x, y);
}

/// Two crays whose elements `less_crays` is going through.
struct Compared {
    Elements elements;
    Answer same = Answer::yes;  // so far: yes, or none

    bool is_shorter() const { return cray_length(elements.x) < cray_length(elements.y); }
    /// Equality of the two, when the elements so far were the last or `last` is that of the last.
    Answer equality(Answer last) const {
        if (cray_length(elements.x) != cray_length(elements.y)) return Answer::no;
        return same == Answer::none ? same : last;
    }
};

/// The first element that is less, or of which it can't be told, decides for all crays around it.
/// One that is not less and not equal ends its own cray, which then is neither itself. So both
/// questions go along, and no element is looked at twice. An equality that can't be told ends
/// nothing here.
Answer less_crays(Node* x, Node* y) {
    const Value empty = leaf_Z();
    std::vector<Compared> open{{Elements(x, y)}};
    while (!open.empty()) {
        Node* a;
        Node* b;
        Answer same;  // of two elements of the cray on top, which are not less
        if (!open.back().elements.take(empty, a, b)) {
            if (open.back().is_shorter()) return Answer::yes;
            same = open.back().equality(Answer::yes);
            open.pop_back();
        } else if (both_crays(a, b)) {
            open.push_back({Elements(a, b)});
            continue;
        } else {
            if (const Answer less = less_values(a, b); less != Answer::no) return less;
            same = same_values(a, b);
        }
        while (same == Answer::no && !open.empty()) {
            same = open.back().equality(Answer::no);
            open.pop_back();
        }
        if (same == Answer::none && !open.empty()) open.back().same = same;
    }
    return Answer::no;
}

Answer less(Node* x, Node* y) { return both_crays(x, y) ? less_crays(x, y) : less_values(x, y); }

Value less_builtin(Value* arguments) {
    int64_t x, y;
    if (short_hint(arguments[0], x) && short_hint(arguments[1], y)) return truth(x < y);
    return value_of(less(arguments[0], arguments[1]));
}

Value gteq_builtin(Value* arguments) {
    int64_t x, y;
    if (short_hint(arguments[0], x) && short_hint(arguments[1], y)) return truth(x >= y);
    return value_of(gteq(arguments[0], arguments[1]));
}

Value same_builtin(Value* arguments) {
    int64_t x, y;
    if (short_hint(arguments[0], x) && short_hint(arguments[1], y)) return truth(x == y);
    return value_of(same(arguments[0], arguments[1]));
}

Value diff_builtin(Value* arguments) {
    int64_t x, y;
    if (short_hint(arguments[0], x) && short_hint(arguments[1], y)) return truth(x != y);
    switch (same(arguments[0], arguments[1])) {
        case Answer::yes: return leaf_H();
        case Answer::no: return leaf_K();
        default: return leaf_Z();
    }
}

/// The same for two integers or two reals that have no nodes.
template <class Compare>
bool compare_on_words(Word* arguments, Word& result) {
    constexpr Compare holds;
    const auto [x, y] = std::pair(arguments[0], arguments[1]);
    if (is_short(x) && is_short(y)) {
        result = word_of_truth(holds(short_of(x), short_of(y)));
    } else if (is_real(x) && is_real(y)) {
        result = word_of_truth(holds(real_of(x), real_of(y)));
    } else {
        return false;
    }
    return true;
}

constexpr Builtin rows[] = {
    {"less", 2, less_builtin, compare_on_words<std::less<>>},
    {"gteq", 2, gteq_builtin, compare_on_words<std::greater_equal<>>},
    {"same", 2, same_builtin, compare_on_words<std::equal_to<>>},
    {"diff", 2, diff_builtin, compare_on_words<std::not_equal_to<>>},
};

}  // namespace

std::span<const Builtin> comparison_rows() { return rows; }

}  // namespace marl
