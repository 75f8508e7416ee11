// The program: what the front end and the machine share.
//
// A program is not a structure that is passed around but the contents of these tables. Every name
// that anything has asked about has one Symbol for the life of the process; a name Leaf keeps a
// pointer to it, so that a call reaches the name's definition without a search, also one that a
// later load adds. `definitions` are the symbols that have an expression, in byte order of their
// names; the entry expression of the program stands under the empty name.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "text/string.h"
#include "value/value.h"
#include "value/word.h"

namespace marl {

/// A built-in's implementation. `arguments` are as many as its row says, first to last, each one
/// settled; it may move them out, and what it leaves is released after it. A slot whose node has a
/// count of 1 is held by nobody else. Gives the result, which may be any closed expression.
using BuiltinFunction = Value (*)(Value* arguments);

/// The same for the arguments and the result that nearly every call has, numbers without nodes.
/// Consumes the arguments and gives a settled result; false, and all is as it was, when the
/// BuiltinFunction is due.
using WordFunction = bool (*)(Word* arguments, Word& result);

struct Builtin {
    const char* name;
    uint8_t arity;
    BuiltinFunction function;
    WordFunction on_words = nullptr;
    bool is_nested = false;  // it runs programs itself
};

struct Code;  // reduce/code.h

struct Symbol {
    Symbol();
    ~Symbol();  // reduce/definitions.cpp, where the code is known

    std::string_view name;  // of bytes that stay for the life of the process
    const Builtin* builtin = nullptr;
    Value definition;            // null when the name has none
    int binders = 0;             // of the name around where a walk over scopes stands
    uint32_t search = 0;         // the last one for names that has met it
    uint32_t entry = 0;          // its place in the References that it was entered in last
    int8_t parameters = 0;       // the lambdas at the top of `definition`, 11 for that many or more
    int8_t operation = -1;       // the Op of reduce/code.h that does what the built-in does, or -1
    bool calm = false;           // as reduce/calm.cpp knows it
    bool unmemoised = false;     // a constant that is evaluated anew at each use
    std::unique_ptr<Code> code;  // the code of `definition`, made at the first call; null before
};

/// The one Symbol of a name, made at the first question; that of a built-in knows it, and has its
/// definition.
Symbol& symbol_of(std::string_view name);
/// The Symbol of a name if anything has asked for it or it is a built-in's, else null.
Symbol* find_symbol(std::string_view name);
/// Finds the Symbol of a name Leaf and keeps it in the Leaf.
Symbol& bind_symbol(Node* name_leaf);
/// The Symbol of a name Leaf, kept in the Leaf from the first question on.
inline Symbol& symbol_of_leaf(Node* name_leaf) {
    Symbol* symbol = symbol_slot(name_leaf);
    return symbol ? *symbol : bind_symbol(name_leaf);
}

/// The definition of a name, borrowed; null when it has none.
Node* find_definition(std::string_view name);
/// Calls a function with each Symbol that there is, in the order in which they were made.
void for_each_symbol(const std::function<void(Symbol&)>& see);
/// The symbols that have a definition, in key order, as they stand now; of the built-ins only those
/// that anything has asked for.
std::vector<Symbol*> defined_symbols();
/// The first symbol behind `after` that has a definition, null when there is none; the first of all
/// for null. For a walk that meets what is defined ahead of it meanwhile.
Symbol* next_defined_symbol(const Symbol* after);
/// What the built-ins of each arity are defined as; none before they are defined. A Symbol of one
/// that is made later takes it from here.
extern std::vector<Value> builtin_definitions;
/// Gives the Symbol of a built-in its definition, if there is one yet.
void define_builtin(Symbol& symbol);
/// The rows of all built-ins, in no order; Symbols point at these (library/registry.cpp).
std::span<const std::span<const Builtin>> builtin_families();
/// The built-in table: the same rows, in key order, made at the first question.
std::span<const Builtin> builtin_table();
}  // namespace marl
