// Going through a run, in both directions.
//
// The program runs in a process of its own, which stops at moments: a call of a definition, of an
// operator, or of a built-in. It never goes back. Who wants to see an earlier moment gets another
// process, a replay, that runs the program anew up to there; in a replay each built-in that reaches
// C, memory or the clock answers what it gave in the first run, so that nothing is printed, read or
// written twice. The first process waits meanwhile where it got to, and goes on from there.
//
// What the program writes is collected, for whoever shows it.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "lab/moment.h"
#include "lab/written.h"

namespace marl::lab {

class Debugger {
  public:
    /// `input` is the path of what the program reads; empty for nothing. The others outlive this.
    Debugger(const std::string& text, const std::vector<std::string>& arguments,
             const Sources& sources, const std::string& input, int width);
    ~Debugger();
    Debugger(const Debugger&) = delete;
    Debugger& operator=(const Debugger&) = delete;

    const Moment& now() const { return now_; }
    /// A sentence when the process could not go on, else empty: now() is as it was then.
    std::string go(const Goal& goal);

    // Ways to go on, made of `go`.

    std::string forward(int64_t moments);
    std::string back(int64_t moments);
    /// Behind what the present moment calls.
    std::string over();
    /// Out of the innermost call.
    std::string out();
    std::string next_call(const std::set<std::string>& names);
    std::string last_call(const std::set<std::string>& names);
    std::string to_end();

    /// What the program has written, from one place to another.
    std::string output(int64_t begin, int64_t end) const;

  private:
    struct Process {
        pid_t id = -1;
        int channel = -1;
        int64_t number = 0;  // where it is
    };

    Process start(bool replays) const;
    static void end(Process& process);
    std::string ask(Process& process, const Goal& goal);
    /// Why the run can't be gone through twice; empty when it can.
    std::string refusal() const;

    const std::string& text_;
    const std::vector<std::string>& arguments_;
    const Sources& sources_;
    const std::string input_;
    const int width_;
    int output_ = -1;  // files without names
    int record_ = -1;
    Process first_;
    Process replay_;
    Moment now_;
    int64_t last_found_ = 0;
};

}  // namespace marl::lab
