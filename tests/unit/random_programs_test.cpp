// Random programs, run by all that can run them: they must print the same and come to the same.
// MARL_RANDOM_COUNT in the environment says how many, MARL_RANDOM_SEED where to begin.
#include <gtest/gtest.h>

#include "random/batch.h"
#include "random/differences.h"
#include "random/program.h"

namespace marl {
namespace {

TEST(RandomPrograms, do_the_same_on_both_machines) {
    const auto generate = [](const Choose& choose) { return random_program(choose); };
    EXPECT_EQ(first_fault(generate, machines_difference, 800), "");
}

TEST(RandomPrograms, do_what_the_rules_say) {
    const auto generate = [](const Choose& choose) { return random_program(choose, true); };
    EXPECT_EQ(first_fault(generate, rules_difference, 400), "");
}

TEST(RandomPrograms, reduce_terms_as_the_rules_do) {
    EXPECT_EQ(first_fault(random_term_program, rules_difference, 1000), "");
}

}  // namespace
}  // namespace marl
