// An entry is a row of a table, its cells with the heads of their columns, or a paragraph that
// begins with the name in bold.
#include "lab/reference.h"

#include <algorithm>
#include <map>
#include <vector>

namespace marl::lab {

extern const std::string_view reference_text;  // made from the document

namespace {

using Cells = std::vector<std::string>;
using Entries = std::map<std::string, std::string, std::less<>>;

/// The cells of a row. A bar in a cell is written with a backslash.
Cells cells_of(std::string_view row) {
    Cells cells;
    std::string cell;
    for (size_t i = 1; i < row.size(); ++i) {
        if (row[i] == '\\' && i + 1 < row.size() && row[i + 1] == '|') {
            cell += row[++i];
        } else if (row[i] == '|') {
            const size_t first = cell.find_first_not_of(' ');
            const size_t last = cell.find_last_not_of(' ');
            cells.push_back(first == cell.npos ? "" : cell.substr(first, last - first + 1));
            cell.clear();
        } else {
            cell += row[i];
        }
    }
    return cells;
}

/// The name that a cell consists of, in backticks; empty for another cell.
std::string name_of(const std::string& cell) {
    if (cell.size() < 3 || cell.front() != '`' || cell.back() != '`') return {};
    const std::string name = cell.substr(1, cell.size() - 2);
    const bool is_word = std::all_of(name.begin(), name.end(),
                                     [](char c) { return c == '_' || (c >= 'a' && c <= 'z'); });
    const bool is_combinator = name.size() == 1 && name[0] >= 'A' && name[0] <= 'Z';
    return is_word || is_combinator ? name : std::string();
}

void enter_row(Entries& entries, const Cells& head, const Cells& row) {
    std::vector<std::string> names;
    std::string text;
    for (size_t i = 0; i < row.size() && i < head.size(); ++i) {
        const std::string name = name_of(row[i]);
        if (!name.empty() && text.empty()) {
            names.push_back(name);
        } else if (!row[i].empty()) {
            text += head[i] + ": " + row[i] + "\n\n";
        }
    }
    for (const std::string& name : names) entries.try_emplace(name, text);
}

/// A row of the grammar, `a+b` being how an operator is written.
void enter_grammar_row(Entries& entries, const Cells& row) {
    const std::string& written = row[1];
    for (size_t at = written.find('`'); at != written.npos; at = written.find('`', at + 1)) {
        const std::string_view form = std::string_view(written).substr(at);
        const bool infix = form.size() > 4 && form[1] == 'a' && form[3] == 'b' && form[4] == '`';
        const bool prefix = form.size() > 3 && form[2] == 'a' && form[3] == '`';
        if (!infix && !prefix) continue;
        std::string text = "level " + row[0] + ": " + written + " is " + row[3] + "\n\n";
        if (!row[2].empty()) text += "fold: " + row[2] + "\n\n";
        entries.try_emplace(std::string(1, form[infix ? 2 : 1]), text);
    }
}

/// A paragraph like "**`+` `plus`**: sum, or join."
void enter_paragraph(Entries& entries, std::string_view paragraph) {
    const size_t end = paragraph.find("**", 2);
    if (end == paragraph.npos) return;
    const std::string_view names = paragraph.substr(0, end);
    for (size_t at = names.find('`'); at < names.size();) {
        const size_t behind = names.find('`', at + 1);
        if (behind == names.npos) return;
        entries[std::string(names.substr(at + 1, behind - at - 1))] =
            std::string(paragraph) + "\n\n";
        at = names.find('`', behind + 1);
    }
}

Entries* read_entries() {
    auto* entries = new Entries;
    std::vector<std::string_view> lines;
    for (size_t begin = 0; begin < reference_text.size();) {
        const size_t end = std::min(reference_text.find('\n', begin), reference_text.size());
        lines.push_back(reference_text.substr(begin, end - begin));
        begin = end + 1;
    }
    Cells head;
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string_view line = lines[i];
        if (line.starts_with("**`")) {
            std::string paragraph;
            for (; i < lines.size() && !lines[i].empty(); ++i) {
                paragraph += (paragraph.empty() ? "" : " ") + std::string(lines[i]);
            }
            enter_paragraph(*entries, paragraph);
        } else if (!line.starts_with('|')) {
            head.clear();
        } else if (head.empty()) {
            head = cells_of(line);
        } else if (head.size() == 4 && head[0] == "level") {
            const Cells row = cells_of(line);
            if (row.size() == 4) enter_grammar_row(*entries, row);
        } else {
            enter_row(*entries, head, cells_of(line));
        }
    }
    return entries;
}

}  // namespace

std::string reference_entry(std::string_view name) {
    static const Entries* entries = read_entries();
    const auto entry = entries->find(name);
    return entry == entries->end() ? std::string() : entry->second;
}

}  // namespace marl::lab
