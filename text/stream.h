// Stream: unbuffered output to a file descriptor, for the system's own diagnostics.
//
// A picture or an assertion line must reach the terminal even if the process dies on the next
// instruction, so every call writes at once, in chunks of at most 4096 bytes. A write that does not
// take the full chunk is a fatal stop. Not ordered against the program's buffered C streams.
#pragma once

#include <cstdint>
#include <string_view>

#include "text/string.h"

namespace marl {

struct Stream {
    int descriptor;
};

extern Stream stream_out;  // descriptor 1
extern Stream stream_err;  // descriptor 2

/// Each writes and gives the same Stream back, so that calls chain. Empty text makes no call.
Stream& put_text(Stream& stream, const char* text);
Stream& put_string(Stream& stream, const String& text);
Stream& put_int(Stream& stream, int32_t number);

}  // namespace marl
