// A test in a note is about the definition in front of it or the one behind it: about the one that
// it names, and when it names both or neither, about the one behind, whose note it then follows.
#include "lab/doc.h"

#include <algorithm>
#include <set>

#include "lab/notes.h"
#include "lab/reference.h"
#include "lab/test_notes.h"

namespace marl::lab {

namespace {

bool names(const Program& program, const TestNote& test, const Piece& piece) {
    const Program expression = read_expression(program, test.expression);
    return std::any_of(expression.names.begin(), expression.names.end(), [&](const Name& name) {
        return name.role == Role::use && !name.binder && name.key == piece.key;
    });
}

/// The index of the definition that a test is about; none when the file has none.
std::optional<size_t> subject_of(const Program& program, const TestNote& test) {
    std::optional<size_t> before;
    std::optional<size_t> behind;
    for (size_t i = 0; i < program.pieces.size(); ++i) {
        if (program.pieces[i].kind != PieceKind::definition) continue;
        if (i < test.piece) before = i;
        if (i > test.piece && !behind) behind = i;
    }
    if (!before || !behind) return before ? before : behind;
    const bool is_before = names(program, test, program.pieces[*before]) &&
                           !names(program, test, program.pieces[*behind]);
    return is_before ? before : behind;
}

// Texts.

std::string indented(std::string_view text, std::string_view by) {
    std::string shown;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\n' && (i == 0 || text[i - 1] == '\n')) shown += by;
        shown += text[i];
    }
    return shown;
}

std::string escaped(std::string_view text) {
    std::string shown;
    for (const char c : text) {
        switch (c) {
            case '&': shown += "&amp;"; break;
            case '<': shown += "&lt;"; break;
            case '>': shown += "&gt;"; break;
            case '"': shown += "&quot;"; break;
            default: shown += c;
        }
    }
    return shown;
}

/// Prose as HTML: what stands between backticks is code, and between two stars strong.
std::string prose_in_html(std::string_view text) {
    std::string shown;
    bool in_code = false;
    bool is_strong = false;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '`') {
            in_code = !in_code;
            shown += in_code ? "<code>" : "</code>";
        } else if (!in_code && text.substr(i, 2) == "**") {
            is_strong = !is_strong;
            shown += is_strong ? "<strong>" : "</strong>";
            ++i;
        } else {
            shown += escaped(text.substr(i, 1));
        }
    }
    return shown + (in_code ? "</code>" : "") + (is_strong ? "</strong>" : "");
}

std::string examples_text(const Entry& entry) {
    std::string text;
    for (const Example& example : entry.examples) text += shown_example(example) + "\n";
    return text;
}

std::string entry_in_html(const Entry& entry) {
    std::string shown = "<section id=\"" + escaped(entry.name) + "\">\n<h2><code>" +
                        escaped(entry.signature) + "</code></h2>\n";
    if (!entry.note.empty()) shown += "<p>" + prose_in_html(entry.note) + "</p>\n";
    if (!entry.examples.empty()) {
        shown += "<pre><code>" + escaped(examples_text(entry)) + "</code></pre>\n";
    }
    return shown + "</section>\n";
}

std::string entry_in_markdown(const Entry& entry) {
    std::string shown = "## " + entry.name + "\n\n`" + entry.signature + "`\n";
    if (!entry.note.empty()) shown += "\n" + entry.note + "\n";
    if (!entry.examples.empty()) shown += "\n```text\n" + examples_text(entry) + "```\n";
    return shown;
}

std::string entry_in_text(const Entry& entry) {
    std::string shown = entry.signature + "\n";
    if (!entry.note.empty()) shown += indented(entry.note, "    ") + "\n";
    for (const Example& example : entry.examples) {
        shown += indented(shown_example(example), "    ") + "\n";
    }
    return shown;
}

