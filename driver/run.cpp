// A run is one session, with the interrupt heeded wherever it may have come unseen. A fault ends it
// with its Report, and then the process with all that it has.
#include "driver/run.h"

#include <utility>

#include "driver/interrupt.h"
#include "driver/report.h"
#include "driver/session.h"
#include "library/leaked.h"
#include "reduce/needs.h"
#include "text/stream.h"
#include "value/allocate.h"

namespace marl {

namespace {

uint32_t fail(const Report& report) {
    show_report(report);
    return failed_status;
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
    Session session;
    if (!load_session(session, std::move(source))) return fail(session.report);

    install_interrupt_handler();
    if (check_session(session) && run_session(session, arguments)) require_integer(session);
    heed_interrupt();
    if (!passed(session.report)) return fail(session.report);

    const uint32_t status = status_of_session(session);
    // Without `todo` nothing acts as it dies, and the process may end with all that it has.
    if (needs_plain_machine || MARL_COUNT_NODES) end_session(session);
    heed_interrupt();
    report_live_nodes();
    return status;
}

}  // namespace marl
