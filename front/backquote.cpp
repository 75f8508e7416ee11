// One walk over the definition from the back, with a list of tasks and a stack of the images made
// so far: a Pair is entered, its right part is done, then its left one, and when it comes up again
// its two images are on the stack and it is put together. A backquote is evaluated at that moment,
// so inner ones go before outer ones and right ones before left ones. With `Shared::kept`, a Pair
// that stands in several places and holds no backquote is made once.
#include "front/backquote.h"

#include <unordered_map>
#include <utility>
#include <vector>

#include "number/convert.h"
#include "number/zits.h"
#include "reduce/analysis.h"
#include "reduce/machine.h"

namespace marl {

namespace {

/// The value of a backquoted expression, or the U form. `inner` is the expression with its own
/// backquotes treated.
Value evaluate(const String& name, Node* backquoted, Value inner) {
    if (is_closed(inner) && !is_leaf_of(inner, 'U')) return reduce(std::move(inner));
    Value line = from_i64(span_of(left(backquoted)));
    Value text = zits_make(print_value(right(backquoted)).view());
    return apply(leaf("U"), std::move(line), zits_make(name.view()), std::move(text),
                 std::move(inner));
}

bool is_backquoted(Node* pair) { return is_leaf_of(left(pair), '`'); }

struct Unquoting {
    struct Task {
        Node* node;
        bool children_done;
    };
    struct Image {
        Value value;
        bool plain;  // no backquote was in it
    };
    const String& name;
    Shared shared;
    std::vector<Task> tasks;
    std::vector<Image> images;
    std::unordered_map<Node*, Value> known;  // images of plain Pairs that are held more than once

    bool may_come_again(Node* node) const { return shared == Shared::kept && count_of(node) > 1; }

    void begin(Node* node) {
        if (is_leaf(node)) {
            images.push_back({Value::share(node), true});
            return;
        }
        if (may_come_again(node)) {
            if (const auto image = known.find(node); image != known.end()) {
                images.push_back({image->second, true});
                return;
            }
        }
        // The list is taken from the back: right before left.
        tasks.push_back({node, true});
        if (!is_backquoted(node)) tasks.push_back({left(node), false});
        tasks.push_back({right(node), false});
    }

    Image take_image() {
        Image image = std::move(images.back());
        images.pop_back();
        return image;
    }

    void finish(Node* node) {
        Image image = take_image();
        if (is_backquoted(node)) {
            images.push_back({evaluate(name, node, std::move(image.value)), false});
            return;
        }
        Image argument = take_image();
        const bool plain = image.plain && argument.plain;
        Value made = pair(std::move(image.value), std::move(argument.value));
        if (plain && may_come_again(node)) known.emplace(node, made);
        images.push_back({std::move(made), plain});
    }
};

}  // namespace

Value unquote(const String& name, Node* definition, Shared shared) {
    const Value held = Value::share(definition);  // an evaluation may replace the definition
    Unquoting work{name, shared, {{definition, false}}, {}, {}};
    while (!work.tasks.empty()) {
        const auto [node, children_done] = work.tasks.back();
        work.tasks.pop_back();
        if (children_done) {
            work.finish(node);
        } else {
            work.begin(node);
        }
    }
    return work.take_image().value;
}

}  // namespace marl
