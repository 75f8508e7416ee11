// Calls of single built-ins with values of all kinds, sound and unsound, each result a value for
// later calls. A built-in that takes an address, or ends the process, gets nothing that passes for
// an argument of it, and must answer Z. Whatever a built-in does, a value that somebody else holds
// stays as it is.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "driver/session.h"
#include "front/intern.h"
#include "library/families.h"
#include "number/convert.h"
#include "number/cray.h"
#include "number/post.h"
#include "number/zits.h"
#include "reduce/heads.h"
#include "reduce/interrupts.h"
#include "tests/fuzz/limits.h"

extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

namespace {

using namespace marl;

/// Those that may be called with anything, besides whole families.
constexpr std::string_view harmless =
    " look cork trim rank init cray left rght leaf lisp raws cmpr tern leak todo type "
    "abs labs calloc malloc difftime srand rand strerror gai_strerror htonl htons ntohl ntohs "
    "errno "
    "getchar putchar stdout stderr listen shutdown ";

bool is_of(std::span<const Builtin> (*family)(), std::string_view name) {
    return std::ranges::any_of(family(), [&](const Builtin& row) { return name == row.name; });
}

bool is_harmless(const Builtin& row) {
    const std::string name = row.name;
    if (row.arity == 0) return true;
    if (harmless.find(" " + name + " ") != harmless.npos) return true;
    if (is_of(arithmetic_rows, name) || is_of(comparison_rows, name)) return true;
    if (is_of(packing_rows, name) || is_of(text_rows, name)) return true;
    if (is_of(math_rows, name)) return name != "frexp" && name != "modf";
    if (is_of(record_rows, name)) return name[2] == 'c' || name[2] == 'l';
    return is_of(string_rows, name) && (name.starts_with("is") || name.starts_with("to"));
}

/// Bytes into values.
class Source {
  public:
    Source(const uint8_t* data, size_t size) : data_(data), end_(data + size) {}

    bool empty() const { return data_ == end_; }
    int next() { return empty() ? 0 : *data_++; }

    /// Any value that a built-in can be given.
    Value value(const std::vector<Value>& pool) {
        if (next() % 4 == 0 && !pool.empty())
            return pool[static_cast<size_t>(next()) % pool.size()];
        Value made = expression(0);
        return is_closed(made) && settled(made) ? made : leaf_K();
    }

    /// One that no test of an argument lets through.
    Value unsound() {
        switch (next() % 4) {
            case 0: return malformed();
            case 1: return array(0);
            case 2: return leaf_Z();
            default: return apply(leaf("V"), malformed(), real());
        }
    }

  private:
    Value expression(int depth) {
        constexpr int deepest = 6;
        if (depth == deepest) return name();
        switch (next() % 14) {
            case 0: return from_i64(static_cast<int8_t>(next()));
            case 1: return leaf(bytes("0123456789", "1"));
            case 2: return real();
            case 3: return post_make(bytes());
            case 4: return zits_make(balanced());
            case 5: return pair(zits_make(balanced()), zits_make(balanced()));
            case 6: return array(depth);
            case 7: return list(leaf("K"));
            case 8: return malformed();
            case 9: return apply(leaf("V"), pair(leaf("X"), leaf("J")), tree(depth));
            case 10: return tree(depth);
            case 11: return apply(leaf("todo"), name(), expression(depth + 1));
            case 12: return pair(name(), expression(depth + 1));
            default: return name();
        }
    }

    Value name() {
        constexpr std::string_view names = "KHIJZVXUGTB";
        return leaf(names.substr(static_cast<size_t>(next()) % names.size(), 1));
    }

    Value real() {
        std::string text = " ";
        for (int i = 0; i < 8; ++i) text += static_cast<char>(next());
        return leaf(text);
    }

    /// Up to 31 bytes, each one out of a set; all of them for the empty set.
    std::string bytes(std::string_view set = "", std::string text = "") {
        for (int n = next() % 32; n > 0; --n) {
            const int byte = next();
            text +=
                set.empty() ? static_cast<char>(byte) : set[static_cast<size_t>(byte) % set.size()];
        }
        return text;
    }

