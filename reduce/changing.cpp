// A definition that is a backquote behind its parameters is the only one that may get more of them.
#include "reduce/changing.h"

#include "reduce/analysis.h"
#include "reduce/calm.h"
#include "reduce/tables.h"
#include "value/walk.h"

namespace marl {

bool definitions_change = false;

namespace {

/// Whether a name is of a definition that a backquote says all of, behind its parameters.
bool may_get_parameters(Node* name) {
    Node* body = symbol_of_leaf(name).definition;
    while (body && form(body) == Form::lambda) body = lambda_body(body);
    return body && !is_leaf(body) && is_leaf_of(left(body), '`');
}

}  // namespace

bool may_analyse(Node* node) {
    if (!definitions_change) return true;
    return walk(node, [](Node* part) {
        if (is_analysed(part)) return Go::past;
        return names_definition(part) && may_get_parameters(part) ? Go::out : Go::in;
    });
}

}  // namespace marl
