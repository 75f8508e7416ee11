// One walk over the definition from the back, with a stack of the images made so far: a Pair is put
// together when those of its parts, the right one first, are on it. A backquote is evaluated at
// that moment, so inner ones go before outer ones and right ones before left ones. With
// `Shared::kept`, a Pair that stands in several places and holds no backquote is made once.
#include "front/backquote.h"

#include <unordered_map>
#include <utility>
#include <vector>

#include "number/convert.h"
#include "number/zits.h"
#include "reduce/analysis.h"
#include "reduce/machine.h"
#include "value/walk.h"

namespace marl {

namespace {

/// The value of a backquoted expression, or the U form. `inner` is the expression with its own
/// backquotes treated.
Value evaluate(std::string_view name, Node* backquoted, Value inner) {
    if (is_closed(inner) && !is_leaf_of(inner, 'U')) return reduce(std::move(inner));
    Value line = from_i64(span_of(left(backquoted)));
    Value text = zits_make(print_value(right(backquoted)).view());
    return apply(leaf("U"), std::move(line), zits_make(name), std::move(text), std::move(inner));
}

bool is_backquoted(Node* pair) { return is_leaf_of(left(pair), '`'); }

struct RightFirst {
    template <class See>
    static void from_the_back(Node* pair, See see) {
        see(left(pair));
        see(right(pair));
    }
};

struct Unquoting {
    struct Image {
        Value value;
        bool plain;  // no backquote was in it
    };
    std::string_view name;
    Shared shared;
    std::vector<Image> images;
    std::unordered_map<Node*, Value> known;  // images of plain Pairs that are held more than once

    bool may_come_again(Node* node) const { return shared == Shared::kept && count_of(node) > 1; }

    /// Whether the parts are due.
    bool begin(Node* node) {
        if (is_leaf(node)) {
            images.push_back({Value::share(node), true});
            return false;
        }
        if (!may_come_again(node)) return true;
        const auto image = known.find(node);
        if (image == known.end()) return true;
        images.push_back({image->second, true});
        return false;
    }

    Image take_image() {
        Image image = std::move(images.back());
        images.pop_back();
        return image;
    }

    void end(Node* node) {
        Image image = take_image();
        Image argument = take_image();
        if (is_backquoted(node)) {
            images.push_back({evaluate(name, node, std::move(argument.value)), false});
            return;
        }
        const bool plain = image.plain && argument.plain;
        Value made = pair(std::move(image.value), std::move(argument.value));
        if (plain && may_come_again(node)) known.emplace(node, made);
        images.push_back({std::move(made), plain});
    }
};

}  // namespace

Value unquote(std::string_view name, Node* definition, Shared shared) {
    const Value held = Value::share(definition);  // an evaluation may replace the definition
    Unquoting work{name, shared, {}, {}};
    walk_both_ways<RightFirst>(
        definition, [&](Node* node) { return work.begin(node); },
        [&](Node* node) { work.end(node); });
    return work.take_image().value;
}

}  // namespace marl
