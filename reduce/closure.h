// Closures: a part of a body together with what it captures.
#pragma once

#include "reduce/analysis.h"
#include "reduce/code.h"

namespace marl {

/// Whether nothing is left to do in a Word: a node that is settled, a number, a real, or a lambda.
inline bool is_settled(Word word) {
    if (is_node(word)) return settled(node_of(word));
    return !is_closure(word) || kind_of(closure_of(word)) != ClosureKind::work;
}

/// The closure of a part, its Words not set but where it captures none.
Closure* new_closure(Code& part);

/// The rest of `finish_closure`, for a part that is to be built at once or applies what it
/// captures.
Word hoist_applied(Closure* closure);

/// The Word of a closure whose Words are set. Where it applies one of them to too few arguments the
/// closure is of another part, which captures that application: it is one node for all calls.
inline Word finish_closure(Closure* closure) {
    const Code& part = *closure->code;
    return part.applied.empty() && !part.is_copied ? word_of(closure) : hoist_applied(closure);
}

/// What a construction makes of the Words that it captures, which are consumed: a node when they
/// are settled, else its closure.
Word construct(Code& part, Word* captured);

/// Takes what a closure captures into `to`, in order, and gives the closure up.
void open_closure(Closure* closure, Word* to);

/// A closure of several parameters applied to one settled argument. Consumes both.
Word apply_partly(Closure* closure, Word argument);

/// The code of a lambda that is a node, by the closure that stands for its body; null when it has
/// none, and substitution is due.
inline Closure* body_closure(Node* lambda) {
    const Word body = as_pair(lambda)->right;
    return is_closure(body) ? closure_of(body) : nullptr;
}

/// Gives code to the closed lambdas that stand as arguments in an expression of the program, and to
/// itself when it is one. The Codes are added to `owner`, and the expression must outlive them.
void give_code_to_lambdas(Node* expression, std::vector<std::unique_ptr<Code>>& owner);

/// Makes Words of the numbers that stand as right children in data, as far as it is not too large.
/// Their nodes go to `held`: somebody may be looking at one. Not for a program that keeps identity.
void take_numbers_from_nodes(Node* data, std::vector<Word>& held);

/// Takes the code away again from the lambda that a part is. What asks for its body finds a node.
void take_code_away(Code& part);

/// Puts nodes in the place of all closures in an expression.
void make_all_nodes(Node* expression);

/// Makes a piece of a frame's registers, which are left as they are.
Word make_piece(const Piece& piece, Word* frame);

}  // namespace marl
