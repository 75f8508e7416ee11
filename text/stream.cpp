// Text goes out in the caller's own call, chunk by chunk, with nothing kept back; numbers are
// formatted on the stack.
#include "text/stream.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>

#include "text/fatal.h"

namespace marl {

Stream stream_out{1};
Stream stream_err{2};

namespace {

Stream& put_bytes(Stream& stream, std::string_view bytes) {
    constexpr size_t chunk = 4096;
    for (size_t offset = 0; offset < bytes.size(); offset += chunk) {
        const size_t size = std::min(chunk, bytes.size() - offset);
        const ssize_t written = write(stream.descriptor, bytes.data() + offset, size);
        MARL_REQUIRE(written == static_cast<ssize_t>(size));
    }
    return stream;
}

}  // namespace

Stream& put_text(Stream& stream, const char* text) { return put_bytes(stream, text); }

Stream& put_string(Stream& stream, const String& text) { return put_bytes(stream, text.view()); }

Stream& put_int(Stream& stream, int32_t number) {
    char digits[12];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    return put_bytes(stream, {digits, static_cast<size_t>(end - digits)});
}

}  // namespace marl
