// Nothing here is analysed: marks and sizes stand in it that are no names.
//
// The levels are those of the grammar. The operand of an operator is put into parentheses where its
// own level binds no tighter, on the side to which the operator doesn't fold.
#include "lab/infix.h"

#include <string_view>
#include <utility>
#include <vector>

#include "reduce/analysis.h"

namespace marl::lab {

namespace {

constexpr int level_of_lambda = 1;
constexpr int level_of_atom = 12;

struct Operation {
    std::string_view name;     // of the operator
    std::string_view builtin;  // that it names; empty for none
    int level;
    bool folds_right;
};

constexpr Operation operations[] = {
    {";", "", 1, true},      {"?", "", 2, false},     {"&", "", 3, true},
    {"|", "", 3, true},      {"=", "same", 4, true},  {"<", "less", 4, true},
    {">", "gteq", 4, true},  {"#", "diff", 4, true},  {"@", "", 5, false},
    {"+", "plus", 6, true},  {"-", "dash", 6, true},  {":", "", 6, true},
    {".", "", 6, true},      {"*", "mult", 7, false}, {"/", "over", 7, false},
    {"%", "cent", 7, false}, {"'", "", 7, false},     {"^", "powa", 8, true},
};

const Operation* operation_of(Node* head) {
    if (!is_leaf(head)) return nullptr;
    const std::string_view name = leaf_bytes(head);
    for (const Operation& operation : operations) {
        if (name == operation.name || name == operation.builtin) return &operation;
    }
    return nullptr;
}

struct Written {
    std::string text;
    int level;
};

Written write(Node* node);

std::string within(Node* node, int level) {
    Written part = write(node);
    return part.level < level ? '(' + part.text + ')' : std::move(part.text);
}

Written write_call(Node* node) {
    std::vector<Node*> arguments;
    for (; !is_leaf(node) && !is_zits_analysed(node) && form(node) == Form::other;
         node = left(node)) {
        arguments.insert(arguments.begin(), right(node));
    }
    const Operation* operation = operation_of(node);
    if (operation && arguments.size() == 2) {
        const int level = operation->level;
        std::string text = within(arguments[0], level + (operation->folds_right ? 1 : 0));
        text += operation->name;
        text += within(arguments[1], level + (operation->folds_right ? 0 : 1));
        return {std::move(text), level};
    }
    if (is_leaf_of(node, '!') && arguments.size() == 1) {
        return {'!' + within(arguments[0], level_of_atom), 10};
    }
    std::string text = within(node, level_of_atom) + '(';
    for (Node* argument : arguments) {
        if (text.back() != '(') text += ',';
        text += write(argument).text;
    }
    return {text + ')', level_of_atom};
}

// A shortened expression is not deep.
Written write(Node* node) {
    if (is_leaf(node) || is_zits_analysed(node)) {
        return {std::string(print_value(node).view()), level_of_atom};
    }
    switch (form(node)) {
        case Form::lambda:
            return {
                std::string(leaf_bytes(lambda_key(node))) + '\\' + write(lambda_body(node)).text,
                level_of_lambda};
        case Form::let:
            return {std::string(leaf_bytes(let_key(node))) + '{' + write(let_value(node)).text +
                        '}' + write(let_body(node)).text,
                    level_of_lambda};
        case Form::other: break;
    }
    return write_call(node);
}

}  // namespace

std::string infix_text(Node* expression, const Room& room) {
    return write(shortened(expression, room)).text;
}

MarkedText infix_state(Node* context, Node* focus, const Room& room) {
    constexpr std::string_view mark = "\x01";
    Value whole = leaf(mark);
    int64_t frames = 0;
    for (; !is_leaf(context) && frames < room.frames; ++frames, context = right(left(context))) {
        Node* function = right(context);
        const bool holds_back = !is_leaf(function) && is_leaf_of(left(function), 'T');
        Value part =
            shortened(holds_back ? right(function) : function, {room.nodes / 2, room.frames});
        whole = holds_back ? pair(std::move(whole), std::move(part))
                           : pair(std::move(part), std::move(whole));
    }
    MarkedText marked{write(whole).text, 0, 0};
    if (!is_leaf(context)) marked.text = "... " + marked.text;
    marked.begin = marked.text.find(mark);
    const Written written = write(shortened(focus, room));
    std::string inner = written.text;
    if (marked.text != mark) {
        const bool is_argument = marked.begin + 1 < marked.text.size() &&
                                 marked.text[marked.begin + 1] == ')' &&
                                 marked.text[marked.begin - 1] == '(';
        if (!is_argument && written.level < level_of_atom) inner = '(' + inner + ')';
    }
    marked.text.replace(marked.begin, mark.size(), inner);
    marked.end = marked.begin + inner.size();
    return marked;
}

}  // namespace marl::lab
