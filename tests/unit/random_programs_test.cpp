// Random programs run by the machine and by the plain one: they must print the same and come to the
// same. MARL_RANDOM_COUNT in the environment says how many, MARL_RANDOM_SEED where to begin.
#include <gtest/gtest.h>

#include <string>

#include "driver/report.h"
#include "driver/shutdown.h"
#include "front/check.h"
#include "front/definitions.h"
#include "front/prelude.h"
#include "random/batch.h"
#include "random/program.h"
#include "random/rules.h"
#include "reduce/exactness.h"
#include "reduce/machine.h"
#include "reduce/tables.h"
#include "value/todo.h"

namespace marl {
namespace {

/// What a program does: all that it prints, and the printed form of its result or its Report.
std::string behaviour(const std::string& source, bool plain) {
    build_prelude();
    Report report = parse_program(String(std::string_view(source)));
    exactness_due |= plain;
    if (passed(report)) report = check_program();
    std::string result;
    if (passed(report)) {
        Value value = reduce(pair(Value::share(find_definition("")), leaf("0")));
        result = print_value(value).view();
    } else {
        result = report.say.view();
    }
    shutdown();
    return printed_since() + "= " + result + "\n";
}

std::string difference(const std::string& source) {
    const std::string plain = behaviour(source, true);
    const std::string fast = behaviour(source, false);
    return plain == fast ? "" : "plain:\n" + plain + "fast:\n" + fast;
}

/// Fills the tables with a program; whether its check passes.
bool set_up(const std::string& source) {
    build_prelude();
    return passed(parse_program(String(std::string_view(source)))) && passed(check_program());
}

/// The plain machine against the rules themselves.
std::string todo_difference(const std::string& source) {
    if (!set_up(source)) return "the check fails";
    const std::string rules = result_by_the_rules();
    const std::string rules_printed = printed_since();
    if (rules.empty()) return "";
    const TodoArming armed(true);
    Value value = reduce(pair(Value::share(find_definition("")), leaf("0")));
    const std::string plain(print_value(value).view());
    value = Value();
    const std::string plain_printed = printed_since();
    if (plain == rules && plain_printed == rules_printed) return "";
    return "rules:\n" + rules_printed + "= " + rules + "\nplain:\n" + plain_printed + "= " + plain;
}

TEST(RandomPrograms, DropTodoValuesAsTheRulesDo) {
    EXPECT_EQ(first_fault(random_todo_program, todo_difference, 1000), "");
}

TEST(RandomPrograms, DoTheSameOnBothMachines) {
    const auto generate = [](const Choose& choose) { return random_program(choose, false); };
    EXPECT_EQ(first_fault(generate, difference, 800), "");
}

TEST(RandomPrograms, DoTheSameWhenTheyLoadTodo) {
    const auto generate = [](const Choose& choose) { return random_program(choose, true); };
    EXPECT_EQ(first_fault(generate, difference, 200), "");
}

}  // namespace
}  // namespace marl
