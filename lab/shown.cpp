// A value is walked as far as there is room for it. What is beyond is counted up to a limit, and a
// Leaf with the count takes its place.
#include "lab/shown.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "reduce/plain.h"

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
            const int64_t count = std::min<int64_t>(span_of(node), limit - size + 1);
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

Value mark_for(Node* expression, LeftOut* left_out) {
    if (left_out) left_out->push_back(printed(expression));
    return leaf(counted(size_of(expression, most_counted), "node"));
}

void leave_out(LeftOut* left_out, std::string_view text) {
    if (left_out) left_out->emplace_back(text);
}

/// The beginning of a text in brackets, its brackets closed again.
std::string bracket_text(std::string_view text, LeftOut* left_out) {
    std::string shown;
    int depth = 0;
    for (const char c : text.substr(0, most_text)) {
        shown += c;
        if (c == '[') ++depth;
        if (c == ']') --depth;
    }
    const auto closers = static_cast<size_t>(std::max(depth, 0));
    leave_out(left_out, text.substr(most_text, text.size() - most_text - closers));
    shown += "..<" + std::to_string(text.size()) + " bytes>";
    return shown.append(closers, ']');
}

Value shortened_leaf(Node* node, const Room& room, LeftOut* left_out) {
    constexpr size_t shown_bytes = 12;
    const std::string_view text = leaf_bytes(node);
    if (is_cray(node)) {
        if (size_of(node, room.nodes) <= room.nodes) return Value::share(node);
        if (left_out) left_out->push_back(printed(node));
        return leaf("cray<" + std::to_string(span_of(node)) + " elements>");
    }
    const bool fits = static_cast<int64_t>(text.size()) <= most_text;
    if (fits || room.nodes == unlimited.nodes || is_leaf_of(node, ' ')) return Value::share(node);
    if (is_leaf_of(node, '[')) return leaf(bracket_text(text, left_out));
    if (is_leaf_of(node, '(')) {
        if (left_out) left_out->push_back(printed(node));
        return leaf("cape<" + std::to_string(post_extent(node).length) + " bytes>");
    }
    const char* unit = is_digit_byte(first_byte(node)) ? " digits>" : " bytes>";
    leave_out(left_out, text.substr(shown_bytes));
    return leaf(std::string(text.substr(0, shown_bytes)) + "..<" + std::to_string(text.size()) +
                unit);
}

}  // namespace

Value shortened(Node* expression, const Room& room, LeftOut* left_out) {
    // No deeper than there is room: each level takes a node of it.
    if (is_leaf(expression)) return shortened_leaf(expression, room, left_out);
    if (room.nodes == unlimited.nodes) return Value::share(expression);
    if (room.nodes < 6) return mark_for(expression, left_out);
    const int64_t rest = room.nodes - 1;
    const int64_t half = rest / 2;
    const int64_t of_left = size_of(left(expression), rest);
    const int64_t of_right = size_of(right(expression), rest);
    // Who needs less than half leaves its rest to the other.
    const int64_t for_left = of_right < half ? rest - of_right : half;
    const int64_t for_right = of_left < half ? rest - of_left : half;
    Value a = shortened(left(expression), {for_left, room.frames}, left_out);
    Value b = shortened(right(expression), {for_right, room.frames}, left_out);
    if (a.get() == left(expression) && b.get() == right(expression)) {
        return Value::share(expression);
    }
    return pair(std::move(a), std::move(b));
}

Value shortened_context(Node* context, int64_t frames, const Room& room, LeftOut* left_out) {
    if (room.frames == unlimited.frames) return Value::share(context);
    std::vector<Node*> kept;
    for (; !is_leaf(context) && static_cast<int64_t>(kept.size()) < room.frames; --frames) {
        kept.push_back(context);
        context = top_frame(context).below;
    }
    if (left_out && !is_leaf(context)) left_out->push_back(printed(context));
    Value result = is_leaf(context) ? Value::share(context) : leaf(counted(frames, "frame"));
    for (auto frame = kept.rbegin(); frame != kept.rend(); ++frame) {
        Value b = Value::share(left(left(*frame)));
        Value f = shortened(right(*frame), {room.nodes / 2, room.frames}, left_out);
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
