// A record starts as one filler of its whole size, and each field is cut out of the filler that
// covers its bytes. So the text is right by construction: fields can't overlap, and come out in the
// order of their offsets whatever the order of the tables here.
#include "front/records.h"

#include <charconv>
#include <span>
#include <string>

#include "text/fatal.h"
#include "text/rope.h"

namespace marl {

namespace {

struct Field {
    const char* name;
    int64_t size;
    int64_t offset;
};

constexpr Field addrinfo_fields[] = {
    {"ai_flags", 4, 0},    {"ai_family", 4, 4}, {"ai_socktype", 4, 8},   {"ai_protocol", 4, 12},
    {"ai_addrlen", 8, 16}, {"ai_addr", 8, 32},  {"ai_canonname", 8, 24}, {"ai_next", 8, 40},
};
constexpr Field dirent_fields[] = {
    {"d_ino", 4, 0},    {"d_off", 4, 4},   {"d_namlen", 8, 16},
    {"d_reclen", 2, 8}, {"d_type", 4, 24}, {"d_name", 261, 28},
};

std::string field_text(std::string_view name, int64_t size) {
    std::string text("[");
    return text.append(name).append("[").append(std::to_string(size)).append("]]");
}
std::string filler(int64_t size) { return size > 0 ? field_text("", size) : std::string(); }

/// The part of a record's text that one field takes, and what it says.
struct FieldText {
    size_t start;
    size_t end;
    bool is_filler;
    int64_t size;
};

/// The field whose "[" stands at `start`; a record that ends there is a fatal stop.
FieldText read_field(std::string_view record, size_t start) {
    MARL_REQUIRE(record[start] == '[');
    const size_t size_start = record.find('[', start + 1);
    const size_t size_end = record.find(']', start);
    MARL_REQUIRE(size_start < size_end && size_end + 1 < record.size());
    FieldText field{start, size_end + 2, size_start == start + 1, 0};
    const char* digits = record.data() + size_start + 1;
    const auto parsed = std::from_chars(digits, record.data() + size_end, field.size);
    MARL_REQUIRE(parsed.ec == std::errc() && parsed.ptr == record.data() + size_end);
    return field;
}

String record_of(std::string_view name, int64_t size, std::span<const Field> fields) {
    String record = joined({"[", name, filler(size), "]"});
    for (const Field& field : fields) {
        record = add_field(field.size, field.offset, field.name, record.view());
    }
    return record;
}

}  // namespace

String add_field(int64_t size, int64_t offset, std::string_view name, std::string_view record) {
    int64_t start = 0;
    FieldText field = read_field(record, record.find('[', 1));
    while (start + field.size <= offset) {
        start += field.size;
        field = read_field(record, field.end);
    }
    const int64_t before = offset - start;
    const int64_t behind = field.size - before - size;
    MARL_REQUIRE(field.is_filler && before >= 0 && behind >= 0);
    return joined({record.substr(0, field.start), filler(before), field_text(name, size),
                   filler(behind), record.substr(field.end)});
}

String record_text() {
    Rope rope;
    rope_push(rope, '[');
    rope_append(rope, record_of("addrinfo", 48, addrinfo_fields));
    rope_append(rope, record_of("dirent", 296, dirent_fields));
    rope_append(rope, record_of("fd_set", 520, {}));
    rope_append(rope, record_of("size_t", 8, {}));
    rope_append(rope, record_of("socklen_t", 4, {}));
    rope_append(rope, record_of("time_t", 8, {}));
    rope_push(rope, ']');
    return rope_flatten(rope);
}

}  // namespace marl
