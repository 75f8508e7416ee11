/* Evaluates each of its arguments, an expression of marl with definitions behind it if need be:
 *
 *     ./embed '2^100' 'fact 20,fact\x\(x=0)1(x*fact(x-1))' */
#include <marl.h>
#include <stdio.h>

static bool evaluate(const char *expression) {
    char source[4096];
    const int size = snprintf(source, sizeof source, "a\\%s", expression);
    if (size >= (int)sizeof source) return false;

    marl_session *session = marl_begin();
    const bool done = marl_load(session, source, (size_t)size) && marl_run(session, NULL);
    if (done) {
        printf("%s\n", marl_result(session, NULL));
    } else {
        printf("%s: %s\n", marl_fault_kind(session), marl_fault_sentence(session));
    }
    marl_end(session);
    return done;
}

int main(int count, char **arguments) {
    int failures = 0;
    for (int i = 1; i < count; ++i) {
        if (!evaluate(arguments[i])) ++failures;
    }
    return failures;
}
