// The checker of code must be able to fail: each thing that it proves is broken in code that is
// right, by one field changed at a time, and each kind of fault is found.
#include "reduce/check_code.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include "driver/session.h"
#include "reduce/run_code.h"
#include "reduce/tables.h"

namespace marl {
namespace {

// Branches, choices, rows, calls that wait in each way, and parts.
constexpr const char* program =
    R"(a\sum(K)+map(I,K)(K)(K)+pick(1,2,3)+many(1,2)(K)(1)(2)(3)+eval(1)+both(1,2),
sum\l\l(0,h\t\h+sum(t)),map\f\l\l(K,h\t\J(f h,map(f,t))),pick\a\b\c\(a<b)(V(b,c))(c(a)(b)),
many\f\x\sum(x)(f)(x)(1)(2)+look(x,five)+lisp(x)(f)(x)(f)+sum(f)(x),eval\x\Q(x+1)(x),five\sum(K),
Q\a\b\(a=b)a(b+a),both\x\y\(x<1)0(x+y))";

/// What is wrong, without the words that have numbers in them: places and registers.
std::string kind_of_fault(const Code& code) {
    std::istringstream fault(code_fault(code));
    std::string kind;
    for (std::string word; fault >> word;) {
        if (word.find_first_of("0123456789") == std::string::npos) kind += ' ' + word;
    }
    return kind.empty() ? kind : kind.substr(1);
}

class Breaking {
  public:
    std::set<std::string> kinds;

    void all_of(Code& code) {
        if (!code.made) compile(code);
        ASSERT_EQ(code_fault(code), "");
        for (Instruction& in : code.instructions) {
            must_be_found(code, in.op, Op::base);
            all_reads(code, in);
            all_fields(code, in);
        }
        for (const auto& map : code.maps) {
            with(code, map->live, [](RegisterSet live) { return live ^ 1; });
        }
        for (Choice& choice : code.choices) {
            with(code, choice.ends, [](RegisterSet ends) { return ends | set_of(40); });
        }
        for (const auto& part : code.parts) all_of(*part);
    }

  private:
    /// Changes one field for as long as it takes to look.
    template <class Field, class Change>
    void with(const Code& code, Field& field, const Change& change) {
        const Field saved = field;
        field = change(saved);
        kinds.insert(kind_of_fault(code));
        field = saved;
    }

    template <class Field>
    void must_be_found(const Code& code, Field& field, Field value) {
        const Field saved = std::exchange(field, value);
        EXPECT_NE(code_fault(code), "");
        field = saved;
    }

    /// Nobody reads a register that nothing has filled.
    void all_reads(const Code& code, Instruction& in) {
        constexpr uint8_t never_filled = most_registers - 1;
        const InstructionRow& row = row_of(in.op);
        const auto read = [&](Role role, uint8_t& reg) {
            if (role == Role::none || role == Role::write || (role == Role::row && in.c == 0))
                return;
            // A row ends with the last register that there is.
            const int length = role == Role::row ? in.c : 1;
            must_be_found(code, reg, static_cast<uint8_t>(most_registers - length));
        };
        read(row.a, in.a);
        read(row.b, in.b);
        read(row.c, in.c);
        if (!row.has_operands) return;
        std::vector<Operand> operands(in.operands, in.operands + in.c);
        for (Operand& operand : operands) {
            if (operand.from == From::constant) continue;
            const uint8_t saved = std::exchange(operand.reg, never_filled);
            must_be_found<const Operand*>(code, in.operands, operands.data());
            operand.reg = saved;
        }
    }

    void all_fields(const Code& code, Instruction& in) {
        const auto next = [](auto n) { return static_cast<decltype(n)>(n + 1); };
        with(code, in.a, next);
        with(code, in.b, next);
        with(code, in.b, [](uint8_t n) { return static_cast<uint8_t>(n - (n > 0)); });
        with(code, in.d, next);
        with(code, in.d, [](int32_t) { return 10000; });
        const auto as = [](Op op) { return [op](Op) { return op; }; };
        for (const Op op : {Op::enter, Op::jump, Op::wait, Op::base}) with(code, in.op, as(op));
        if (row_of(in.op).has_operands) return;
        with(code, in.c, next);
        with(code, in.fields.f, [](int32_t flags) { return flags ^ take_b; });
        with(code, in.fields.e, next);
    }
};

TEST(CheckCode, finds_each_kind_of_fault) {
    Session session;
    ASSERT_TRUE(open_session(session, program));
    Breaking breaking;
    for (const char* name : {"sum", "map", "pick", "many", "eval", "both"}) {
        breaking.all_of(code_of(symbol_of(name)));
    }
    end_session(session);
    const std::set<std::string> expected{"",
                                         "no enter",
                                         "is empty",
                                         "is full",
                                         "beyond the frame",
                                         "jumps out",
                                         "other registers than on another way to",
                                         "a row below what is live",
                                         "no land where it waits",
                                         "keeps other registers than its land says",
                                         "another set is live than its map says",
                                         "keeps too few registers",
                                         "a choice ends an empty register",
                                         "registers are left",
                                         "ends while it waits",
                                         "waits twice",
                                         "no instruction of code"};
    for (const std::string& kind : expected) EXPECT_TRUE(breaking.kinds.contains(kind)) << kind;
    for (const std::string& kind : breaking.kinds) EXPECT_TRUE(expected.contains(kind)) << kind;
}

}  // namespace
}  // namespace marl
