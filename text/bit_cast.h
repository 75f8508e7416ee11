// The bits of one type read as another, as std::bit_cast does where the standard library has it.
#pragma once

#include <cstring>
#include <type_traits>

namespace marl {

template <class To, class From>
To bit_cast(const From& from) {
    static_assert(sizeof(To) == sizeof(From));
    static_assert(std::is_trivially_copyable_v<To> && std::is_trivially_copyable_v<From>);
    To to;
    memcpy(&to, &from, sizeof to);
    return to;
}

}  // namespace marl
