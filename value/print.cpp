// The printed form of a Value: as few parentheses and blanks as hold it apart.
//
// How a Pair prints follows from little of its children's texts: how they begin and end, and
// whether they are of one class of bytes. So there are two passes and no text is ever copied: the
// first goes through the tree in post-order with such summaries, decides on the layout of each Pair
// and adds up the length; the second goes through it the other way round, last node first, takes
// the layouts off the end of the list, and fills the text from its end.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "value/value.h"

namespace marl {

namespace {

enum class Class : uint8_t { mark, letter, digit };

Class class_of(uint8_t byte) {
    if (is_digit_byte(byte)) return Class::digit;
    return byte == '_' || (byte >= 'a' && byte <= 'z') ? Class::letter : Class::mark;
}

/// What the layout of a Pair depends on in the text of a child.
struct Summary {
    char first;
    char last;
    bool is_long : 1;   // more than one byte
    bool mixed : 1;     // from the second byte on, a mark or a byte of another class than the first
    bool is_group : 1;  // one bracket group from the first byte to the last
    bool is_call : 1;   // in parentheses that hold something
};

constexpr Summary call_summary{
    .first = '(', .last = ')', .is_long = true, .mixed = true, .is_group = false, .is_call = true};

enum class Layout : uint8_t {
    joined,    // A B
    call,      // (A B)
    extended,  // A is a call: its parenthesis moves behind B
};

bool would_run_together(const Summary& a, const Summary& b) {
    const Class of_b = class_of(static_cast<uint8_t>(b.first));
    const Class of_a = class_of(static_cast<uint8_t>(a.last));
    // A digit can follow a letter, also at its end, but a letter can't follow "_" or a letter.
    return of_b != Class::mark && of_a == of_b;
}

Layout layout_of(const Summary& a, const Summary& b) {
    if (a.is_call) return Layout::extended;
    if (b.is_group) return Layout::joined;
    if (b.is_long && b.mixed) return Layout::call;
    return would_run_together(a, b) ? Layout::call : Layout::joined;
}

Summary joined_summary(const Summary& a, const Summary& b) {
    const Class of_b = class_of(static_cast<uint8_t>(b.first));
    const bool other = of_b == Class::mark || of_b != class_of(static_cast<uint8_t>(a.first));
    return {.first = a.first,
            .last = b.last,
            .is_long = true,
            .mixed = a.mixed || b.mixed || other,
            .is_group = false,
            .is_call = false};
}

/// How many bytes a layout adds to what its parts have. The call that is extended has its own.
int64_t added_length(Layout layout) {
    switch (layout) {
        case Layout::call: return 3;
        case Layout::extended: return 1;
        default: return 0;
    }
}

std::string real_form(Node* real) {
    double number;
    memcpy(&number, leaf_text(real) + 1, sizeof number);
    char text[99];
    snprintf(text, sizeof text, "real[%e]", number);
    return text;
}

std::string post_form(Node* post) {
    const PostExtent extent = post_extent(post);
    const std::string_view bytes(leaf_text(post) + extent.offset,
                                 static_cast<size_t>(extent.length));
    std::string text = "cape[";
    for (const char byte : bytes) {
        switch (byte) {
            case '\n': text += "[p]"; break;
            case '[': text += "[q]"; break;
            case ']': text += "[r]"; break;
            default: text += byte;
        }
    }
    text += ']';
    return text;
}

/// The text of a Leaf without elements, in `made` or in the Leaf itself. An empty slot is null.
std::string_view leaf_form(Node* leaf, std::string& made) {
    if (!leaf) return "Z";
    switch (*leaf_text(leaf)) {
        case '\0':
        case ')':
        case ']': return "()";
        case '\n': return "cray";
        case ' ': return made = real_form(leaf);
        case '(': return made = post_form(leaf);
        default: return leaf_bytes(leaf);
    }
}

bool is_mixed(std::string_view text) {
    const Class first = class_of(static_cast<uint8_t>(text[0]));
    for (const char byte : text.substr(1)) {
        const Class other = class_of(static_cast<uint8_t>(byte));
        if (other == Class::mark || other != first) return true;
    }
    return false;
}

Summary summarise(std::string_view text) {
    return {.first = text.front(),
            .last = text.back(),
            .is_long = text.size() > 1,
            .mixed = is_mixed(text),
            .is_group = text.front() == '[',  // a zits Leaf: its brackets balance
            .is_call = false};
}

bool has_elements(Node* node) { return node && is_leaf_of(node, '\n') && span_of(node) > 0; }

bool is_inner(Node* node) { return node && (!is_leaf(node) || has_elements(node)); }

/// What the first pass finds: the layouts of the Pairs in post-order, and the length of the text.
struct Plan {
    std::vector<Layout> layouts;
    int64_t length = 0;
};

/// A Pair or cray whose children the first pass is going through.
struct Planned {
    Node* node;
    uint32_t child;  // 0 for left and 1 for right, or the index of the element
    Summary left;    // once it is known
};

/// Goes on to the next child; false when there is none. An empty slot gives null.
bool next_child(Planned& parent, const Summary& done, Node*& child) {
    ++parent.child;
    if (is_leaf(parent.node)) {
        if (parent.child == span_of(parent.node)) return false;
        child = cray_slot(parent.node, parent.child);
        return true;
    }
    if (parent.child > 1) return false;
    parent.left = done;
    child = right(parent.node);
    return true;
}

Summary finish(const Planned& parent, const Summary& last, Plan& plan) {
    if (is_leaf(parent.node)) {
        // "cray", and "(/ ", a blank and ")" for each element.
        plan.length += 4 + int64_t{5} * span_of(parent.node);
        return call_summary;
    }
    const Layout layout = layout_of(parent.left, last);
    plan.layouts.push_back(layout);
    plan.length += added_length(layout);
    return layout == Layout::joined ? joined_summary(parent.left, last) : call_summary;
}

Plan make_plan(Node* node) {
    Plan plan;
    std::vector<Planned> open;
    std::string made;
    for (;;) {
        while (is_inner(node)) {
            open.push_back({node, 0, {}});
            node = is_leaf(node) ? cray_slot(node, 0) : left(node);
        }
        const std::string_view text = leaf_form(node, made);
        plan.length += static_cast<int64_t>(text.size());
        Summary done = summarise(text);
        while (!open.empty() && !next_child(open.back(), done, node)) {
            done = finish(open.back(), done, plan);
            open.pop_back();
        }
        if (open.empty()) return plan;
    }
}

/// A Pair or cray whose children the second pass is going through, the last one first.
struct Written {
    Node* node;
    uint32_t rest;  // children, or elements, that are still to be written
    Layout layout;
};

/// Fills a text from its end.
class Writer {
  public:
    Writer(char* end, std::vector<Layout> layouts, const Node* pair = nullptr)
        : at_(end), layouts_(std::move(layouts)), pair_(pair) {}

