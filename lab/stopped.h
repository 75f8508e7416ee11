// What a signal or an interrupt finds under way.
//
// Either can come at any time. So what is to be shown then is made while the run goes on, and who
// ends the process finds it ready.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace marl::lab {

/// While it stands, a signal that ends the process, or an interrupt, shows on standard error the
/// lines that `tell` gives: calls, the innermost first. One at a time.
class ShownOnSignal {
  public:
    using Tell = std::function<std::vector<std::string>()>;
    explicit ShownOnSignal(Tell tell);
    ~ShownOnSignal();
    ShownOnSignal(const ShownOnSignal&) = delete;
    ShownOnSignal& operator=(const ShownOnSignal&) = delete;
};

/// Has the handlers told of a run that begins: those that are installed for it are in place.
void note_interrupts();

}  // namespace marl::lab
