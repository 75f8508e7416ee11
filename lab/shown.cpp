// A value is walked as far as there is room for it. What is beyond is counted up to a limit, and a
// Leaf with the count takes its place.
#include "lab/shown.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace marl::lab {

namespace {

constexpr int64_t most_counted = 9999;
constexpr int64_t most_text = 40;

std::string printed(Node* node) { return std::string(print_value(node).view()); }

bool is_cray(Node* node) { return is_leaf_of(node, '\n'); }

/// How many nodes an expression prints, `limit` + 1 for more than that many.
int64_t size_of(Node* expression, int64_t limit) {
    int64_t size = 0;
    std::vector<Node*> rest{expression};
    while (!rest.empty() && size <= limit) {
        Node* node = rest.back();
        rest.pop_back();
        ++size;
        if (!node) continue;
        if (!is_leaf(node)) {
            rest.push_back(right(node));
            rest.push_back(left(node));
        } else if (is_cray(node)) {
            const int64_t count = std::min<int64_t>(span_of(node), limit + 1 - size);
            for (int64_t i = 0; i < count; ++i) rest.push_back(cray_slot(node, i));
        }
    }
    return size;
}

std::string counted(int64_t count, std::string_view what) {
    const bool more = count > most_counted;
    std::string text = more ? "<over " + std::to_string(most_counted) : "<" + std::to_string(count);
    text.append(" ").append(what);
    return text.append(count == 1 ? ">" : "s>");
}

Value left_out(Node* expression) {
    return leaf(counted(size_of(expression, most_counted), "node"));
}

/// The beginning of a text in brackets, its brackets closed again.
std::string bracket_text(std::string_view text) {
    std::string shown;
    int depth = 0;
    for (const char c : text.substr(0, most_text)) {
        shown += c;
        if (c == '[') ++depth;
        if (c == ']') --depth;
    }
    shown += "..<" + std::to_string(text.size()) + " bytes>";
    return shown.append(static_cast<size_t>(std::max(depth, 0)), ']');
}

Value shortened_leaf(Node* node, const Room& room) {
    const std::string_view text = leaf_bytes(node);
    if (is_cray(node)) {
        if (size_of(node, room.nodes) <= room.nodes) return Value::share(node);
        return leaf("cray<" + std::to_string(span_of(node)) + " elements>");
    }
    const bool fits = static_cast<int64_t>(text.size()) <= most_text;
    if (fits || room.nodes == unlimited.nodes || is_leaf_of(node, ' ')) return Value::share(node);
    if (is_leaf_of(node, '[')) return leaf(bracket_text(text));
    if (is_leaf_of(node, '(')) {
        return leaf("cape<" + std::to_string(post_extent(node).length) + " bytes>");
    }
    const char* unit = is_digit_byte(first_byte(node)) ? " digits>" : " bytes>";
    return leaf(std::string(text.substr(0, 12)) + "..<" + std::to_string(text.size()) + unit);
}

}  // namespace

Value shortened(Node* expression, const Room& room) {
    // No deeper than there is room: each level takes a node of it.
    if (is_leaf(expression)) return shortened_leaf(expression, room);
    if (room.nodes == unlimited.nodes) return Value::share(expression);
    if (room.nodes < 6) return left_out(expression);
    const int64_t rest = room.nodes - 1;
    const int64_t half = rest / 2;
    const int64_t of_left = size_of(left(expression), rest);
    const int64_t of_right = size_of(right(expression), rest);
    // Who needs less than half leaves its rest to the other.
    const int64_t for_left = of_right < half ? rest - of_right : half;
    const int64_t for_right = of_left < half ? rest - of_left : half;
    Value a = shortened(left(expression), {for_left, room.frames});
    Value b = shortened(right(expression), {for_right, room.frames});
    if (a.get() == left(expression) && b.get() == right(expression)) {
        return Value::share(expression);
    }
    return pair(std::move(a), std::move(b));
}

Value shortened_context(Node* context, int64_t frames, const Room& room) {
    if (room.frames == unlimited.frames) return Value::share(context);
    std::vector<Node*> kept;
    for (; !is_leaf(context) && static_cast<int64_t>(kept.size()) < room.frames; --frames) {
        kept.push_back(context);
        context = right(left(context));
    }
    Value result = is_leaf(context) ? Value::share(context) : leaf(counted(frames, "frame"));
    for (auto frame = kept.rbegin(); frame != kept.rend(); ++frame) {
        Value b = Value::share(left(left(*frame)));
        Value f = shortened(right(*frame), {room.nodes / 2, room.frames});
        result = pair(pair(std::move(b), std::move(result)), std::move(f));
    }
    return result;
}

std::string shown(Node* expression, const Room& room) {
    return printed(shortened(expression, room));
}

Tree Trees::tree_of(Node* node) {
    // A shortened expression is not deep.
    if (!is_leaf(node)) {
        for (const auto& [known, id] : seen_) {
            if (known == node) return {id, true, {}, {}};
        }
    }
    const int id = next_++;
    if (is_leaf(node)) return {id, false, printed(node), {}};
    seen_.emplace_back(node, id);
    Tree tree{id, false, {}, {}};
    tree.of.push_back(tree_of(left(node)));
    tree.of.push_back(tree_of(right(node)));
    return tree;
}

}  // namespace marl::lab
