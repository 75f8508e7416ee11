#include "driver/run.h"

#include "driver/interrupt.h"
#include "driver/report.h"
#include "driver/shutdown.h"
#include "front/check.h"
#include "front/definitions.h"
#include "front/prelude.h"
#include "number/convert.h"
#include "reduce/machine.h"
#include "reduce/tables.h"
#include "text/stream.h"

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

}  // namespace

uint32_t run_source(const String& source, int64_t arguments) {
    build_prelude();
    const Report parsed = parse_program(source);
    if (!passed(parsed)) return fail(parsed);

    install_interrupt_handler();
    const Report outcome = run_program(arguments);
    heed_interrupt();
    if (!passed(outcome)) return fail(outcome);

    const Value result = Value::share(find_definition(""));
    shutdown();
    heed_interrupt();
    return static_cast<uint32_t>(to_i64(result));
}

}  // namespace marl
