// The places of a run's frames are kept beside it on a stack of their own, as deep as its context.
#include "lab/written.h"

#include <algorithm>
#include <utility>

#include "front/patterns.h"
#include "lab/message.h"
#include "reduce/analysis.h"
#include "value/allocate.h"

namespace marl::lab {

namespace {

/// Who is told of nodes that are freed.
Written* told = nullptr;

Site part_of(const Site& site, Node* part(Node*)) {
    return site && !is_leaf(site.node) ? Site{site.source, part(site.node)} : Site{};
}

Site argument_of(const Site& site) {
    return part_of(site, [](Node* node) { return right(node); });
}
Site function_of(const Site& site) {
    return part_of(site, [](Node* node) { return left(node); });
}

Site value_of(const Site& site) {
    return site && form(site.node) == Form::let ? Site{site.source, let_value(site.node)} : Site{};
}

const Piece* piece_of(const Sources& sources, std::string_view key) {
    const auto place = sources.definitions.find(key);
    if (place == sources.definitions.end()) return nullptr;
    return &sources.bundle.program(place->second.source).pieces[place->second.piece];
}

Spot spot_at(const SourceFile& source, size_t position) {
    const Lines lines(source.program.text);
    const size_t line = lines.line_of(position);
    return {source.shown, line + 1, position - lines.begin_of(line) + 1};
}

}  // namespace

Sources sources_of(std::string_view name, std::string_view text) {
    Sources sources;
    SourceFile file;
    file.path = file.shown = std::string(name);
    file.program = read_program(text, Reading::expression);
    for (const auto& [key, piece] : file.program.definitions) {
        sources.definitions[key] = {0, piece};
    }
    sources.definitions[""] = {0, 0};
    sources.bundle.sources.push_back(std::move(file));
    return sources;
}

std::string text_of(const Spot& spot) {
    if (spot.line == 0) return {};
    return spot.file + ':' + std::to_string(spot.line) + ':' + std::to_string(spot.column);
}

Range range_of(const Sources& sources, const Site& site) {
    return sources.bundle.program(site.source).range_of(site.node);
}

Spot spot_of(const Sources& sources, const Site& site) {
    if (!site) return {};
    return spot_at(sources.bundle.sources[site.source], range_of(sources, site).begin);
}

Spot end_of(const Sources& sources, const Site& site) {
    if (!site) return {};
    return spot_at(sources.bundle.sources[site.source], range_of(sources, site).end);
}

std::vector<std::string> parameters_of(const Sources& sources, std::string_view key) {
    const Piece* piece = piece_of(sources, key);
    return piece ? piece->parameters : std::vector<std::string>();
}

Spot spot_of_definition(const Sources& sources, std::string_view key) {
    const Piece* piece = piece_of(sources, key);
    if (!piece) return {};
    const auto place = sources.definitions.find(key)->second;
    return spot_at(sources.bundle.sources[place.source], piece->range.begin);
}

Written::Written(const Sources& sources) : sources_(sources) {
    told = this;
    on_freed = on_freed_node;
}

Written::~Written() {
    told = nullptr;
    on_freed = nullptr;
}

void Written::on_freed_node(const void* node) { told->forget(node); }

void Written::forget(const void* node) {
    copies_.erase(static_cast<const Node*>(node));
    of_definitions_.erase(static_cast<const Node*>(node));
}

void Written::begin() {
    for (const auto& [key, place] : sources_.definitions) {
        Symbol* symbol = find_symbol(key);
        if (!symbol || !symbol->definition) continue;
        const Piece& piece = sources_.bundle.program(place.source).pieces[place.piece];
        match(*symbol, symbol->definition, {place.source, piece.expression});
    }
}

/// Goes over both forms of a definition at once, as far as they are alike.
void Written::match(const Symbol& symbol, Node* machine, Site site) {
    std::vector<std::pair<Node*, Node*>> rest{{machine, site.node}};
    while (!rest.empty()) {
        const auto [made, written] = rest.back();
        rest.pop_back();
        if (is_leaf(made) || is_leaf(written) || is_leaf_of(left(written), '`')) continue;
        Places& places = of_definitions_[made];
        if (!places) places = std::make_shared<std::vector<In>>();
        places->push_back({&symbol, {site.source, written}});
        if (has_pair_pattern(written)) {
            // A let of the whole, and one for each of its parts in it.
            rest.emplace_back(let_value(made), let_value(written));
            rest.emplace_back(let_body(let_body(let_body(made))), let_body(written));
            continue;
        }
        rest.emplace_back(right(made), right(written));
        rest.emplace_back(left(made), left(written));
    }
}

Written::Places Written::places_of(Node* node) const {
    if (is_leaf(node)) return nullptr;
    if (const auto copy = copies_.find(node); copy != copies_.end()) return copy->second;
    const auto found = of_definitions_.find(node);
    return found == of_definitions_.end() ? nullptr : found->second;
}

Site Written::known(Node* node, const Symbol* within, const Site& expected) const {
    const Places places = places_of(node);
    if (!places) return {};
    for (const In& in : *places) {
        if (in.site == expected) return expected;
    }
    for (const In& in : *places) {
        if (in.definition == within) return in.site;
    }
    return places->front().site;
}

void Written::copied(Node* part, Node* copy) {
    if (Places places = places_of(part)) copies_[copy] = std::move(places);
}

Site Written::at(const Course& course, const Symbol* within) {
    runs_.resize(static_cast<size_t>(course.nesting) + 1);
    Run& run = runs_.back();
    run.frames.resize(static_cast<size_t>(course.frames));
    Site site = known(course.focus, within, run.current);
    if (!site) site = run.current;
    if (course.last) {
        runs_.pop_back();
        return site;
    }
    switch (course.rule) {
        case Rule::pop:
            run.current = run.frames.back();
            run.frames.pop_back();
            break;
        case Rule::hold_back:
            run.frames.push_back(site);
            run.current = function_of(site);
            break;
        case Rule::reduce_argument:
            run.frames.push_back(site);
            run.current = argument_of(site);
            break;
        case Rule::wait_for_value:
            run.frames.push_back(site);
            run.current = value_of(site);
            break;
        case Rule::fire_held:
            site = run.frames[run.frames.size() - static_cast<size_t>(course.lacking)];
            run.frames.resize(run.frames.size() - static_cast<size_t>(course.lacking));
            run.current = site;
            break;
        case Rule::fire: run.current = course.hands_on ? site : Site{}; break;
    }
    return site;
}

}  // namespace marl::lab
