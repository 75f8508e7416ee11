// Each operation makes the array that it gives at its full size, all slots empty, and fills it from
// the slots of the others, each copied slot taking a reference of its own.
#include "number/cray.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "number/convert.h"
#include "text/rope.h"
#include "value/identity.h"
#include "value/real_word.h"
#include "value/resize.h"

namespace marl {

namespace {

/// Fills slots of a new cray from `at` on with those of another, first up to but not including
/// last.
void copy_slots(Node* to, int64_t at, Node* from, int64_t first, int64_t last) {
    memcpy(leaf_text(to) + 1 + at * cray_slot_size, leaf_text(from) + 1 + first * cray_slot_size,
           static_cast<size_t>((last - first) * cray_slot_size));
    for (int64_t i = first; i < last; ++i) {
        if (const Word word = cray_word(from, i)) retain_word(word);
    }
}

bool is_cray(Node* x) { return x && is_leaf_of(x, '\n'); }

}  // namespace

int64_t cray_length(Node* cray) {
    MARL_REQUIRE(is_cray(cray));
    return span_of(cray);
}

Value cray_at(Node* cray, int64_t i) {
    MARL_REQUIRE(i >= 0 && i < cray_length(cray));
    Node* element = cray_slot(cray, i);
    return element ? Value::share(element) : leaf_Z();
}

Word slot_word(Value v) {
    Word word;
    if (is_leaf_of(v, 'U')) return 0;
    const bool is_plain = !keeps_identity && count_of(v) == 1 && as_plain_word(v, word);
    return is_plain ? word : word_of(v.take());
}

Word cray_store(Node* cray, int64_t i, Word word) {
    MARL_REQUIRE(i >= 0 && i < cray_length(cray));
    const Word old = cray_word(cray, i);
    set_cray_word(cray, i, word);
    return old;
}

Value cray_slice(Node* cray, int64_t first, int64_t last) {
    Value made = cray_with_size(last - first);
    copy_slots(made, 0, cray, first, last);
    return made;
}

Value cray_concat(Node* x, Node* y) {
    const int64_t n = cray_length(x);
    const int64_t total = n + cray_length(y);
    if (total >= cray_limit) return leaf_Z();
    Value made = cray_with_size(total);
    copy_slots(made, 0, x, 0, n);
    copy_slots(made, n, y, 0, total - n);
    return made;
}

Value cray_cut(Node* cray, int64_t n) {
    const int64_t length = cray_length(cray);
    if (n > length || n < -length) return leaf_Z();
    return n > 0 ? cray_slice(cray, 0, length - n) : cray_slice(cray, -n, length);
}

Value cray_repeat(Node* cray, int64_t n) {
    const int64_t length = cray_length(cray);
    if (n < 0 || (length > 0 && n > (cray_limit - 1) / length)) return leaf_Z();
    Value made = cray_with_size(n * length);
    if (length == 0) return made;
    for (int64_t i = 0; i < n; ++i) copy_slots(made, i * length, cray, 0, length);
    return made;
}

Value cray_append(Value cray, Value v) {
    const int64_t n = cray_length(cray);
    if (n + 1 >= cray_limit) return leaf_Z();
    Value made;
    if (count_of(cray) == 1 && !keeps_identity) {
        made = grown_cray(std::move(cray), n + 1);
    } else {
        made = cray_with_size(n + 1);
        copy_slots(made, 0, cray, 0, n);
    }
    cray_store(made, n, slot_word(std::move(v)));
    return made;
}

Value cray_prepend(Value v, Node* cray) {
    const int64_t n = cray_length(cray);
    if (n + 1 >= cray_limit) return leaf_Z();
    Value made = cray_with_size(n + 1);
    copy_slots(made, 1, cray, 0, n);
    cray_store(made, 0, slot_word(std::move(v)));
    return made;
}

Value cray_to_list(Node* cray) {
    const Value cell = leaf("J");
    Value list = leaf_K();
    for (int64_t i = cray_length(cray); i-- > 0;) {
        list = apply(cell, cray_at(cray, i), std::move(list));
    }
    return list;
}

String cray_to_zits(Node* cray) {
    struct Walk {
        Node* cray;
        int64_t next;
    };
    Rope text;
    std::vector<Walk> open{{cray, 0}};
    rope_push(text, '[');
    while (!open.empty()) {
        auto& [inner, next] = open.back();
        if (next == cray_length(inner)) {
            rope_push(text, ']');
            open.pop_back();
            continue;
        }
        Node* element = cray_slot(inner, next++);
        if (is_cray(element)) {
            rope_push(text, '[');
            open.push_back({element, 0});
        } else {
            rope_append(text, "[\"");
            rope_append(text, element ? print_value(element) : String("Z"));
            rope_push(text, ']');
        }
    }
    return rope_flatten(text);
}

}  // namespace marl
