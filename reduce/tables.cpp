// The Symbols stand in a row that only grows, with an index by the hashes of their names, and names
// of one byte in an array in front of it. The names, which are never freed, stand one behind the
// other. The definitions are no table of their own: they are found by going through the Symbols,
// which happens a few times in a run, and never in a call.
#include "reduce/tables.h"

#include <algorithm>
#include <memory>

#include "text/hash_index.h"

namespace marl {

std::vector<Value> builtin_definitions;

void define_builtin(Symbol& symbol) {
    const auto arity = static_cast<size_t>(symbol.builtin->arity);
    if (arity >= builtin_definitions.size()) return;
    symbol.definition = builtin_definitions[arity];
    symbol.parameters = static_cast<int8_t>(arity);
}

namespace {

/// Symbols as they were made. None of them ever moves.
class SymbolRow {
  public:
    size_t size() const { return size_; }
    Symbol& operator[](size_t i) { return chunks_[i / chunk][i % chunk]; }
    Symbol& add() {
        if (size_ % chunk == 0) chunks_.push_back(std::make_unique<Symbol[]>(chunk));
        return (*this)[size_++];
    }

  private:
    static constexpr size_t chunk = 128;
    std::vector<std::unique_ptr<Symbol[]>> chunks_;
    size_t size_ = 0;
};

/// Texts that stay.
class KeptTexts {
  public:
    std::string_view keep(std::string_view text) {
        if (text.size() > room_) make_room(text.size());
        char* kept = next_;
        text.copy(kept, text.size());
        next_ += text.size();
        room_ -= text.size();
        return {kept, text.size()};
    }

  private:
    void make_room(size_t size) {
        room_ = std::max(size, size_t{1} << 12);
        next_ = blocks_.emplace_back(std::make_unique<char[]>(room_)).get();
    }

    std::vector<std::unique_ptr<char[]>> blocks_;
    char* next_ = nullptr;
    size_t room_ = 0;
};

struct SymbolTable {
    SymbolRow all;
    KeptTexts names;
    HashIndex by_name;
    std::vector<Symbol*> in_key_order;  // of those that there were when somebody asked last
    Symbol* of_one_byte[256] = {};      // which most Leaves hold
};

// Never destroyed: Leaves point into it to the end.
SymbolTable& symbols() {
    static auto* table = new SymbolTable;
    return *table;
}

bool is_before(const Symbol* a, const Symbol* b) { return a->name < b->name; }

const std::vector<Symbol*>& symbols_in_key_order() {
    SymbolTable& table = symbols();
    std::vector<Symbol*>& sorted = table.in_key_order;
    const auto known = static_cast<std::ptrdiff_t>(sorted.size());
    if (sorted.size() == table.all.size()) return sorted;
    for (size_t i = sorted.size(); i < table.all.size(); ++i) sorted.push_back(&table.all[i]);
    std::sort(sorted.begin() + known, sorted.end(), is_before);
    std::inplace_merge(sorted.begin(), sorted.begin() + known, sorted.end(), is_before);
    return sorted;
}

struct BuiltinIndex {
    std::vector<const Builtin*> rows;
    HashIndex by_name;
};

const BuiltinIndex& builtin_index() {
    static const auto* index = [] {
        auto* made = new BuiltinIndex;
        made->rows.reserve(256);
        for (const std::span<const Builtin> family : builtin_families()) {
            for (const Builtin& row : family) {
                made->by_name.enter(hash_of_bytes(row.name),
                                    static_cast<uint32_t>(made->rows.size()));
                made->rows.push_back(&row);
            }
        }
        return made;
    }();
    return *index;
}

const Builtin* find_builtin(std::string_view name, uint64_t hash) {
    const BuiltinIndex& index = builtin_index();
    const uint32_t place =
        index.by_name.find(hash, [&](uint32_t i) { return index.rows[i]->name == name; });
    return place == no_place ? nullptr : index.rows[place];
}

Symbol& make_symbol(SymbolTable& table, std::string_view name, const Builtin* builtin) {
    Symbol& symbol = table.all.add();
    symbol.name = table.names.keep(name);
    if (name.size() == 1) table.of_one_byte[static_cast<uint8_t>(name[0])] = &symbol;
    symbol.builtin = builtin;
    if (builtin) define_builtin(symbol);
    return symbol;
}

/// Apart, as most questions are for letters.
[[gnu::noinline]] Symbol& find_or_make(SymbolTable& table, std::string_view name) {
    const uint64_t hash = hash_of_bytes(name);
    const auto next = static_cast<uint32_t>(table.all.size());
    const uint32_t place = table.by_name.find_or_enter(
        hash, next, [&](uint32_t i) { return table.all[i].name == name; });
    return place == next ? make_symbol(table, name, find_builtin(name, hash)) : table.all[place];
}

/// The Symbol of a name of one byte; null when there is none yet.
Symbol* of_letter(const SymbolTable& table, char letter) {
    return table.of_one_byte[static_cast<uint8_t>(letter)];
}

}  // namespace

Symbol* find_symbol(std::string_view name) {
    SymbolTable& table = symbols();
    if (name.size() == 1) return of_letter(table, name[0]);
    const uint64_t hash = hash_of_bytes(name);
    const uint32_t place =
        table.by_name.find(hash, [&](uint32_t i) { return table.all[i].name == name; });
    if (place != no_place) return &table.all[place];
    return find_builtin(name, hash) ? &symbol_of(name) : nullptr;
}

Symbol& symbol_of(std::string_view name) {
    SymbolTable& table = symbols();
    Symbol* letter = name.size() == 1 ? of_letter(table, name[0]) : nullptr;
    return letter ? *letter : find_or_make(table, name);
}

Symbol& bind_symbol(Node* name_leaf) {
    const char* text = leaf_text(name_leaf);
    Symbol* letter = text[1] == 0 ? of_letter(symbols(), text[0]) : nullptr;
    Symbol& symbol = letter ? *letter : symbol_of(leaf_bytes(name_leaf));
    symbol_slot(name_leaf) = &symbol;
    return symbol;
}

Node* find_definition(std::string_view name) {
    Symbol* symbol = find_symbol(name);
    return symbol ? symbol->definition.get() : nullptr;
}

Symbol* next_defined_symbol(const Symbol* after) {
    const std::vector<Symbol*>& sorted = symbols_in_key_order();
    auto next =
        after ? std::upper_bound(sorted.begin(), sorted.end(), after, is_before) : sorted.begin();
    while (next != sorted.end() && !(*next)->definition) ++next;
    return next == sorted.end() ? nullptr : *next;
}

void for_each_symbol(const std::function<void(Symbol&)>& see) {
    SymbolRow& all = symbols().all;
    for (size_t i = 0; i < all.size(); ++i) see(all[i]);
}

std::vector<Symbol*> defined_symbols() {
    std::vector<Symbol*> defined;
    for (Symbol* symbol : symbols_in_key_order()) {
        if (symbol->definition) defined.push_back(symbol);
    }
    return defined;
}

}  // namespace marl
