// One walk gives a piece's nodes their sorts. When a result or a parameter grows, the pieces that
// depend on it are walked again; the last walk of each has seen all at their ends.
#include "lab/infer.h"

#include <algorithm>
#include <deque>
#include <set>

#include "front/definitions.h"
#include "front/scopes.h"
#include "lab/signatures.h"
#include "lab/walk.h"
#include "reduce/analysis.h"

namespace marl::lab {

namespace {

constexpr std::string_view infixes = "+-*/%^=#<>";
constexpr std::string_view forward = ":?;',";
constexpr std::string_view backward = ".@";

struct Inference {
    const Program& program;
    bool all_calls;
    Sorts sorts = {};
    std::map<std::string, std::vector<Sort>, std::less<>> parameters = {};
    std::map<std::string, std::set<const Piece*>, std::less<>> users = {};  // of a definition
    std::deque<const Piece*> waiting = {};
    std::map<std::string, std::vector<Sort>, std::less<>> locals = {};  // innermost last
    const Piece* piece = nullptr;                                       // under way
    int depth = 0;
    bool too_deep = false;

    void wait_for(const Piece* one) {
        if (std::find(waiting.begin(), waiting.end(), one) == waiting.end()) waiting.push_back(one);
    }

    // Names.

    void grow_parameter(const Piece& one, size_t i, Sort more) {
        std::vector<Sort>& own = parameters[one.key];
        own.resize(one.parameters.size(), all_calls ? sort::none : sort::any);
        if ((own[i] | more) == own[i]) return;
        own[i] |= more;
        wait_for(&one);
    }

    /// A definition that is handed on can get anything.
    void hand_on(const Piece& one) {
        for (size_t i = 0; i < one.parameters.size(); ++i) grow_parameter(one, i, sort::any);
    }

    Sort of_name(Node* leaf) {
        const std::string key(leaf_bytes(leaf));
        const auto bound = locals.find(key);
        if (bound != locals.end() && !bound->second.empty()) {
            sorts.bound.insert(leaf);
            return bound->second.back();
        }
        if (const Piece* own = definition_of(program, key)) {
            if (!sorts.results.contains(key)) return sort::any;
            users[key].insert(piece);
            if (own->parameters.empty()) return sorts.results[key];
            hand_on(*own);
            return sort::function;
        }
        if (!means_given(program, key)) return sort::any;
        if (const Signature* builtin = signature_of(key)) {
            return builtin->arguments.empty() ? builtin->result : sort::function;
        }
        if (key == "I" || key == "K" || key == "H" || key == "Z") {
            return key == "I" ? sort::unit : key == "Z" ? sort::failure : sort::truth;
        }
        return prelude_program().definitions.contains(key) ? sort::function : sort::any;
    }

    bool is_bound(std::string_view key) const {
        const auto bound = locals.find(key);
        return bound != locals.end() && !bound->second.empty();
    }

    Sort of_leaf(Node* leaf) {
        const std::string_view text = leaf_bytes(leaf);
        if (is_digits(leaf)) return text.starts_with("00") ? sort::numb : sort::number;
        if (first_byte(leaf) == '[') return sort::zits;
        return of_name(leaf);
    }

    // Applications.

    /// What comes of applying one of `head` to arguments, of which each is of one of a sort: a way
    /// through them from the first to behind the last.
    static Sort applied(Sort head, const std::vector<Sort>& arguments) {
        constexpr Sort opaque = sort::function | sort::cells | sort::half | sort::cray | sort::real;
        const size_t end = arguments.size();
        std::vector<Sort> at(end + 1, sort::none);
        at[0] = head;
        for (size_t i = 0; i < end; ++i) {
            const Sort argument = arguments[i];
            const Sort now = at[i];
            if ((now & opaque) != 0) return sort::any;
            if ((now & sort::failure) != 0) at[end] |= sort::failure;
            if ((now & sort::unit) != 0) at[i + 1] |= argument;
            if ((now & sort::truth) != 0 && i + 1 < end) at[i + 2] |= argument | arguments[i + 1];
            if ((now & sort::truth) != 0 && i + 1 == end) at[end] |= sort::half;
            if ((now & sort::zits) != 0 && argument != sort::none) {
                at[i + 1] |= is_surely(argument, sort::zits) ? sort::zits : sort::any;
            }
            const bool is_opened = (now & (sort::hint | sort::numb | sort::post)) != 0;
            if (is_opened) at[i + 1] |= sort::cells;
        }
        return at[end];
    }