/// An entry of the reference, which is Markdown.
std::string reference_in(PageForm form, const std::string& name, std::string text) {
    text.erase(text.find_last_not_of('\n') + 1);
    if (form == PageForm::text) return name + "\n" + indented(text, "    ") + "\n";
    if (form == PageForm::markdown) return "## `" + name + "`\n\n" + text + "\n";
    std::string shown =
        "<section id=\"" + escaped(name) + "\">\n<h2><code>" + escaped(name) + "</code></h2>\n";
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find("\n\n", begin), text.size());
        shown +=
            "<p>" + prose_in_html(std::string_view(text).substr(begin, end - begin)) + "</p>\n";
        begin = end + 2;
    }
    return shown + "</section>\n";
}

std::optional<Program> theme_program(const Files& files, const std::string& theme) {
    const auto text = file_text(files, path_of_theme(files, theme));
    if (!text) return std::nullopt;
    return read_program(*text);
}

}  // namespace

std::string signature_of(const Program& program, const Piece& piece) {
    std::string signature(program.written(piece.name));
    if (piece.fresh) signature += "()";
    signature += '\\';
    for (const std::string& parameter : piece.parameters) signature += parameter + "\\";
    return signature;
}

Page page_of(std::string_view title, const Program& program) {
    Page page{std::string(title), file_note(program), {}};
    std::vector<std::pair<size_t, Example>> examples;
    for (const TestNote& test : test_notes(program)) {
        const auto subject = subject_of(program, test);
        const std::string expression(program.written(test.expression));
        if (subject) examples.push_back({*subject, {expression, test.expected}});
    }
    for (size_t i = 0; i < program.pieces.size(); ++i) {
        const Piece& piece = program.pieces[i];
        if (!program.counts(i) || piece.kind == PieceKind::entry) continue;
        if (piece.key.starts_with('_')) continue;
        Entry entry{piece.key, signature_of(program, piece), note_before(program, piece), {}};
        for (const auto& [subject, example] : examples) {
            if (subject == i) entry.examples.push_back(example);
        }
        page.entries.push_back(std::move(entry));
    }
    return page;
}

std::string shown_example(const Example& example) {
    return example.expression + " -> " + example.result;
}

std::string shown_entry(const Entry& entry, PageForm form) {
    switch (form) {
        case PageForm::text: return entry_in_text(entry);
        case PageForm::markdown: return entry_in_markdown(entry);
        case PageForm::html: break;
    }
    return entry_in_html(entry);
}

std::string shown_page(const Page& page, PageForm form) {
    std::string shown;
    switch (form) {
        case PageForm::text:
            shown = page.title + "\n";
            if (!page.about.empty()) shown += indented(page.about, "    ") + "\n";
            break;
        case PageForm::markdown:
            shown = "# " + page.title + "\n";
            if (!page.about.empty()) shown += "\n" + page.about + "\n";
            break;
        case PageForm::html:
            shown = "<h1>" + escaped(page.title) + "</h1>\n";
            if (!page.about.empty()) shown += "<p>" + prose_in_html(page.about) + "</p>\n";
            break;
    }
    for (const Entry& entry : page.entries) {
        shown += (form == PageForm::html ? "" : "\n") + shown_entry(entry, form);
    }
    return shown;
}

std::optional<std::string> shown_name(const Files& files, const std::string& name, PageForm form) {
    std::string shown;
    const std::string reference = reference_entry(name);
    if (!reference.empty()) shown = reference_in(form, name, reference);
    const std::vector<std::string> themes = themes_of(files);
    if (std::find(themes.begin(), themes.end(), name) != themes.end()) {
        if (const auto program = theme_program(files, name)) {
            if (!shown.empty()) shown += '\n';
            shown += shown_page(page_of(name, *program), form);
        }
    }
    for (const std::string& theme : themes) {
        const auto program = theme_program(files, theme);
        if (!program || !program->definitions.contains(name)) continue;
        for (Entry& entry : page_of(theme, *program).entries) {
            if (entry.name != name) continue;
            if (!shown.empty()) shown += '\n';
            entry.note += (entry.note.empty() ? "" : "\n") + ("`[use: " + theme + "]`");
            shown += shown_entry(entry, form);
        }
    }
    if (shown.empty()) return std::nullopt;
    return shown;
}

}  // namespace marl::lab
