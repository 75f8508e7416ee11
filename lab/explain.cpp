// What is told of a word comes from the table of warnings, that of faults, the reference, or the
// types of what --json gives.
#include "lab/explain.h"

#include <algorithm>
#include <array>

#include "lab/reference.h"
#include "lab/warnings.h"

namespace marl::lab {

namespace {

struct Fault {
    std::string_view name;
    std::string_view about;
};

constexpr std::array faults{
    Fault{"alive",
          "Something that the program reaches is not defined, or an operand is missing.\n"
          "A misspelled name, a local name outside of its function, a definition that is skipped; "
          "or an operator with nothing on one of its sides."},
    Fault{"arity",
          "A definition has more than ten parameters.\n"
          "Hand some of them over as a pair, a list or an array."},
    Fault{"built",
          "A built-in is defined again, which can't be.\n"
          "Choose another name for the definition."},
    Fault{"comma",
          "A comma stands in a parenthesis that is no call list.\n"
          "A call list stands directly behind what it is applied to: `f(a,b)`, without a blank or "
          "an operator before the parenthesis."},
    Fault{"funky",
          "What stands before a backslash or wings is no name.\n"
          "Each parameter is a name with a backslash of its own: `x\\y\\body`. Before wings a name "
          "stands, or two that take a pair apart: `x y{pair}body`."},
    Fault{"layout",
          "`format` has no layout for a source.\n"
          "Its brackets don't balance, or carriage returns stand in it, which are names and no "
          "line ends."},
    Fault{"local",
          "A name is a local one elsewhere in its definition, and has no value here.\n"
          "A name of two letters or more has one meaning in a definition. Give the local name "
          "another name."},
    Fault{"lower",
          "The name of a definition is one small letter.\n"
          "Such a name is always a local one. A definition's name has two letters or more, or is a "
          "capital letter."},
    Fault{"match",
          "A bracket has no partner, or crosses another pair of brackets.\n"
          "Everything between [ and ] is text, in which only these two must balance."},
    Fault{"note",
          "A note for tools is none.\n"
          "Such a note is a whole piece, [word: ...], the word being `keep`, `lab`, `test` or "
          "`use`; commas stand in front of it and behind it."},
    Fault{"place",
          "A definition has more than 26 local names, parameters included.\n"
          "Cut it up, or use a name again."},
    Fault{"test",
          "A note [test: ...] is no test.\n"
          "A test is `[test: EXPRESSION -> TEXT]`, the text being what the prompt prints for the "
          "expression."},
    Fault{"use",
          "Files don't go together.\n"
          "A file that can't be read, a name that two of the used files define, a long local name "
          "that hides one of another file, an operator that two files define, a file of "
          "definitions that is to be run."},
};

/// The text with a line end in the place of a blank where a line would get too long.
std::string wrapped(std::string_view text) {
    constexpr size_t most = 80;
    std::string lines;
    size_t begin = 0;  // of the line
    for (size_t blank = 0; begin < text.size();) {
        const size_t newline = std::min(text.find('\n', begin), text.size());
        size_t end = newline;
        if (newline - begin > most) {
            blank = text.rfind(' ', begin + most);
            if (blank != text.npos && blank > begin) end = blank;
        }
        lines.append(text.substr(begin, end - begin)) += '\n';
        begin = end + 1;
    }
    return lines;
}

std::string first_line(std::string_view about) {
    return std::string(about.substr(0, about.find('\n')));
}

std::string line_of(std::string_view name, std::string_view about) {
    constexpr size_t width = 20;
    const size_t missing = name.size() < width ? width - name.size() : 1;
    return std::string(name) + std::string(missing, ' ') + first_line(about) + "\n";
}

}  // namespace

std::optional<std::string> explanation_of(std::string_view name) {
    for (const Fault& fault : faults) {
        if (fault.name == name) return wrapped(fault.about);
    }
    for (const Warning& warning : warning_table()) {
        if (warning.name != name) continue;
        const std::string off = "[lab: off " + std::string(name);
        return wrapped(std::string(warning.about) + "\nA note switches this warning off: " + off +
                       "], or " + off + " in NAME...] for some definitions, TOP being the entry.");
    }
    const std::string entry = reference_entry(name);
    if (entry.empty()) return std::nullopt;
    return entry.substr(0, entry.find_last_not_of('\n') + 1) + "\n";
}

std::string explained_words() {
    std::string text = "Faults, for which marl refuses a program:\n";
    for (const Fault& fault : faults) text += "  " + line_of(fault.name, fault.about);
    text += "Warnings:\n";
    for (const Warning& warning : warning_table()) {
        text += "  " + line_of(warning.name, warning.about);
    }
    return text;
}

}  // namespace marl::lab
