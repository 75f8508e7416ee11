// A body is one block: length, count, bytes, NUL. All empty Strings share one body that is never
// freed, so that a new handle costs no allocation and a moved-from one is still a String.
#include "text/string.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "text/fatal.h"

namespace marl {

namespace {

// Shared by all empty Strings; its first reference is never given back.
struct {
    StringBody body{0, 1};
    char nul = 0;
} empty;

StringBody* share_empty() {
    ++empty.body.count;
    return &empty.body;
}

StringBody* new_body(int64_t length) {
    auto* body = static_cast<StringBody*>(
        allocate_bytes(sizeof(StringBody) + static_cast<size_t>(length) + 1));
    body->length = length;
    body->count = 1;
    body->data()[length] = 0;
    return body;
}

StringBody* copied_body(std::string_view bytes) {
    if (bytes.empty()) return share_empty();
    StringBody* body = new_body(static_cast<int64_t>(bytes.size()));
    memcpy(body->data(), bytes.data(), bytes.size());
    return body;
}

void drop(StringBody* body) {
    if (--body->count == 0) free(body);
}

}  // namespace

String::String() : body_(share_empty()) {}
String::String(const char* text) : body_(copied_body(text)) {}
String::String(std::string_view bytes) : body_(copied_body(bytes)) {}
String::String(String&& other) noexcept : body_(std::exchange(other.body_, share_empty())) {}
String::~String() { drop(body_); }

String& String::operator=(const String& other) {
    ++other.body_->count;
    drop(std::exchange(body_, other.body_));
    return *this;
}

String& String::operator=(String&& other) noexcept {
    std::swap(body_, other.body_);
    return *this;
}

String String::with_size(int64_t n) {
    MARL_REQUIRE(n >= 0);
    return String(new_body(n));
}

char* String::mutable_data() {
    if (body_->count != 1 && body_->length > 0) drop(std::exchange(body_, copied_body(view())));
    return body_->data();
}

std::strong_ordering operator<=>(const String& a, const String& b) {
    const int order = a.view().compare(b.view());
    return order <=> 0;
}

String concat(std::string_view a, std::string_view b) {
    String joined = String::with_size(static_cast<int64_t>(a.size() + b.size()));
    char* bytes = joined.mutable_data();
    if (!a.empty()) memcpy(bytes, a.data(), a.size());
    if (!b.empty()) memcpy(bytes + a.size(), b.data(), b.size());
    return joined;
}

void append(String& s, std::string_view t) { s = concat(s.view(), t); }

void shorten(String& s, int64_t n) {
    MARL_REQUIRE(n >= 0 && n <= s.length());
    if (n == s.length()) return;
    if (n == 0) {
        s = String();
        return;
    }
    s.mutable_data()[n] = 0;
    s.body_->length = n;
}

String sub(const String& s, int64_t start, int64_t count) {
    MARL_REQUIRE(start >= 0 && count >= 0 && start <= s.length());
    return String(s.view().substr(static_cast<size_t>(start), static_cast<size_t>(count)));
}

uint8_t at(const String& s, int64_t i) {
    MARL_REQUIRE(i >= 0 && i <= s.length());
    return static_cast<uint8_t>(s.data()[i]);
}

char* mutable_at(String& s, int64_t i) {
    MARL_REQUIRE(i >= 0 && i <= s.length());
    return s.mutable_data() + i;
}

}  // namespace marl
