// The entry of the process: marl file args...
//
// Sees to the standard descriptors, answers a missing or unreadable file itself, reads the program
// whole, and runs it.
#include <sys/stat.h>

#include <cstdio>
#include <new>
#include <string_view>

#include "driver/process.h"
#include "driver/report.h"
#include "driver/run.h"
#include "text/fatal.h"
#include "text/rope.h"
#include "text/stream.h"

namespace marl {

namespace {

/// The path with every byte that is no plain character as two hexadecimal digits in brackets.
String escaped_path(std::string_view path) {
    constexpr char digits[] = "0123456789ABCDEF";
    Rope rope;
    for (const char c : path) {
        const auto byte = static_cast<uint8_t>(c);
        if (byte >= 0x20 && byte < 0x7F && byte != '[' && byte != ']') {
            rope_push(rope, c);
        } else {
            rope_push(rope, '[');
            rope_push(rope, digits[byte >> 4]);
            rope_push(rope, digits[byte & 0xF]);
            rope_push(rope, ']');
        }
    }
    return rope_flatten(rope);
}

uint32_t show_usage() {
    put_string(stream_err, picture_head("usage"));
    put_text(stream_err, " <say> marl file args...\n");
    return 1;
}

uint32_t show_unreadable(const String& path) {
    put_text(stream_out, "Error.\n");
    put_text(stream_err, " Type: Start\n");
    put_text(stream_err, " Name: \"");
    put_string(stream_err, escaped_path(path.view()));
    put_text(stream_err, "\"\n");
    put_text(stream_err, "Could not read program file.\n");
    put_text(stream_err, "\\/\n");
    return failed_status;
}

bool can_open(const String& path) {
    FILE* file = fopen(path.data(), "r");
    return file && fclose(file) == 0;
}

/// The size of a regular file; 0 for what has none.
int64_t size_of_file(FILE* file) {
    struct stat about = {};
    const bool known = fstat(fileno(file), &about) == 0 && S_ISREG(about.st_mode);
    return known ? about.st_size : 0;
}

/// All bytes of a file, NULs included; a read error counts as its end. A file that can't be opened
/// is a fatal stop.
String read_source(const String& path) {
    FILE* file = fopen(path.data(), "r");
    MARL_REQUIRE(file);
    // A regular file comes in one piece of its size, so that a large one is in memory once.
    String source = String::with_size(size_of_file(file));
    const size_t size = fread(source.mutable_data(), 1, static_cast<size_t>(source.length()), file);
    if (static_cast<int64_t>(size) < source.length()) {
        source = sub(source, 0, static_cast<int64_t>(size));
    }
    Rope rest;
    char buffer[4096];
    while (const size_t more = fread(buffer, 1, sizeof buffer - 1, file)) {
        rope_append(rest, std::string_view(buffer, more));
    }
    MARL_REQUIRE(fclose(file) == 0);
    if (rope_length(rest) > 0) append(source, rope_flatten(rest).view());
    return source;
}

uint32_t run_process(int argument_count, char** arguments) {
    reserve_standard_descriptors();
    MARL_REQUIRE(argument_count != 0);
    if (argument_count == 1) return show_usage();
    const String path(arguments[1]);
    if (!can_open(path)) return show_unreadable(path);
    return run_source(read_source(path), argument_address(arguments + 2));
}

}  // namespace

}  // namespace marl

int main(int argument_count, char** arguments) {
    // The containers of the standard library end as malloc does here when memory does.
    std::set_new_handler(marl::out_of_memory);
    return static_cast<int>(marl::run_process(argument_count, arguments));
}
