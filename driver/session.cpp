// The steps of a session, each of them a step of the front end, the machine or the shutdown between
// the right settings of `todo_armed`: a `todo` acts from the start of the run on, and never in what
// the front end builds and drops.
#include "driver/session.h"

#include <utility>

#include "driver/shutdown.h"
#include "front/check.h"
#include "front/intern.h"
#include "front/prelude.h"
#include "library/convention.h"
#include "number/convert.h"
#include "number/kind.h"
#include "reduce/definitions.h"
#include "reduce/machine.h"
#include "reduce/tables.h"
#include "text/rope.h"
#include "value/todo.h"

namespace marl {

namespace {

Report cycle_report(std::string_view name) {
    Report report;
    report.kind = "cycle";
    report.say = joined({"Cycle detected on function ", name, "."});
    report.vip = clip_text(name, true);
    return report;
}

Report range_report(Node* result) {
    const String shown = print_value(result);
    Report report;
    report.kind = "range";
    report.say =
        joined({"The program must return an integer. Instead we encountered:\n", shown.view()});
    report.tip = clip_text(shown.view(), true);
    return report;
}

/// Drops the program as it stands. Nothing acts.
void forget_program() {
    const TodoArming unarmed(false);
    clear_intern_set();
    prelude_definitions.clear();
    clear_definitions();
}

}  // namespace

bool load_session(Session& session, String source) {
    todo_armed = false;
    program_errno = 0;
    clear_intern_set();
    session.module.shares_parts = may_share_parts(source.view());
    build_prelude(session.module.shares_parts);
    session.report = parse_program(std::move(source), session.module);
    return passed(session.report);
}

bool check_session(Session& session) {
    if (!passed(session.report)) return false;
    session.report = check_program(std::exchange(session.module, {}));
    return passed(session.report);
}

bool open_session(Session& session, String source) {
    return load_session(session, std::move(source)) && check_session(session);
}

bool run_session(Session& session, int64_t arguments) {
    if (!passed(session.report)) return false;
    todo_armed = true;
    Value result = reduce_call(symbol_of(""), from_i64(arguments));
    if (is_leaf_of(result, ')')) {
        session.report = cycle_report(leaf_bytes(result).substr(1));
    } else if (!is_leaf(result) && is_leaf_of(left(result), ']')) {
        session.report = report_parse(text(right(result)));
    } else {
        session.result = std::move(result);
    }
    return passed(session.report);
}

bool evaluate_session(Session& session) {
    if (!passed(session.report)) return false;
    todo_armed = true;
    session.result = reduce(Value::share(find_definition("")));
    return true;
}

bool require_integer(Session& session) {
    if (!passed(session.report)) return false;
    if (kind_of(session.result) != 'i') {
        session.report = range_report(session.result);
        return false;
    }
    set_definition("", session.result);
    return true;
}

uint32_t status_of_session(const Session& session) {
    return static_cast<uint32_t>(to_i64(session.result));
}

void end_session(Session& session) {
    if (passed(session.report) && session.result) {
        session.result = Value();
        shutdown();
    }
    todo_armed = false;
    session = Session();
    forget_program();
}

}  // namespace marl
