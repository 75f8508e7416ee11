#include "lab/odd_bytes.h"

#include <algorithm>
#include <array>

namespace marl::lab {

namespace {

constexpr std::string_view in_brackets = "text stands in brackets: `[text]`";
constexpr std::string_view blank = "write a blank";

constexpr std::array look_alikes{
    LookAlike{"\u00A0", " ", blank},
    LookAlike{"\u2007", " ", blank},
    LookAlike{"\u2009", " ", blank},
    LookAlike{"\u202F", " ", blank},
    LookAlike{"\u3000", " ", blank},
    LookAlike{"\u200B", "", "it is of no width: take it out"},
    LookAlike{"\uFEFF", "", "it is a byte order mark: take it out"},
    LookAlike{"\u2018", "", in_brackets},
    LookAlike{"\u2019", "", in_brackets},
    LookAlike{"\u201A", "", in_brackets},
    LookAlike{"\u201C", "", in_brackets},
    LookAlike{"\u201D", "", in_brackets},
    LookAlike{"\u201E", "", in_brackets},
    LookAlike{"\u00AB", "", in_brackets},
    LookAlike{"\u00BB", "", in_brackets},
    LookAlike{"\u2010", "-", "minus is `-`"},
    LookAlike{"\u2011", "-", "minus is `-`"},
    LookAlike{"\u2012", "-", "minus is `-`"},
    LookAlike{"\u2013", "-", "minus is `-`"},
    LookAlike{"\u2014", "-", "minus is `-`"},
    LookAlike{"\u2212", "-", "minus is `-`"},
    LookAlike{"\u00D7", "*", "a product is `a*b`"},
    LookAlike{"\u00B7", "*", "a product is `a*b`"},
    LookAlike{"\u22C5", "*", "a product is `a*b`"},
    LookAlike{"\u00F7", "/", "a quotient is `a/b`"},
    LookAlike{"\u2215", "/", "a quotient is `a/b`"},
    LookAlike{"\u2264", "", "\"less or equal\" is `b>a`"},
    LookAlike{"\u2265", ">", "`>` means greater or equal"},
    LookAlike{"\u2260", "#", "\"different\" is `#`"},
    LookAlike{"\u00AC", "!", "\"not\" is `!a`"},
    LookAlike{"\u2227", "&", "\"and\" is `a&b`"},
    LookAlike{"\u2228", "|", "\"or\" is `a|b`"},
    LookAlike{"\u03BB", "", "a function is `parameter\\body`"},
    LookAlike{"\u2192", "\\", "a function is `parameter\\body`"},
    LookAlike{"\uFF08", "(", "write `(`"},
    LookAlike{"\uFF09", ")", "write `)`"},
    LookAlike{"\uFF0C", ",", "write `,`"},
    LookAlike{"\uFF1B", ";", "write `;`"},
};

std::string hexadecimal(uint8_t byte) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    return {digits[byte >> 4], digits[byte & 0xF]};
}

bool is_continuation(char c) { return (static_cast<uint8_t>(c) & 0xC0) == 0x80; }

size_t length_by(uint8_t first) {
    if (first >= 0xF0) return 4;
    if (first >= 0xE0) return 3;
    return first >= 0xC0 ? 2 : 1;
}

bool is_shown(std::string_view character) {
    constexpr std::string_view invisible[] = {"\u00A0", "\u2007", "\u2009", "\u202F",
                                              "\u3000", "\u200B", "\uFEFF"};
    return std::find(std::begin(invisible), std::end(invisible), character) == std::end(invisible);
}

}  // namespace

bool is_odd_byte(std::string_view key) {
    if (key.size() != 1) return false;
    const auto byte = static_cast<uint8_t>(key[0]);
    return byte < 32 || byte >= 127;
}

Range character_at(std::string_view text, size_t position) {
    constexpr size_t most_behind = 3;
    size_t begin = position;
    while (begin > 0 && position - begin < most_behind && is_continuation(text[begin])) --begin;
    const size_t length = length_by(static_cast<uint8_t>(text[begin]));
    const size_t end = begin + length;
    const bool is_whole = end <= text.size() && position < end &&
                          std::all_of(text.begin() + static_cast<ptrdiff_t>(begin) + 1,
                                      text.begin() + static_cast<ptrdiff_t>(end), is_continuation);
    return is_whole ? Range{begin, end} : Range{position, position + 1};
}

const LookAlike* look_alike(std::string_view character) {
    const auto* const one =
        std::find_if(look_alikes.begin(), look_alikes.end(),
                     [&](const LookAlike& row) { return row.character == character; });
    return one == look_alikes.end() ? nullptr : one;
}

std::string odd_character_sentence(std::string_view character) {
    const auto byte = static_cast<uint8_t>(character[0]);
    if (const LookAlike* one = look_alike(character)) {
        const std::string name = is_shown(character) ? ticked(character) : "An invisible character";
        return name + (is_shown(character) ? " has no meaning here; " : " stands here; ") +
               std::string(one->say) + ".";
    }
    switch (byte) {
        case '\t': return "A tab is no white space here, but a name, which nothing defines.";
        case '\r':
            return "A carriage return is no white space here, but a name, which nothing defines; "
                   "end the lines with a newline alone.";
        case '\n': return "A byte of value 0 stands here.";
        default: break;
    }
    if (byte >= 128) {
        return "A character that is not ASCII stands here; each byte of it is a name, which "
               "nothing defines. In text it may stand: `[...]`.";
    }
    return "The invisible byte " + hexadecimal(byte) + " is a name, which nothing defines.";
}

std::string hidden_byte_sentence(std::string_view text) {
    if (text.find('\r') != text.npos) {
        return " A carriage return stands in it, which is no white space here; end the lines with "
               "a newline alone.";
    }
    return text.find('\t') != text.npos ? " A tab stands in it, which is no white space here." : "";
}

}  // namespace marl::lab
