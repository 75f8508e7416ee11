// Terms of all shapes. In one half of the programs `todo` Values print a letter of their own when
// they are dropped; the other half doesn't name `todo`, and prints when it computes.
#include <array>
#include <string_view>
#include <utility>

#include "random/program.h"

namespace marl {

namespace {

class TermGenerator {
  public:
    explicit TermGenerator(const Choose& choose) : choose_(choose), names_todo_(choose(2) == 0) {}

    std::string program() {
        std::string text = "a\\" + (choose_(3) == 0 ? term(7, "")
                                                    : "fd(" + made() + "," + made() + "," + made() +
                                                          "," + made() + ")");
        static constexpr std::array<std::string_view, 4> keys = {
            "fa\\x\\", "fb\\x\\y\\", "fc\\x\\y\\z\\", "fd\\x\\y\\z\\w\\"};
        static constexpr std::array<std::string_view, 4> letters = {"x", "xy", "xyz", "xyzw"};
        for (size_t i = 0; i < keys.size(); ++i) {
            text += ",\n" + std::string(keys[i]) + term(4, std::string(letters[i]));
        }
        text += ",\nca\\" + term(3, "") + ",\ncb\\" + term(2, "") + ",\ncy\\cz,\ncz\\I(cy)";
        static constexpr std::array<std::string_view, 15> others = {"E\\a\\b\\c\\d\\e\\a",
                                                                    "K\\a\\b\\b",
                                                                    "J\\a\\b\\c\\d\\V a b",
                                                                    "T\\a\\b\\b",
                                                                    "T\\a\\b\\c\\b(a)",
                                                                    "V\\a\\b\\a",
                                                                    "H\\K",
                                                                    "I\\a\\V a",
                                                                    "B\\a\\b\\c\\a",
                                                                    "U\\a\\b\\c\\d\\b",
                                                                    "X\\todo",
                                                                    "E\\a\\b\\c\\d\\e\\c",
                                                                    "N()\\todo",
                                                                    "D\\a\\b\\c\\d\\c",
                                                                    "T\\K"};
        while (choose_(2) == 1) {
            const std::string other = one_of(others);
            if (names_todo_ || !other.ends_with("todo")) text += ",\n" + other;
        }
        return text;
    }

  private:
    template <size_t n>
    std::string one_of(const std::array<std::string_view, n>& texts) {
        return std::string(texts[choose_(n)]);
    }

    std::string digits() { return std::to_string(65 + printed_++ % 58); }

    /// A Value that only the run holds: what stands settled in its text the program holds.
    std::string made() { return todo() + "(putchar," + digits() + "+0)"; }
    std::string todo() { return names_todo_ ? "todo" : choose_(2) == 0 ? "J" : "I"; }

    /// Arguments that are held back as they are.
    std::string held(unsigned count, const std::string& letters) {
        std::string shown;
        for (; count > 0; --count) shown += "(" + atom(letters) + ")";
        return shown;
    }

    std::string atom(const std::string& letters) {
        static constexpr std::array<std::string_view, 34> atoms = {
            "0", "K", "H",  "I",  "V", "J", "1", "T", "B",  "C", "D",    "E",
            "F", "L", "N",  "Q",  "R", "S", "U", "W", "X",  "Z", "todo", "fa",
            "O", "M", "fb", "fc", "K", "I", "V", "J", "ca", "cb"};
        if (!letters.empty() && choose_(3) != 0) {
            return std::string(1, letters[choose_(static_cast<unsigned>(letters.size()))]);
        }
        const std::string found = one_of(atoms);
        if (in_text_ && (found[0] == 'f' || found[0] == 'c')) return "I";
        return found == "todo" && !names_todo_ ? "dash" : found;
    }

    /// A text of its own, which the run loads. It does without the program's definitions, so that
    /// no constant of theirs is computed in it.
    std::string loaded(int depth) {
        const bool inner = std::exchange(in_text_, true);
        const std::string text = term(depth, "");
        in_text_ = inner;
        return std::string(choose_(2) == 0 ? "load([" : "road([") + text + "])";
    }

    std::string operation(int depth, const std::string& letters) {
        static constexpr std::array<std::string_view, 10> operators = {"+", "-", "<", ">", "=",
                                                                       "#", "&", "|", "+", "%"};
        const std::string x = "((" + term(depth, letters) + ")" + one_of(operators);
        return x + "(" + term(depth, letters) + "))";
    }

    std::string term(int depth, const std::string& letters) {
        if (depth <= 0) return atom(letters);
        const auto t = [&] { return term(depth - 1, letters); };
        const std::string letter(1, static_cast<char>('b' + choose_(5)));
        const auto inner = [&] { return term(depth - 1, letters + letter); };
        unsigned form = choose_(22);
        if (in_text_ && ((form >= 9 && form <= 11) || form == 14)) form = 1;
        switch (form) {
            case 0: return atom(letters);
            case 1:
            case 2: return made();
            case 3: return todo() + "(putchar," + digits() + ")";
            case 4: return todo() + "(" + t() + "," + t() + ")";
            case 5: return "(" + made() + "(" + t() + "))";
            case 6: return "(" + letter + "\\" + inner() + ")";
            case 7: {
                const std::string value = t();
                return "((" + letter + "\\" + inner() + ")(" + value + "))";
            }
            case 8: {
                const std::string value = t();
                return "(" + letter + "{" + value + "}" + inner() + ")";
            }
            case 9: return "fa(" + t() + ")";
            case 10: return "fb(" + t() + "," + t() + ")";
            case 11: return "fc(" + t() + "," + t() + "," + t() + ")";
            case 12: return choose_(3) != 0 ? "(road[zz])" : "putchar(" + digits() + ")";
            case 13: return "raws(" + t() + "," + t() + ")";
            case 14: return choose_(6) == 5 ? "cy" : "(I(E(1+0))" + held(4, letters) + ")";
            case 15: return "(" + t() + "(" + t() + ")(" + t() + "))";
            case 16: return "(" + t() + held(1 + choose_(3), letters) + ")";
            case 17: return loaded(depth - 1);
            case 18: return operation(depth - 1, letters);
            default: return "(" + t() + "(" + t() + "))";
        }
    }

    const Choose& choose_;
    bool names_todo_;
    bool in_text_ = false;
    unsigned printed_ = 0;
};

}  // namespace

std::string random_term_program(const Choose& choose) { return TermGenerator(choose).program(); }

}  // namespace marl
