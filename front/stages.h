// The stages of the check that a whole program and a text loaded into a running one have in common.
//
// What is checked together is a module. Until `publish` its definitions are nowhere else. From then
// on the program's tables hold them, all but the entry expression, and the module has what was
// stored last: an evaluation may have replaced a constant meanwhile.
#pragma once

#include <cstddef>
#include <set>
#include <span>
#include <string_view>
#include <vector>

#include "driver/report.h"
#include "front/fault.h"
#include "front/names.h"
#include "reduce/definition_list.h"
#include "text/string.h"
#include "value/value.h"

namespace marl {

enum class ModuleKind { prelude, program, loaded };  // into a running program

struct Module {
    String text;  // until it is cut
    ModuleKind kind = ModuleKind::program;
    bool all_faults = false;    // else the first one ends the check
    std::vector<Fault> faults;  // in the order in which they were found
    DefinitionList definitions;
    bool has_backquotes = false;  // in the text
    bool shares_parts = false;    // its text is parsed into the intern set
    // If so: the definitions that may have other keys than letters, or other parts than members.
    std::set<Symbol*, ByName> loose;
    std::set<Symbol*> unmemoised;             // constants that are evaluated anew at each use
    std::vector<String> roots = {String()};   // the keys of what is alive in any case: the entry's
    const DefinitionList* prelude = nullptr;  // what is defined anyway; null: nothing
    References references;                    // of the definitions
    std::vector<Value> interned;
    size_t members_before = 0;  // of the intern set, when `interned` began
    Symbols alive;              // with `all_faults`, what the roots reach
};

/// Tells of a fault; whether to go on and look for more.
bool goes_on_behind(Module& module, Fault fault);

/// Goes over all definitions in key order, the entry expression first. What it finds at fault goes
/// to the module's faults.
using Stage = void (*)(Module& module);

/// Takes the module through the stages: up to the first fault, which the Report tells then, or
/// through all of them. The caller sees to it that no todo is armed, also at the module's end.
Report run_stages(Module& module, std::span<const Stage> stages);

/// The brackets of the text and its commas.
void check_text(Module& module);
/// Whether no program of this source can tell that equal parts of it are one node from the start.
bool may_share_parts(std::string_view source);
/// Cuts the text into its pieces and adds what they define. Whoever has cut it adds piece by piece.
void cut_text(Module& module);
/// Adds what a parsed piece defines, if it is no note; the piece at position 0 is the entry.
/// Whether to go on.
bool add_piece(Module& module, Node* piece, size_t position);
/// Defines `_`, whatever the module has for it.
void add_records(Module& module);
/// Adds the definitions of the prelude that the module doesn't replace.
void add_prelude(Module& module);
void expand_patterns(Module& module);
void refuse_funky_keys(Module& module);
void gather_references(Module& module);
/// What the roots reach must be defined. With `all_faults` each undefined name is told
/// that stands in a definition.
void refuse_dangling_names(Module& module);
/// What the roots don't reach and can't work goes. A definition of the prelude comes
/// back in the place of such a one.
void remove_doomed(Module& module);
/// What is both free and local in a definition, found in its names as they are written.
void refuse_captured_names(Module& module);
/// Tells the machine what names the definitions have in them.
void note_names(Module& module);
/// With `all_faults` the names stay as they are written.
void give_places(Module& module);
void refuse_excess_parameters(Module& module);
void publish(Module& module);
void evaluate_backquotes(Module& module);
void intern_definitions(Module& module);
void refuse_unbound_locals(Module& module);

}  // namespace marl