    std::string balanced() {
        std::string text;
        size_t open = 0;
        for (const char c : bytes("abc[]\"'\n,0")) {
            if (c == ']' && open == 0) continue;
            open += (c == '[') - (c == ']');
            text += c;
        }
        return text + std::string(open, ']');
    }

    Value array(int depth) {
        const int n = next() % 4;
        Value made = cray_with_size(n);
        for (int i = 0; i < n; ++i) {
            Value element = expression(depth + 1);
            if (is_closed(element) && settled(element))
                cray_store(made, i, slot_word(std::move(element)));
        }
        return made;
    }

    /// Bits in cells in front of an end.
    Value list(Value end) {
        for (int bits = next(), n = bits % 16; n > 0; --n, bits >>= 1) {
            end = apply(leaf("J"), leaf(bits & 1 ? "K" : "H"), std::move(end));
        }
        return end;
    }

    Value malformed() {
        Value list_without_end = list(leaf(next() % 2 ? "Z" : "[x]"));
        return apply(leaf("J"), leaf(next() % 2 ? "K" : "H"), std::move(list_without_end));
    }

    Value tree(int depth) {
        const int choice = next();
        if (choice % 3 == 0 || depth > 5) return choice % 2 ? leaf("K") : expression(6);
        Value low = tree(depth + 1);
        return apply(leaf("J"), std::move(low), tree(depth + 1));
    }

    const uint8_t* data_;
    const uint8_t* end_;
};

/// What a call has taken is given back.
void give_back(std::string_view name, Node* result) {
    const auto address = reinterpret_cast<void*>(to_i64(result));
    if (name == "malloc" || name == "calloc") free(address);
    if (name == "leak") release(static_cast<Node*>(address));
}

Value call(const Builtin& row, Source& source, const std::vector<Value>& pool) {
    if (row.name == std::string_view("abort") || row.name == std::string_view("tmpfile")) {
        return leaf_Z();
    }
    const bool any = is_harmless(row);
    std::array<Value, 7> arguments;
    for (int i = 0; i < row.arity; ++i) arguments[i] = any ? source.value(pool) : source.unsound();
    for (int i = 0; i < row.arity; ++i) analyse(arguments[i]);
    if (asks_too_much(row, arguments.data())) return leaf_Z();
    Value result = row.function(arguments.data());
    analyse(result);
    // `road` has a Report for an array, an empty text.
    if (!is_closed(result) || !(any || is_abort(result) || is_leaf_text(result, "Z"))) abort();
    give_back(row.name, result);
    return result;
}

constexpr int most_parts = 2000;

/// The parts that a value is written with, shared ones as often as they stand there, up to one more
/// than the most.
int parts_of(Node* x, int so_far = 0) {
    if (!x || ++so_far > most_parts) return so_far;
    if (!is_leaf(x)) return parts_of(right(x), parts_of(left(x), so_far));
    if (kind_of(x) != 'c') return so_far;
    for (int64_t i = 0; i < cray_length(x); ++i) so_far = parts_of(cray_slot(x, i), so_far);
    return so_far;
}

std::vector<std::string> pictures(const std::vector<Value>& pool) {
    std::vector<std::string> texts;
    texts.reserve(pool.size());
    for (const Value& each : pool) texts.emplace_back(print_value(each).view());
    return texts;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    static Session session;
    if (!open_session(session, "a\\0")) abort();
    // What the built-ins read and write is nothing.
    const int nothing = open("/dev/null", O_RDWR);
    dup2(nothing, 0);
    dup2(nothing, 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr size_t most_held = 6;
    Source source(data, size);
    std::vector<Value> pool;
    while (!source.empty()) {
        steps_left = step_limit;
        const auto rows = builtin_table();
        const int choice = source.next();
        const Builtin& row =
            rows[static_cast<size_t>(choice + source.next() % 2 * 128) % rows.size()];
        const auto before = pictures(pool);
        Value result = call(row, source, pool);
        if (pictures(pool) != before) abort();
        if (!settled(result) || parts_of(result) > most_parts) continue;
        if (pool.size() == most_held) pool.erase(pool.begin());
        pool.push_back(std::move(result));
    }
    pool.clear();
    clear_intern_set();
    return 0;
}
