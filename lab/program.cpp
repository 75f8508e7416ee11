// In four passes: brackets are mended, the text is normalised with the place of each byte kept,
// each piece is parsed with the origins of its nodes, and a walk over each expression binds its
// names.
#include "lab/program.h"

#include <algorithm>

#include "front/definitions.h"
#include "front/names.h"
#include "front/patterns.h"
#include "front/prelude.h"
#include "front/scan.h"
#include "front/scopes.h"
#include "lab/brackets.h"
#include "reduce/analysis.h"
#include "reduce/tables.h"
#include "value/walk.h"

namespace marl::lab {

namespace {

/// From places in a normalised piece to places in the source.
struct Translation {
    const std::vector<size_t>& places;
    size_t piece_begin;
    size_t source_size;

    size_t behind(size_t position) const {
        const size_t i = piece_begin + position;
        if (i > 0) return places[i - 1] + 1;
        return places.empty() ? source_size : places[0];
    }
    size_t at(size_t position) const {
        const size_t i = piece_begin + position;
        return i < places.size() ? places[i] : behind(position);
    }

    /// What takes no bytes stands right behind what is before it.
    Origin operator()(const Origin& origin) const {
        const bool empty = origin.begin == origin.end;
        return {empty ? behind(origin.begin) : at(origin.begin), behind(origin.end),
                empty && origin.outer_begin == origin.begin ? behind(origin.begin)
                                                            : at(origin.outer_begin),
                behind(origin.outer_end)};
    }
};

bool is_key(Node* node) { return is_leaf(node) && is_definable(leaf_bytes(node)); }

std::string key_of(Node* leaf) { return std::string(definition_key(leaf_bytes(leaf)).view()); }

/// Collects the names of one piece, each use with its binder.
struct NameWalk {
    Program& program;
    size_t piece;
    std::map<std::string, std::vector<size_t>, std::less<>> binders = {};  // by key, innermost last

    void leaf(Node* node) {
        if (!is_reference(node) || is_leaf_text(node, "}")) return;
        Name name{program.range_of(node), std::string(leaf_bytes(node)), Role::use, piece, {}, {}};
        const auto around = binders.find(name.key);
        if (around != binders.end() && !around->second.empty()) name.binder = around->second.back();
        program.names.push_back(std::move(name));
    }

    void enter(Node* binder) {
        const Role role = form(binder) == Form::lambda ? Role::parameter : Role::local;
        const Range scope = program.outer_range_of(binder_body(binder));
        for (Node* bound : bound_names(binder)) {
            const std::string key = key_of(bound);
            binders[key].push_back(program.names.size());
            program.names.push_back(
                {program.range_of(bound), key, role, piece, std::nullopt, scope});
        }
    }

