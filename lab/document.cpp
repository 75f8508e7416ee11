// A line is cut at fixed steps, and the units before each step are counted once, so that a place on
// a line of any length is found by counting within one step.
#include "lab/document.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "lab/across.h"

namespace marl::lab {

namespace {

constexpr size_t stride = 4096;

bool is_inside_character(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

/// The UTF-16 units that a byte begins: none inside a character, two for four bytes.
size_t units_of(char c) {
    if (is_inside_character(c)) return 0;
    return static_cast<unsigned char>(c) >= 0xF0 ? 2 : 1;
}

size_t units_of(std::string_view bytes) {
    size_t count = 0;
    for (const char c : bytes) count += units_of(c);
    return count;
}

size_t natural(const Json& number) {
    if (number.is_number_unsigned()) return number.get<size_t>();
    throw std::invalid_argument("A position is two numbers from 0 on.");
}

}  // namespace

Source::Source(std::string text) : text_(std::move(text)), lines_(text_) {
    size_t count = 0;
    for (size_t i = 0; i < text_.size(); ++i) {
        if (i % stride == 0) units_.push_back(count);
        count += units_of(text_[i]);
    }
    units_.push_back(count);
}

size_t Source::units_before(size_t at) const {
    const size_t begin = at / stride * stride;
    return units_[at / stride] + units_of(std::string_view(text_).substr(begin, at - begin));
}

Json Source::position(size_t at) const {
    const size_t line = lines_.line_of(at);
    return {{"line", line}, {"character", units_before(at) - units_before(lines_.begin_of(line))}};
}

Json Source::range(Range bytes) const {
    return {{"start", position(bytes.begin)}, {"end", position(bytes.end)}};
}

size_t Source::offset(const Json& position) const {
    const size_t line = natural(position.at("line"));
    const size_t wanted = natural(position.at("character"));
    if (line >= lines_.count()) return text_.size();
    const std::string_view bytes = lines_.text_of(line);
    size_t at = 0;
    for (size_t units = 0; at < bytes.size(); ++at) {
        units += units_of(bytes[at]);
        if (units > wanted) break;
    }
    return lines_.begin_of(line) + at;
}

Range Source::bytes(const Json& range) const {
    const size_t begin = offset(range.at("start"));
    return {begin, std::max(begin, offset(range.at("end")))};
}

Document::Document(const Workspace& its_workspace, std::string its_uri, std::string its_text)
    : Source(std::move(its_text)),
      workspace(its_workspace),
      uri(std::move(its_uri)),
      bundle(read_bundle(workspace.files, path_of_uri(uri), text())),
      program(bundle.program(0)) {}

Json Document::location(Range bytes) const { return {{"uri", uri}, {"range", range(bytes)}}; }

Json Document::text_edits(const std::vector<Edit>& edits) const {
    Json list = Json::array();
    for (const Edit& edit : edits) {
        list.push_back({{"range", range(edit.range)}, {"newText", edit.text}});
    }
    return list;
}

Json Document::edit(const std::vector<Edit>& edits) const {
    return {{"changes", {{uri, text_edits(edits)}}}};
}

}  // namespace marl::lab
