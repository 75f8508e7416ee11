// Changes to the tables of the program: definitions come and go, and take their code with them.
#pragma once

#include "reduce/definition_list.h"

namespace marl {

/// Sets the definition of a name. The old one is released.
void set_definition(Symbol& symbol, Value expression);
void set_definition(std::string_view name, Value expression);
/// Puts an expression that equals the definition in its place.
void replace_definition(Symbol& symbol, Value equal);
/// Takes the definition of a name away.
void erase_definition(Symbol& symbol);

/// Forgets every definition and every unmemoised mark. Nothing but the names stays.
void clear_definitions();

/// While the backquotes of a text are evaluated, its definitions change once more, and what code
/// takes for settled is not. Code that is made meanwhile is made anew behind each change; code that
/// was there before, and may wait, looks names up at each use (`definitions_change`).
class DefinitionsChange {
  public:
    DefinitionsChange();
    DefinitionsChange(const DefinitionsChange&) = delete;
    DefinitionsChange& operator=(const DefinitionsChange&) = delete;
    ~DefinitionsChange();
    /// A definition has changed, and no code waits that has been made since the begin.
    void changed();

  private:
    std::vector<const Symbol*> coded_before_;
    size_t lost_before_;
    bool changed_before_;
};

/// Whether any code has been made.
bool has_code();
/// Frees all code. Nothing may be left that is a closure, or waits in a frame.
void forget_code();
/// Takes all code out of use and drops what it holds. No frame may wait any more; closures may be
/// left, and can still become nodes.
void retire_code();

/// Defines all built-ins, each as its arity says.
void set_builtin_definitions(std::vector<Value> by_arity);

/// A copy of the definitions as the prelude left them, until the program check has restored from it
/// what it needs.
extern DefinitionList prelude_definitions;

}  // namespace marl
