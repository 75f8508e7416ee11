#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "library/families.h"
#include "number/convert.h"
#include "number/post.h"

namespace marl {
namespace {

Value call(std::string_view name, std::vector<Value> arguments) {
    for (const Row& row : record_rows()) {
        if (row.name == name) return row.function(arguments.data());
    }
    return {};
}

std::string shown(const Value& x) { return std::string(leaf_bytes(x)); }

struct Read {
    const char* name;
    Value place;
    const char* offset;
    const char* expected;
};

TEST(Record, ReadsAreUnsignedLittleEndianAndInBounds) {
    const Value bytes = post_make("\x01\x02\x03\x04\x05\x06\x07\xFF");
    const Value ones = post_make("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF");
    const Value text = leaf("[abc[]]");
    const Value tree = pair(leaf("[a]"), leaf("[b]"));  // reads as [a[b]]
    const Read cases[] = {
        {"relh", bytes, "0", "1"},
        {"reli", bytes, "1", "770"},
        {"relj", bytes, "2", "100992003"},
        {"relk", bytes, "0", "18376663423120507393"},
        {"relk", ones, "0", "18446744073709551615"},
        {"relk", bytes, "1", "Z"},
        {"relh", bytes, "01", "255"},
        {"relh", bytes, "08", "1"},
        {"relh", bytes, "09", "Z"},
        {"relh", bytes, "8", "Z"},
        {"relh", bytes, "9223372036854775807", "Z"},
        {"relh", bytes, "[0]", "Z"},
        {"relh", text, "0", "Z"},
        {"remj", bytes, "2", "100992003"},
        {"remh", text, "0", "Z"},
        {"rech", text, "0", "97"},
        {"rech", text, "01", "93"},
        {"rech", text, "5", "Z"},
        {"rech", tree, "2", "98"},
        {"rech", bytes, "0", "Z"},
        {"redh", text, "0", "97"},
        {"redh", tree, "0", "Z"},
    };
    for (const Read& row : cases) {
        EXPECT_EQ(shown(call(row.name, {row.place, leaf(row.offset)})), row.expected)
            << row.name << " at " << row.offset;
    }
}

struct Write {
    const char* name;
    const char* place;
    const char* offset;
    const char* number;
    const char* expected;
};

// "[" is 91 and "]" 93: 23899 is "[]" in two bytes and 23389 is "][".
constexpr Write writes[] = {
    {"rell", "(c)abc", "1", "65", "(c)aAc"},    {"rell", "(c)abc", "01", "321", "(c)abA"},
    {"relm", "(c)abc", "0", "16961", "(c)ABc"}, {"relm", "(c)abc", "2", "16961", "Z"},
    {"rell", "(c)abc", "1", "[b]", "Z"},        {"reml", "(c)abc", "1", "65", "(c)aAc"},
    {"recl", "[abc]", "1", "65", "[aAc]"},      {"recl", "[abc]", "1", "91", "Z"},
    {"recl", "[a[]]", "1", "93", "Z"},          {"recl", "[a[]]", "1", "91", "[a[]]"},
    {"recm", "[[]]", "0", "23899", "[[]]"},     {"recm", "[[]]", "0", "23389", "Z"},
    {"recm", "[[[]]]", "1", "23389", "[[][]]"}, {"redl", "[abc]", "2", "65", "[abA]"},
    {"redl", "(c)abc", "2", "65", "Z"},
};

TEST(Record, WritesDropHighBitsAndKeepBracketsInBalance) {
    for (const Write& row : writes) {
        const Value made = call(row.name, {leaf(row.place), leaf(row.offset), leaf(row.number)});
        EXPECT_EQ(shown(made), row.expected) << row.name << " into " << row.place;
    }
}

TEST(Record, ACheckedWriteChangesOnlyWhatNobodyElseHolds) {
    for (const char* place : {"(c)abc", "[abc]"}) {
        const char* name = *place == '(' ? "rell" : "recl";
        std::vector<Value> alone;  // an initializer list would hold a second reference
        for (const char* text : {place, "0", "65"}) alone.push_back(leaf(text));
        Node* node = alone[0];
        const Value changed = call(name, std::move(alone));
        EXPECT_EQ(changed.get(), node);
        const Value held = leaf(place);
        const Value copied = call(name, {held, leaf("0"), leaf("65")});
        EXPECT_NE(copied.get(), held.get());
        EXPECT_EQ(shown(held), place);
        EXPECT_EQ(shown(copied), shown(changed));
    }
}

TEST(Record, AnUncheckedWriteShowsInEveryHolder) {
    const Value held = leaf("(c)abc");
    const Value changed = call("reml", {held, leaf("0"), leaf("65")});
    EXPECT_EQ(changed.get(), held.get());
    EXPECT_EQ(shown(held), "(c)Abc");
}

TEST(Record, MemoryIsReachedAtAnyAddress) {
    char block[16] = {};
    const Value address = from_i64(reinterpret_cast<int64_t>(block) + 3);
    EXPECT_EQ(shown(call("refo", {address, leaf("01")})), "I");
    EXPECT_EQ(shown(call("refk", {address})), "18446744073709551615");
    EXPECT_EQ(block[2], 0);
    EXPECT_EQ(block[11], 0);
    EXPECT_EQ(shown(call("refh", {leaf("[a]")})), "Z");
    EXPECT_EQ(shown(call("refl", {address, leaf("Z")})), "Z");
}

}  // namespace
}  // namespace marl
