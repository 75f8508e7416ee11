// The stages of the check that a whole program and a text loaded into a running one have in common.
//
// What is checked together is a module. Until `publish` its definitions are nowhere else, or count
// for nothing elsewhere. From then on the program's tables hold them, all but the entry expression,
// and the module has what was stored last: an evaluation may have replaced a constant meanwhile.
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <span>
#include <vector>

#include "driver/report.h"
#include "front/names.h"
#include "text/string.h"
#include "value/value.h"

namespace marl {

struct Module {
    String text;                          // of what is loaded
    bool is_loaded = false;               // into a running program, where some sentences differ
    std::map<String, Value> definitions;  // the entry expression under the empty name
    std::set<String> unmemoised;          // constants that are evaluated anew at each use
    References references;                // of the definitions
    std::vector<Value> interned;
    size_t members_before = 0;  // of the intern set, when `interned` began
};

/// Goes over all definitions in key order, the entry expression first. Gives kind "check" when the
/// next stage may go on, or the first fault.
using Stage = Report (*)(Module& module);

/// Takes the module through the stages up to the first fault. The caller sees to it that no todo is
/// armed, also at the module's end.
Report run_stages(Module& module, std::span<const Stage> stages);

Report expand_patterns(Module& module);
Report refuse_funky_keys(Module& module);
Report gather_references(Module& module);
/// What the entry expression reaches must be defined.
Report refuse_dangling_names(Module& module);
/// Tells the machine what names the definitions have in them.
Report note_names(Module& module);
Report give_places(Module& module);
Report refuse_excess_parameters(Module& module);
Report publish(Module& module);
Report evaluate_backquotes(Module& module);
Report intern_definitions(Module& module);
Report refuse_unbound_locals(Module& module);

}  // namespace marl
