// A run has four stages: prelude, parse, check and reduction, shutdown. Each of the first three
// ends it with its Report. The result stays held while the definitions are taken down, and is read
// for the status only then, as its end belongs to the run.
#include "driver/run.h"

#include <utility>

#include "driver/interrupt.h"
#include "driver/report.h"
#include "driver/shutdown.h"
#include "front/check.h"
#include "front/prelude.h"
#include "library/leaked.h"
#include "number/convert.h"
#include "reduce/machine.h"
#include "reduce/needs.h"
#include "reduce/tables.h"
#include "text/stream.h"
#include "value/allocate.h"

namespace marl {

namespace {

uint32_t fail(const Report& report) {
    put_text(stream_err, "\x1B[m");
    put_string(stream_err, report_picture(report));
    return failed_status;
}

/// Runs `shut` for an interrupt that came while no loop was there to see it.
void heed_interrupt() {
    if (interrupted) run_interrupt();
}

/// Builds that count nodes tell of those which nothing has released, but for what a program has
/// given away on purpose.
void report_live_nodes() {
#if MARL_COUNT_NODES
    release_leaked();
    if (live_nodes == 0) return;
    put_int(put_text(stream_err, "marl: nodes left: "), static_cast<int32_t>(live_nodes));
    put_text(stream_err, "\n");
#endif
}

}  // namespace

uint32_t run_source(String source, int64_t arguments) {
    build_prelude();
    Module module;
    const Report parsed = parse_program(std::move(source), module);
    if (!passed(parsed)) return fail(parsed);

    install_interrupt_handler();
    const Report outcome = run_program(std::move(module), arguments);
    heed_interrupt();
    if (!passed(outcome)) return fail(outcome);

    Value result = Value::share(find_definition(""));
    // Without `todo` nothing acts as it dies, and the process may end with all that it has.
    if (needs_plain_machine || MARL_COUNT_NODES) shutdown();
    heed_interrupt();
    const auto status = static_cast<uint32_t>(to_i64(result));
    result = Value();
    report_live_nodes();
    return status;
}

}  // namespace marl
