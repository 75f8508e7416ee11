// A graph of names: alive is what a walk from the entry meets, doomed what a walk backward from the
// undefined names meets and the first one doesn't.
#include "lab/reach.h"

#include <map>
#include <vector>

#include "lab/walk.h"

namespace marl::lab {

namespace {

using Keys = std::set<std::string, std::less<>>;

/// The globals that each definition that counts refers to; a missing operand is the name }.
std::map<std::string, Keys, std::less<>> references_of(const Program& program) {
    std::map<std::string, Keys, std::less<>> references;

    for (size_t i = 0; i < program.pieces.size(); ++i) {
        if (!program.counts(i)) continue;
        Keys& keys = references[program.pieces[i].key];
        if (!missing_operands(program, i).empty()) keys.insert("}");
    }
    for (const Name& name : program.names) {
        if (name.role == Role::use && !name.binder && program.counts(name.piece)) {
            references[program.pieces[name.piece].key].insert(name.key);
        }
    }
    return references;
}

Keys follow(const std::map<std::string, Keys, std::less<>>& references,
            std::vector<std::string> rest) {
    Keys reached;
    while (!rest.empty()) {
        const std::string key = std::move(rest.back());
        rest.pop_back();
        if (!reached.insert(key).second) continue;
        const auto next = references.find(key);
        if (next != references.end()) {
            rest.insert(rest.end(), next->second.begin(), next->second.end());
        }
    }
    return reached;
}

}  // namespace

bool is_defined(const Program& program, std::string_view key) {
    return program.definitions.contains(key) || program.used_names.contains(key) || is_given(key);
}

std::vector<Node*> missing_operands(const Program& program, size_t piece) {
    std::set<const Node*> keys;
    for (const BadKey& bad : program.bad_keys) keys.insert(bad.key);
    std::vector<Node*> missing;
    for_each_node(program.pieces[piece].expression, [&](Node* node) {
        if (is_leaf_text(node, "}") && !keys.contains(node)) missing.push_back(node);
    });
    return missing;
}

Reach find_reach(const Program& program) {
    std::vector<std::string> roots;
    if (program.has_entry) roots.emplace_back();
    for (const auto& [key, piece] : program.definitions) {
        if (!program.has_entry) roots.push_back(key);
    }
    return find_reach(program, std::move(roots));
}

Reach find_reach(const Program& program, std::vector<std::string> roots) {
    auto references = references_of(program);
    static const auto* given = new auto(references_of(prelude_program()));
    for (const auto& [key, keys] : *given) {
        if (!key.empty()) references.emplace(key, keys);
    }
    Reach reach;
    reach.alive = follow(references, std::move(roots));
    reach.loads = reach.alive.contains("load") || reach.alive.contains("road");

    std::map<std::string, std::vector<std::string>, std::less<>> callers;
    std::vector<std::string> rest;
    for (const auto& [key, keys] : references) {
        for (const std::string& needed : keys) {
            callers[needed].push_back(key);
            if (!is_defined(program, needed)) rest.push_back(needed);
        }
    }
    while (!rest.empty()) {
        const std::string needed = std::move(rest.back());
        rest.pop_back();
        for (const std::string& caller : callers[needed]) {
            if (reach.alive.contains(caller)) continue;
            if (reach.doomed.insert(caller).second) rest.push_back(caller);
        }
    }
    return reach;
}

}  // namespace marl::lab
