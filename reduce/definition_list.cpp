// The row is sorted as a whole when it is looked at for the first time; what comes later is few.
#include "reduce/definition_list.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace marl {

namespace {

bool is_before(const DefinitionList::Entry& a, const DefinitionList::Entry& b) {
    return a.symbol->name < b.symbol->name;
}

/// The first bytes of a name, in an order that is the names' where they differ. No name has a NUL.
uint64_t beginning(std::string_view name) {
    const size_t n = name.size();
    uint64_t word = 0;
    if (n >= sizeof word) {
        memcpy(&word, name.data(), sizeof word);
        return __builtin_bswap64(word);
    }
    if (n >= sizeof(uint32_t)) {
        uint32_t first, last;  // they may have bytes in common
        memcpy(&first, name.data(), sizeof first);
        memcpy(&last, name.data() + n - sizeof last, sizeof last);
        word = uint64_t{__builtin_bswap32(first)} << 32;
        return word | uint64_t{__builtin_bswap32(last)} << (sizeof word - n) * 8;
    }
    for (size_t i = 0; i < n; ++i) word |= uint64_t{static_cast<uint8_t>(name[i])} << (7 - i) * 8;
    return word;
}

/// Sorts the row from a place on, equal ones as they stand.
void sort(std::vector<DefinitionList::Entry>& row, size_t from) {
    struct Place {
        uint64_t beginning;
        size_t at;
    };
    std::vector<Place> places;
    places.reserve(row.size() - from);
    for (size_t i = from; i < row.size(); ++i) {
        places.push_back({beginning(row[i].symbol->name), i});
    }
    const auto comes_before = [&](const Place& a, const Place& b) {
        if (a.beginning != b.beginning) return a.beginning < b.beginning;
        return is_before(row[a.at], row[b.at]);
    };
    // What a program has written often is in order, but for what came later.
    const auto rest = std::is_sorted_until(places.begin(), places.end(), comes_before);
    std::stable_sort(rest, places.end(), comes_before);
    std::inplace_merge(places.begin(), rest, places.end(), comes_before);
    std::vector<DefinitionList::Entry> sorted;
    sorted.reserve(row.size());
    for (size_t i = 0; i < from; ++i) sorted.push_back(std::move(row[i]));
    for (const Place& place : places) sorted.push_back(std::move(row[place.at]));
    row.swap(sorted);
}

}  // namespace

std::vector<DefinitionList::Entry>& DefinitionList::in_order() const {
    if (in_place_ == row_.size()) return row_;
    sort(row_, in_place_);
    const auto from = row_.begin() + static_cast<std::ptrdiff_t>(in_place_);
    if (in_place_ > 0) std::inplace_merge(row_.begin(), from, row_.end(), is_before);
    // Of those with one name the last one stays, which was set last.
    const auto is_replaced = [&](const Entry& entry) {
        const Entry* next = &entry + 1;
        return next != row_.data() + row_.size() && next->symbol == entry.symbol;
    };
    size_t kept = 0;
    for (size_t i = 0; i < row_.size(); ++i) {
        if (is_replaced(row_[i])) continue;
        if (kept != i) row_[kept] = std::move(row_[i]);
        ++kept;
    }
    row_.resize(kept);
    in_place_ = kept;
    return row_;
}

const DefinitionList::Entry* DefinitionList::find(const Symbol& symbol) const {
    const std::vector<Entry>& row = in_order();
    const auto place = std::partition_point(row.begin(), row.end(), [&](const Entry& entry) {
        return entry.symbol->name < symbol.name;
    });
    return place != row.end() && place->symbol == &symbol ? &*place : nullptr;
}

void DefinitionList::erase(const Symbol& symbol) {
    Entry* entry = find(symbol);
    if (!entry) return;
    row_.erase(row_.begin() + (entry - row_.data()));
    in_place_ = row_.size();
}

void DefinitionList::add(const DefinitionList& other) {
    std::vector<Entry> joined;
    joined.reserve(size() + other.size());
    std::vector<Entry> own = std::exchange(in_order(), {});
    auto from = other.begin();
    const auto end = other.end();
    for (Entry& entry : own) {
        for (; from != end && is_before(*from, entry); ++from) joined.push_back(*from);
        if (from != end && from->symbol == entry.symbol) ++from;
        joined.push_back(std::move(entry));
    }
    joined.insert(joined.end(), from, end);
    row_ = std::move(joined);
    in_place_ = row_.size();
}

void DefinitionList::clear() {
    row_.clear();
    in_place_ = 0;
}

}  // namespace marl
