// String: a byte string of any content with a shared, reference-counted body.
//
// A handle is one pointer to a body and is never null. The body's bytes are followed by a NUL that
// `length` does not count; bytes of value 0 may stand among them. The body is immutable while more
// than one handle holds it: `mutable_at` copies first.
#pragma once

#include <compare>
#include <cstdint>
#include <string_view>

namespace marl {

struct StringBody {
    int64_t length;
    uint64_t count;

    /// The bytes stand right behind the body, in the same block.
    char* data() { return reinterpret_cast<char*>(this + 1); }
};

class String {
  public:
    String();                                 // the empty String
    String(const char* text);                 // NUL-terminated bytes
    explicit String(std::string_view bytes);  // a copy of the bytes
    String(const String& other) : body_(other.body_) { ++body_->count; }
    String(String&& other) noexcept;
    String& operator=(const String& other);
    String& operator=(String&& other) noexcept;
    ~String();

    /// n bytes with their NUL, contents not set; the caller fills them through `mutable_data`.
    static String with_size(int64_t n);

    int64_t length() const { return body_->length; }
    bool empty() const { return body_->length == 0; }
    const char* data() const { return body_->data(); }
    std::string_view view() const { return {body_->data(), static_cast<size_t>(body_->length)}; }
    /// The bytes for writing; makes a private copy of a shared body first.
    char* mutable_data();

    friend bool operator==(const String& a, const String& b) { return a.view() == b.view(); }
    /// Unsigned bytes over the common length, then the shorter first.
    friend std::strong_ordering operator<=>(const String& a, const String& b);
    friend void shorten(String& s, int64_t n);

  private:
    explicit String(StringBody* body) : body_(body) {}
    StringBody* body_;
};

/// A new String: a followed by b.
String concat(std::string_view a, std::string_view b);
inline String concat(const String& a, const String& b) { return concat(a.view(), b.view()); }
/// s becomes s followed by t.
void append(String& s, std::string_view t);
/// s becomes its first n bytes, 0 <= n <= length, else a fatal stop. A body of its own keeps its
/// size.
void shorten(String& s, int64_t n);
/// At most `count` bytes from `start` on. A negative start or count, and a start past the end, are
/// fatal stops.
String sub(const String& s, int64_t start, int64_t count);
/// The byte at i, 0 <= i <= length, where length reads the NUL; else a fatal stop.
uint8_t at(const String& s, int64_t i);
/// A pointer to the byte at i for writing, same bounds; copies a shared body first.
char* mutable_at(String& s, int64_t i);

}  // namespace marl
