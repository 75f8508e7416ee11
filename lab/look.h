// Where warnings are looked for, and what the looking needs.
//
// A warning is a row of a table: a name, what is told of it, and the function that looks for it.
// Each family of them has a file that ends in its rows. A function looks at what it wants to: the
// whole program, its pieces, the pieces that are worth a look inside, or all nodes of those.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lab/infer.h"
#include "lab/program.h"
#include "lab/reach.h"
#include "lab/walk.h"

namespace marl::lab {

struct Look {
    const Program& program;
    const Reach& reach;
    bool has_faults;
    std::vector<const Piece*> pieces;  // all that are not damaged
    std::vector<const Piece*> sound;   // of those, the entry and definitions without a fault
    std::vector<Node*> nodes;          // of the sound ones' expressions, parents before children
    Sorts sorts;                       // of the nodes
    std::vector<Message>& messages;
    std::string_view name = {};  // of the warning that is looked for

    void warn(Range range, std::string say) const;
};

struct Warning {
    std::string_view name;
    std::string_view about;     // a sentence, and then what else there is to know
    void (*look)(const Look&);  // null for one that is found with the faults
};

std::span<const Warning> call_warnings();
std::span<const Warning> expression_warnings();
std::span<const Warning> flow_warnings();
std::span<const Warning> name_warnings();
std::span<const Warning> piece_warnings();
std::span<const Warning> text_warnings();
std::span<const Warning> value_warnings();

/// A node as it is written, parentheses around it included, on one line.
std::string written(const Look& look, Node* node);
/// The same, if it is short enough to be shown in a sentence; else three dots.
std::string brief(const Look& look, Node* node);

/// Where an expression stands that a message is about, and how it is written there: without
/// parentheses around it.
Range place_of(const Look& look, Node* node);
std::string shown(const Look& look, Node* node);

/// A call of a definition, built-in or operator, by its name and with the arguments that stand
/// behind it.
struct Call {
    Node* name;
    int arity;
    std::vector<Node*> arguments;
};
/// What a node is a call of; arity is -1 when it is none.
Call call_of(const Look& look, Node* node);
/// Whether a node is such a call, with an argument or more, but not all.
bool is_partial(const Look& look, Node* node);

bool is_word_text(std::string_view text);

constexpr std::string_view arithmetic = "+-*/%^";

}  // namespace marl::lab
