// A session: one program from its text to its end.
//
// The program itself is no structure but the contents of the tables, so a process has one session
// at a time. Another one may begin when it has ended, and finds nothing of it but what the program
// did to the process. A Session is what whoever runs the program holds beside the tables; its
// `report` is of kind "check" for as long as all is well, and a step that is taken when it isn't
// does nothing.
#pragma once

#include <cstdint>

#include "driver/report.h"
#include "front/stages.h"
#include "text/string.h"
#include "value/value.h"

namespace marl {

struct Session {
    Report report;
    Module module;  // what is loaded and not checked yet
    Value result;   // what the program has come to; null before, and after a cycle or an abort
};

/// Each of the steps says whether all is well behind it.

/// Begins a session with the prelude and a source: its brackets are checked, and it is parsed.
bool load_session(Session& session, String source);

/// Takes the program through the other checks; the tables hold it then. No todo action runs but in
/// what a backquote evaluates.
bool check_session(Session& session);

/// Both.
bool open_session(Session& session, String source);

/// Reduces the entry expression applied to `arguments`, the address of the argument array. From
/// here on todo actions are armed. A cycle and an abort Value are faults.
bool run_session(Session& session, int64_t arguments);

/// Reduces the entry expression by itself, with whatever result.
bool evaluate_session(Session& session);

/// What `marl` asks of a result: that it is an integer. It takes the place of the entry expression.
bool require_integer(Session& session);

/// The low 32 bits of an integer that the program has come to.
uint32_t status_of_session(const Session& session);

/// Ends the session, and empties the tables. What the program has left in its definitions runs its
/// todo actions, unless a fault has ended it or it has not run. The Session is as a new one then.
void end_session(Session& session);

}  // namespace marl
