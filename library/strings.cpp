// The C library's functions on NUL-terminated strings, and its character classes.
//
// A text that is only read may be a post or a zits; one that is written to is an address.

#include <strings.h>

#include <cctype>
#include <cstdlib>
#include <cstring>

#include "library/convention.h"
#include "library/families.h"

namespace marl {

namespace {

// C++ overloads these for const; one of each is what a row can name.
const char* find_byte(const char* text, int byte) { return strchr(text, byte); }
const char* find_last_byte(const char* text, int byte) { return strrchr(text, byte); }
const char* find_text(const char* text, const char* sought) { return strstr(text, sought); }
const char* find_any(const char* text, const char* set) { return strpbrk(text, set); }

/// The order of two texts as exactly -1, 0 or 1, whatever the C library's function gives.
int order(const char* a, const char* b) {
    const int sign = strcmp(a, b);
    return (sign > 0) - (sign < 0);
}

/// A pointer that a C function keeps in the program's memory, where it has 64 bits on every
/// platform: taken from there for the call, and put back behind it. The place may be null.
class KeptPointer {
  public:
    explicit KeptPointer(void* place) : place_(place) {
        uint64_t address = 0;
        if (place) memcpy(&address, place, sizeof address);
        pointer_ = reinterpret_cast<char*>(static_cast<uintptr_t>(address));
    }
    ~KeptPointer() {
        const uint64_t address = reinterpret_cast<uintptr_t>(pointer_);
        if (place_) memcpy(place_, &address, sizeof address);
    }
    KeptPointer(const KeptPointer&) = delete;
    KeptPointer& operator=(const KeptPointer&) = delete;
    char** slot() { return place_ ? &pointer_ : nullptr; }

  private:
    void* place_;
    char* pointer_;
};

int64_t signed_number(const char* text, void* end, int base) {
    return strtoll(text, KeptPointer(end).slot(), base);
}
uint64_t unsigned_number(const char* text, void* end, int base) {
    return strtoull(text, KeptPointer(end).slot(), base);
}
double real_number(const char* text, void* end) { return strtod(text, KeptPointer(end).slot()); }
char* next_token(char* text, const char* separators, void* rest) {
    return strtok_r(text, separators, KeptPointer(rest).slot());
}

using Class = int (*)(int);

/// C defines a class on bytes and on EOF only; no other number is in any.
template <Class function>
int in_class(int character) {
    return character >= 0 && character <= 255 ? function(character) : 0;
}
template <Class function>
consteval Builtin of_class(const char* name) {
    return wrap<T(I), in_class<function>>(name, 1);
}

/// Likewise, any other number stays itself.
template <Class function>
int with_case(int character) {
    return character >= 0 && character <= 255 ? function(character) : character;
}

int is_ascii(uint32_t character) { return character < 128; }
int64_t to_ascii(int64_t character) { return character & 127; }

constexpr Builtin rows[] = {
    wrap<S(M), strlen>("strlen", 1),
    wrap<S(M, I), strnlen>("strnlen", 2),
    wrap<S(M, M), order>("strcmp", 2),
    wrap<S(M, M, I), strncmp>("strncmp", 3),
    wrap<S(M, M), strcasecmp>("strcasecmp", 2),
    wrap<S(M, M, I), strncasecmp>("strncasecmp", 3),
    wrap<S(I, M), strcpy>("strcpy", 2),
    wrap<S(I, I, I), strncpy>("strncpy", 3),
    wrap<S(I, M), strcat>("strcat", 2),
    wrap<S(I, M, I), strncat>("strncat", 3),
    wrap<S(M), strdup>("strdup", 1),
    wrap<S(M, I), find_byte>("strchr", 2),
    wrap<S(M, I), find_last_byte>("strrchr", 2),
    wrap<S(M, M), find_text>("strstr", 2),
    wrap<S(M, M), find_any>("strpbrk", 2),
    wrap<S(M, M), strspn>("strspn", 2),
    wrap<S(I, M), strtok>("strtok", 2),
    wrap<S(I, M, I), next_token>("strtok_r", 3),
    wrap<S(I), strerror>("strerror", 1),
    wrap<S(M, I, I), signed_number>("strtol", 3),
    wrap<U(M, I, I), unsigned_number>("strtoul", 3),
    wrap<D(M, I), real_number>("strtod", 2),
    wrap<S(M), atoll>("atoi", 1),
    wrap<S(M), atoll>("atol", 1),
    wrap<D(M), atof>("atof", 1),
    of_class<isalnum>("isalnum"),
    of_class<isalpha>("isalpha"),
    of_class<isblank>("isblank"),
    of_class<isdigit>("isdigit"),
    of_class<isgraph>("isgraph"),
    of_class<islower>("islower"),
    of_class<isprint>("isprint"),
    of_class<ispunct>("ispunct"),
    of_class<isspace>("isspace"),
    of_class<isupper>("isupper"),
    wrap<T(I), is_ascii>("isascii", 1),
    wrap<S(I), to_ascii>("toascii", 1),
    wrap<S(I), with_case<tolower>>("tolower", 1),
    wrap<S(I), with_case<toupper>>("toupper", 1),
};

}  // namespace

std::span<const Builtin> string_rows() { return rows; }

}  // namespace marl