    void leave(Node* binder) {
        for (Node* bound : bound_names(binder)) binders[key_of(bound)].pop_back();
    }
};

void name_piece(Program& program, Piece& piece) {
    const DefinedName name = defined_name(piece.value);
    if (!is_definable(name.text)) return;
    Node* written = right(left(piece.value));
    piece.kind = PieceKind::definition;
    piece.key = std::string(definition_key(name.text).view());
    piece.name = program.range_of(name.unmemoised ? left(written) : written);
    piece.fresh = name.unmemoised;
    piece.expression = right(piece.value);
}

void list_parameters(Piece& piece) {
    for (Node* rest = piece.expression; form(rest) == Form::lambda; rest = lambda_body(rest)) {
        Node* key = lambda_key(rest);
        const bool is_name = is_key(key);
        piece.parameters.push_back(is_name ? key_of(key) : std::string());
    }
}

/// Parses one piece of the normalised text.
Piece read_piece(Program& program, std::string_view normalised, size_t begin, size_t end,
                 const std::vector<size_t>& places, const std::vector<Range>& damage) {
    const Translation translate{places, begin, program.text.size()};
    Origins origins;
    Value value = parse_expression(normalised.substr(begin, end - begin), origins);
    for (const auto& [node, origin] : origins) program.origins[node] = translate(origin);
    const size_t first = begin == end ? translate.behind(0) : translate.at(0);
    Piece piece{begin == 0 ? PieceKind::entry : PieceKind::note,
                {first, translate.behind(end - begin)},
                std::move(value),
                nullptr,
                {},
                {},
                false,
                false,
                {},
                0,
                0};
    piece.expression = piece.value;
    const auto behind = std::partition_point(
        damage.begin(), damage.end(), [&](Range range) { return range.end <= piece.range.begin; });
    piece.damaged = behind != damage.end() && behind->begin < piece.range.end;
    if (begin > 0) name_piece(program, piece);
    return piece;
}

void read_pieces(Program& program, std::string_view mended, const std::vector<Range>& damage) {
    std::vector<size_t> places;
    const String normal = normalise(mended, places);
    for (size_t next = 0; next <= normal.view().size();) {
        const size_t end = end_of_piece(normal.view(), next);
        program.pieces.push_back(read_piece(program, normal.view(), next, end, places, damage));
        next = end + 1;
    }
}

/// A first line that tells a system which program runs the file is for nobody else.
std::string without_interpreter_line(std::string_view text) {
    std::string rest(text);
    if (!text.starts_with("#!")) return rest;
    const size_t end = std::min(text.find('\n'), text.size());
    std::fill_n(rest.begin(), end, ' ');
    return rest;
}

/// A first piece that is empty or a text in brackets is no entry.
void find_entry(Program& program) {
    Piece& first = program.pieces.front();
    const std::string_view text = program.written(first.range);
    const bool is_note = is_leaf_of(first.value, '[') && text.starts_with('[');
    if (first.damaged || (!text.empty() && !is_note)) return;
    first.kind = PieceKind::note;
    program.has_entry = false;
}

void read_names(Program& program) {
    for (size_t i = 0; i < program.pieces.size(); ++i) {
        Piece& piece = program.pieces[i];
        piece.first_name = piece.names_end = program.names.size();
        if (piece.kind == PieceKind::note) continue;
        if (piece.kind == PieceKind::definition) {
            program.names.push_back({piece.name, piece.key, Role::definition, i, std::nullopt, {}});
            if (piece.key != "_") program.definitions[piece.key] = i;  // that one is the system's
        }
        list_parameters(piece);
        NameWalk walk{program, i};
        walk_scopes(piece.expression, walk);
        piece.names_end = program.names.size();
    }
}

}  // namespace

std::vector<Node*> bound_names(Node* binder) {
    Node* key = binder_key(binder);
    if (has_pair_pattern(binder)) return {left(key), right(key)};
    if (!is_funky(binder)) return {key};
    std::vector<Node*> words;
    for_each_node(key, [&](Node* node) {
        if (is_key(node) && is_word_byte(first_byte(node))) words.push_back(node);
    });
    return words;
}

Range Program::range_of(const Node* node) const {
    const Origin& origin = origins.at(node);
    return {origin.begin, origin.end};
}

Range Program::outer_range_of(const Node* node) const {
    const Origin& origin = origins.at(node);
    return {origin.outer_begin, origin.outer_end};
}

bool Program::counts(size_t piece) const {
    if (pieces[piece].kind != PieceKind::definition) return pieces[piece].kind == PieceKind::entry;
    const auto definition = definitions.find(pieces[piece].key);
    return definition != definitions.end() && definition->second == piece;
}

std::optional<size_t> Program::piece_at(size_t position) const {
    const auto behind =
        std::upper_bound(pieces.begin(), pieces.end(), position,
                         [](size_t at, const Piece& piece) { return at < piece.range.begin; });
    if (behind == pieces.begin()) return std::nullopt;
    const auto piece = behind - 1;
    if (position > piece->range.end) return std::nullopt;
    return static_cast<size_t>(piece - pieces.begin());
}

const Name* Program::name_at(size_t position) const {
    const Name* ending = nullptr;
    for (const Name& name : names) {
        if (name.range.begin <= position && position < name.range.end) return &name;
        if (name.range.end == position && name.range.begin < position) ending = &name;
    }
    return ending;
}

Program read_program(std::string_view text, Reading reading) {
    Program program;
    program.text = without_interpreter_line(text);
    Mended mended = mend_brackets(program.text);
    program.bracket_faults = std::move(mended.faults);
    program.comma_faults = find_comma_faults(mended.text);
    for (const Message& fault : program.comma_faults) mended.damage.push_back(fault.range);
    read_pieces(program, mended.text, mended.damage);
    if (reading == Reading::file) find_entry(program);
    read_names(program);
    return program;
}

const Program& prelude_program() {
    static const auto* program = new Program(read_program(prelude_text()));
    return *program;
}

std::optional<int> builtin_arity(std::string_view key) {
    static const auto* arities = [] {
        auto* table = new std::map<std::string, int, std::less<>>;
        for (const Builtin& row : builtin_table()) (*table)[row.name] = row.arity;
        return table;
    }();
    const auto row = arities->find(key);
    return row == arities->end() ? std::nullopt : std::optional(row->second);
}

bool is_given(std::string_view key) {
    return key == "_" || builtin_arity(key) || prelude_program().definitions.contains(key);
}

std::string shown_name(const Piece& piece) {
    return piece.kind == PieceKind::entry ? "TOP" : piece.key;
}

}  // namespace marl::lab