    static std::vector<Sort> behind(const std::vector<Sort>& arguments, size_t taken) {
        return {arguments.begin() + static_cast<ptrdiff_t>(taken), arguments.end()};
    }

    Sort of_own_call(const Piece& own, const std::vector<Sort>& arguments) {
        const size_t arity = own.parameters.size();
        if (arguments.size() < arity) {
            hand_on(own);
            return sort::function;
        }
        for (size_t i = 0; i < arity; ++i) grow_parameter(own, i, arguments[i]);
        return applied(sorts.results[own.key], behind(arguments, arity));
    }

    static Sort of_builtin_call(std::string_view name, const Signature& builtin,
                                const std::vector<Sort>& arguments) {
        const size_t arity = builtin.arguments.size();
        if (arguments.size() < arity) return sort::function;
        constexpr std::string_view named[] = {"+plus", "-dash", "*mult", "/over", "%cent",
                                              "^powa", "<less", ">gteq", "=same", "#diff"};
        Sort result = builtin.result == sort::none ? sort::none : builtin.result | sort::failure;
        for (const std::string_view one : named) {
            if (one.substr(1) == name) result = sort_of_infix(one[0], arguments[0], arguments[1]);
        }
        if (name == "wave" || name == "buck") {
            result = sort_of_prefix(name == "wave" ? '~' : '$', arguments[0]);
        }
        return applied(result, behind(arguments, arity));
    }

    /// Of an operator, or a combinator whose result is known; `any` for others.
    static Sort of_given_call(std::string_view name, const std::vector<Sort>& arguments) {
        const size_t count = arguments.size();
        const Sort first = arguments[0];
        if (infixes.find(name) != infixes.npos) {
            if (count < 2) return sort::function;
            return applied(sort_of_infix(name[0], first, arguments[1]), behind(arguments, 2));
        }
        if (name == "~" || name == "$") {
            return applied(sort_of_prefix(name[0], first), behind(arguments, 1));
        }
        const bool decides = first == sort::none || is_surely(first, sort::truth);
        if (name == "!" && decides) return applied(first, behind(arguments, 1));
        if ((name == "&" || name == "|") && count > 1 && decides) {
            return applied(first | arguments[1], behind(arguments, 2));
        }
        if ((name == "J" || name == "V") && count == 2) return sort::cells;
        if (name == "L") return applied(sort::truth, behind(arguments, 1));
        if (name == "I" || name == "K" || name == "H" || name == "Z") {
            const Sort head = name == "I" ? sort::unit : name == "Z" ? sort::failure : sort::truth;
            return applied(head, arguments);
        }
        return sort::any;
    }

    Sort of_call(const Spine& spine, const std::vector<Sort>& arguments) {
        Node* head = spine.head;
        const bool is_name = is_leaf(head) && first_byte(head) != '[' && !is_digits(head);
        if (!is_name) return applied(of(head), arguments);
        const std::string key(leaf_bytes(head));
        if (is_bound(key)) {
            sorts.bound.insert(head);
            return applied(locals[key].back(), arguments);
        }
        if (const Piece* own = definition_of(program, key)) {
            if (!sorts.results.contains(key)) return sort::any;
            users[key].insert(piece);
            return of_own_call(*own, arguments);
        }
        if (!means_given(program, key)) return sort::any;
        const Signature* builtin = signature_of(key);
        return builtin ? of_builtin_call(key, *builtin, arguments) : of_given_call(key, arguments);
    }

    // Binders.

    Sort of_bound(Node* binder, Sort value) {
        const std::vector<Node*> names = bound_names(binder);
        for (Node* name : names) {
            const std::string key(definition_key(leaf_bytes(name)).view());
            locals[key].push_back(names.size() == 1 ? value : sort::any);
        }
        const Sort body = of(binder_body(binder));
        for (Node* name : names) {
            locals[std::string(definition_key(leaf_bytes(name)).view())].pop_back();
        }
        return body;
    }

    Sort of_spine(const Spine& spine, const std::vector<Sort>& arguments) {
        if (arguments.empty()) return of(spine.head);
        if (form(spine.head) != Form::lambda) return of_call(spine, arguments);
        const Sort body = of_bound(spine.head, arguments[0]);
        sorts.nodes[spine.head] = sort::function;
        return applied(body, behind(arguments, 1));
    }

