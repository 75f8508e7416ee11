// The JSON is read at the first question and stays for the life of the process.
#include "lab/reference.h"

#include <map>
#include <nlohmann/json.hpp>
#include <span>

namespace marl::lab {

extern const std::span<const std::string_view> reference_pieces;  // made from the document

namespace {

using Entries = std::map<std::string, std::string, std::less<>>;

bool names_something(const std::string& kind) {
    return kind == "built-in" || kind == "combinator" || kind == "operator";
}

Entries* read_entries() {
    auto* entries = new Entries;
    std::string document;
    for (const std::string_view piece : reference_pieces) document += piece;
    const auto reference = nlohmann::json::parse(document);
    for (const auto& entry : reference.at("entries")) {
        if (!names_something(entry.at("kind"))) continue;
        std::string text;
        for (const auto& line : entry.at("lines")) {
            const std::string label = line.at(0);
            text += (label.empty() ? "" : label + ": ") + std::string(line.at(1)) + "\n\n";
        }
        entries->emplace(entry.at("name"), text);
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