    /// Where the right child of the pair begins.
    const char* place() const { return place_; }

    void write(Node* node) {
        std::string made;
        bool extended = false;  // the node's last parenthesis stands further behind
        for (;;) {
            for (; is_inner(node); extended = false) node = enter(node, extended);
            put(leaf_form(node, made));
            while (!open_.empty() && open_.back().rest == 0) leave();
            if (open_.empty()) return;
            node = next(extended);
        }
    }

  private:
    void put(char byte) { *--at_ = byte; }
    void put(std::string_view text) {
        at_ -= text.size();
        memcpy(at_, text.data(), text.size());
    }

    /// Begins a Pair or cray; gives its last child.
    Node* enter(Node* node, bool extended) {
        Layout layout = Layout::call;
        uint32_t last = 1;
        if (is_leaf(node)) {
            last = span_of(node) - 1;
        } else {
            layout = layouts_.back();
            layouts_.pop_back();
        }
        if (layout != Layout::joined && !extended) put(')');
        open_.push_back({node, last, layout});
        return is_leaf(node) ? cray_slot(node, last) : right(node);
    }

    /// Goes on to the next child of the node on top.
    Node* next(bool& extended) {
        Written& top = open_.back();
        --top.rest;
        if (top.node == pair_) place_ = at_;
        if (is_leaf(top.node)) {
            put(") ");
            return cray_slot(top.node, top.rest);
        }
        if (top.layout != Layout::joined) put(' ');
        extended = top.layout == Layout::extended;
        Node* child = left(top.node);
        if (top.layout != Layout::call) open_.pop_back();  // nothing stands in front of it
        return child;
    }

    /// Ends the node on top.
    void leave() {
        Node* node = open_.back().node;
        open_.pop_back();
        if (!is_leaf(node)) {
            put('(');
            return;
        }
        put("cray ");
        for (uint32_t i = 0; i < span_of(node); ++i) put("(/ ");
    }

    char* at_;
    std::vector<Layout> layouts_;
    std::vector<Written> open_;
    const Node* pair_;
    const char* place_ = nullptr;
};

}  // namespace

String print_value(Node* node, const Node* pair, size_t& place) {
    Plan plan = make_plan(node);
    String text = String::with_size(plan.length);
    char* const begin = text.mutable_data();
    Writer writer(begin + plan.length, std::move(plan.layouts), pair);
    writer.write(node);
    if (writer.place()) place = static_cast<size_t>(writer.place() - begin);
    return text;
}

String print_value(Node* node) {
    size_t nowhere = 0;
    return print_value(node, nullptr, nowhere);
}

}  // namespace marl
