// All of it in one process: a run forgets the definitions of the one before.
#include "random/differences.h"

#include "driver/session.h"
#include "driver/shutdown.h"
#include "random/printed.h"
#include "random/rules.h"
#include "reduce/calm.h"
#include "reduce/interrupts.h"
#include "reduce/machine.h"
#include "reduce/needs.h"
#include "reduce/tables.h"
#include "value/todo.h"

namespace marl {

namespace {

void allow_steps() { steps_left = step_limit; }
bool ran_out_of_steps() { return counts_steps && steps_left <= 0; }

/// Who runs a program: the plain machine all of it, the plain machine but for calm calls, or
/// whichever the program asks for.
enum class Way { plain, calm, asked };

std::string name_of(Way way) {
    switch (way) {
        case Way::plain: return "plain";
        case Way::calm: return "calm";
        case Way::asked: return "fast";
    }
    abort();
}

/// Opens the session of a program.
bool open(Session& session, const std::string& source, Way way) {
    allow_steps();
    calls_are_calm = way != Way::plain;
    if (!load_session(session, String(std::string_view(source)))) return false;
    needs_plain_machine |= way != Way::asked;
    return check_session(session);
}

/// What the entry expression prints and comes to.
std::string printed_result() {
    std::string result;
    {
        const TodoArming armed(true);
        const Value value = reduce(pair(Value::share(find_definition("")), leaf("0")));
        result = print_value(value).view();
    }
    return printed_since() + "= " + result + "\n";
}

/// All that a program does; empty when it takes too many steps.
std::string behaviour(const std::string& source, Way way) {
    Session session;
    std::string shown = open(session, source, way) ? printed_result()
                                                   : std::string(session.report.say.view()) + "\n";
    shutdown();
    end_session(session);
    shown += printed_since();
    return ran_out_of_steps() ? "" : shown;
}

}  // namespace

std::string machines_difference(const std::string& source) {
    const std::string plain = behaviour(source, Way::plain);
    if (plain.empty()) return "";
    for (const Way way : {Way::asked, Way::calm}) {
        const std::string fast = behaviour(source, way);
        if (fast.empty() || plain == fast) continue;
        return "plain:\n" + plain + name_of(way) + ":\n" + fast;
    }
    return "";
}

std::string rules_difference(const std::string& source) {
    Session session;
    if (!open(session, source, Way::asked)) return "";
    const bool names_todo = needs_plain_machine;
    const std::string result = result_by_the_rules();
    const std::string rules = printed_since() + "= " + result + "\n";
    if (result.empty() || ran_out_of_steps()) return "";
    for (const Way way : {Way::plain, Way::calm, Way::asked}) {
        if (names_todo && way == Way::asked) break;
        open(session, source, way);
        const std::string shown = printed_result();
        if (ran_out_of_steps() || shown == rules) continue;
        return "rules:\n" + rules + name_of(way) + ":\n" + shown;
    }
    return "";
}

}  // namespace marl
