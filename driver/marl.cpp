// The sessions of marl.h, each a Session and the texts that are made of it.
#include "driver/marl.h"

#ifdef __linux__
#include <sys/syscall.h>
#endif
#include <unistd.h>

#include <new>
#include <string_view>

#include "driver/process.h"
#include "driver/run.h"
#include "driver/session.h"
#include "number/kind.h"
#include "text/fatal.h"

struct marl_session {
    enum { is_new, is_loaded, has_run } state = is_new;
    marl::Session session;
    marl::String printed;  // the result
    marl::String picture;  // of the fault
};

namespace marl {

namespace {

bool session_stands = false;

/// Without memory the containers of the standard library end the process as malloc does here. Whom
/// they belong to otherwise has a handler of his own.
class MemoryEnds {
  public:
    MemoryEnds() : saved_(std::set_new_handler(out_of_memory)) {}
    ~MemoryEnds() { std::set_new_handler(saved_); }
    MemoryEnds(const MemoryEnds&) = delete;
    MemoryEnds& operator=(const MemoryEnds&) = delete;

  private:
    std::new_handler saved_;
};

/// How deep runs may nest is known for the main thread's stack (reduce/nesting.cpp).
bool is_main_thread() {
#ifdef __linux__
    return syscall(SYS_gettid) == getpid();
#else
    return true;
#endif
}

/// Keeps the texts of what a step came to; whether it went well.
bool keep_texts(marl_session& kept) {
    const Session& session = kept.session;
    if (!passed(session.report)) kept.picture = report_picture(session.report);
    if (session.result) kept.printed = print_value(session.result);
    return passed(session.report);
}

bool has_fault(const marl_session* session) { return !passed(session->session.report); }

}  // namespace

}  // namespace marl

using namespace marl;

marl_session* marl_begin() {
    if (session_stands || !is_main_thread()) return nullptr;
    const MemoryEnds ends;
    session_stands = true;
    return new marl_session;
}

bool marl_load(marl_session* session, const char* source, size_t size) {
    if (session->state != marl_session::is_new) return false;
    const MemoryEnds ends;
    session->state = marl_session::is_loaded;
    open_session(session->session, String(std::string_view(source, size)));
    return keep_texts(*session);
}

bool marl_run(marl_session* session, char** arguments) {
    static char* none[] = {nullptr};
    if (session->state != marl_session::is_loaded || has_fault(session)) return false;
    const MemoryEnds ends;
    session->state = marl_session::has_run;
    run_session(session->session, argument_address(arguments ? arguments : none));
    return keep_texts(*session);
}

const char* marl_result(const marl_session* session, size_t* size) {
    if (size) *size = static_cast<size_t>(session->printed.length());
    return session->session.result ? session->printed.data() : nullptr;
}

uint32_t marl_status(const marl_session* session) {
    const Value& result = session->session.result;
    const bool is_integer = result && kind_of(result) == 'i';
    return is_integer ? status_of_session(session->session) : failed_status;
}

const char* marl_fault_kind(const marl_session* session) {
    return has_fault(session) ? session->session.report.kind.data() : nullptr;
}

const char* marl_fault_sentence(const marl_session* session) {
    return has_fault(session) ? session->session.report.say.data() : nullptr;
}

const char* marl_fault_picture(const marl_session* session) {
    return has_fault(session) ? session->picture.data() : nullptr;
}

void marl_end(marl_session* session) {
    if (!session) return;
    const MemoryEnds ends;
    end_session(session->session);
    delete session;
    session_stands = false;
}