    Sort of_pair(Node* node) {
        Spine spine = spine_of(program, node);
        std::vector<Sort> arguments;
        for (Node* argument : spine.arguments) arguments.push_back(of(argument));
        const Sort found = of_spine(spine, arguments);
        Infix step{};
        if (is_infix(node, ";", step) && arguments.size() > 1 && form(spine.head) != Form::lambda &&
            is_complete(spine)) {
            arguments.pop_back();
            sorts.nodes[step.a] = of_spine(spine, arguments);
        }
        return found;
    }

    /// Whether a call has all its arguments without the last one.
    bool is_complete(const Spine& spine) const {
        if (!is_leaf(spine.head)) return true;
        const int arity = arity_of(program, leaf_bytes(spine.head));
        return arity < static_cast<int>(spine.arguments.size());
    }

    Sort of(Node* node) {
        constexpr int deepest = 600;
        if (depth > deepest) {
            too_deep = true;
            return sort::any;
        }
        ++depth;
        Sort found = sort::any;
        if (is_leaf(node)) {
            found = of_leaf(node);
        } else if (form(node) == Form::lambda) {
            of_bound(node, sort::any);
            found = sort::function;
        } else if (form(node) == Form::let) {
            found = of_bound(node, of(let_value(node)));
        } else {
            found = of_pair(node);
        }
        --depth;
        return sorts.nodes[node] = found;
    }

    /// The body behind a definition's own parameters, with these bound.
    Sort of_body() {
        Node* body = piece->expression;
        std::vector<std::string> bound;
        for (size_t i = 0; i < piece->parameters.size(); ++i, body = lambda_body(body)) {
            const std::string& key = piece->parameters[i];
            const bool is_own = piece->kind == PieceKind::definition && all_calls;
            std::vector<Sort>& own = parameters[piece->key];
            if (is_own) own.resize(piece->parameters.size(), sort::none);
            locals[key].push_back(is_own ? own[i] : sort::any);
            bound.push_back(key);
        }
        const Sort result = of(body);
        for (const std::string& key : bound) locals[key].pop_back();
        return result;
    }

    void run(const std::vector<const Piece*>& pieces) {
        for (const Piece* one : pieces) waiting.push_back(one);
        while (!waiting.empty() && !too_deep) {
            piece = waiting.front();
            waiting.pop_front();
            const Sort result = of_body();
            Sort& known = sorts.results[piece->key];
            if ((known | result) == known) continue;
            known |= result;
            for (const Piece* user : users[piece->key]) wait_for(user);
        }
        if (!too_deep) return;
        sorts.nodes.clear();
        sorts.results.clear();
    }
};

}  // namespace

bool means_given(const Program& program, std::string_view name) {
    return !program.definitions.contains(name) && !program.used_names.contains(std::string(name));
}

const Piece* definition_of(const Program& program, std::string_view name) {
    const auto own = program.definitions.find(name);
    return own == program.definitions.end() ? nullptr : &program.pieces[own->second];
}

int arity_of(const Program& program, std::string_view name) {
    if (const Piece* own = definition_of(program, name)) {
        return static_cast<int>(own->parameters.size());
    }
    if (!means_given(program, name)) return -1;
    if (const auto arity = builtin_arity(name)) return *arity;
    return name.size() == 1 && infixes.find(name) != infixes.npos ? 2 : -1;
}

Spine spine_of(const Program& program, Node* node) {
    Spine spine{node, {}};
    while (!is_leaf(spine.head) && form(spine.head) == Form::other) {
        Infix infix{};
        Node* head = spine.head;
        const bool is_forward = is_infix(head, forward, infix);
        if ((is_forward || is_infix(head, backward, infix)) &&
            means_given(program, std::string_view(&infix.operation, 1))) {
            spine.arguments.push_back(is_forward ? infix.b : infix.a);
            spine.head = is_forward ? infix.a : infix.b;
        } else if (is_leaf_text(left(head), "\"")) {
            spine.head = right(head);
        } else {
            spine.arguments.push_back(right(head));
            spine.head = left(head);
        }
    }
    std::reverse(spine.arguments.begin(), spine.arguments.end());
    return spine;
}

Sorts infer_sorts(const Program& program, const std::vector<const Piece*>& pieces, bool all_calls) {
    Inference inference{program, all_calls};
    for (const Piece* piece : pieces) inference.sorts.results[piece->key] = sort::none;
    inference.run(pieces);
    return std::move(inference.sorts);
}

}  // namespace marl::lab
