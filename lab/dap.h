// The Debug Adapter Protocol, for editors that go through a run.
#pragma once

namespace marl::lab {

/// Serves one client on a pair of descriptors, to the end of its session. Gives the status for the
/// process.
int serve_debugger(int input, int output);

}  // namespace marl::lab
