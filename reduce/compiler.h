// The compiler's state, and its functions by the files that hold them. Only those files and
// reduce/continuation.cpp include this.
//
// An expression is compiled towards a register or, as the last thing that the frame does, as the
// frame's value. It is taken as a head and a list of terms that the head is applied to, and the
// list stays symbolic as long as it can.
//
// `live` is what registers are needed behind an expression, by what surrounds it. It decides
// whether a use takes or shares, and what a way through a choice drops at its start.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "reduce/code.h"
#include "reduce/tables.h"

namespace marl {

/// Registers for variables.
struct Scope {
    uint32_t letters = 0;  // those that have a register,
    std::array<uint8_t, 26> reg{};
    uint32_t rebound = 0;  // and those that a binder of this Code has bound
};

/// A register, or an expression in a scope.
struct Term {
    Node* expression = nullptr;
    int scope = -1;
    int reg = -1;
};
using Terms = std::vector<Term>;

/// What surrounds an expression makes of its value. The machine's rules would have it in the
/// context: it is written down for a frame that waits when a text brings `todo` into the run.
struct Rest {
    const Rest* outer = nullptr;  // of what comes of it; null when that is the frame's value
    // The value becomes the last argument of `head` on `done`; without a head it is itself the
    // function.
    const Term* head = nullptr;
    const std::vector<Operand>* done = nullptr;
    // Then that is applied to the terms from `from` on.
    const Terms* later = nullptr;
    size_t from = 0;
};

/// Where a value goes: to a register, or to whoever waits for the frame's value.
struct Target {
    bool last = true;
    int reg = 0;
    const Rest* rest = nullptr;  // what becomes of it there
};
constexpr Target last_word{};

class Continuations;  // reduce/continuation.h

class Compiler {
  public:
    explicit Compiler(Code& code, Continuations* continuations = nullptr);
    void run();
    Piece piece_of(const Term& term);
    /// From now on an application of a variable counts as settled when its parts are.
    void hoist_applications() { hoists_applications_ = true; }

  private:
    friend class Continuations;

    // reduce/emit.cpp: instructions, registers, jumps.
    Instruction& emit(Op op, int a = 0, int b = 0, int c = 0);
    int32_t here() const { return static_cast<int32_t>(code_.instructions.size()); }
    Instruction& at(int32_t place) { return code_.instructions[static_cast<size_t>(place)]; }
    uint8_t new_register();
    void drop(RegisterSet set);
    Operand constant(Node* node);
    void attach(Instruction& instruction, const std::vector<Operand>& operands);
    /// Where a value comes to a frame that has waited for it.
    struct Landing {
        int reg;   // that the value comes to
        int kept;  // registers of the frame, from the first on
        StackMap* map;
        bool before_choice;
    };
    Landing landing(int reg, int kept, RegisterSet live, const Rest* rest,
                    bool before_choice = false);
    void land(const Landing& landing);
    void land_later(int32_t from, int32_t back, const Landing& landing);
    void place_later_landings();
    void jump_to_here(int32_t from) { at(from).d = here() - from; }
    static int kept_registers(RegisterSet live);
    void give(const Operand& operand, Target target);
    void mark_taken(Instruction& instruction, const Operand& operand, int flag);

    // reduce/terms.cpp: what is known of a term, and where its value comes from.
    Scope& scope_of(const Term& term) { return scopes_[static_cast<size_t>(term.scope)]; }
    int new_scope(const Scope& scope);
    int register_of(const Term& term);
    RegisterSet registers_of(const Term& term);
    RegisterSet registers_of(const Terms& terms, size_t from = 0);
    RegisterSet registers_in(Node* expression, const Scope& scope);
    int hoisted_register(Node* node, uint32_t rebound) const;
    bool is_settled_register(int reg) const { return reg >= 0 && (unsettled_ & set_of(reg)) == 0; }
    static Node* resolve(Node* name);
    std::optional<Operand> fixed(const Term& term);
    std::optional<Operand> unreduced(const Term& term);
    bool is_simple(const Term& term);
    bool is_work(const Term& term);
    bool is_idle(const Term& term);
    bool are_idle(const Terms& terms);
    bool is_small(const Term& term) const;
    bool are_small(const Terms& terms) const;
    static Operand use(int reg, RegisterSet later);
    static RegisterSet registers_in(const Operand& operand);
    static void take_last_uses(std::vector<Operand>& operands, RegisterSet live);
    Operand value_of(const Term& term, RegisterSet live, const Rest& rest);
    std::vector<Operand> values_of(const Terms& terms, const Term* head, const Terms& later,
                                   RegisterSet live, Target target);

    // reduce/parts.cpp: parts, and what their closures capture.
    struct Part {
        uint32_t index;
        Node* expression;
        int scope;
        Terms captured;
    };
    bool has_room_for(size_t built) const;
    Part part_of(const Term& term);
    Part new_part(const Term& given);
    Terms captures_of(const Term& term, const std::vector<Node*>& built, Code& part);
    Value with_parts_apart(const Term& term);
    bool is_construction(Node* expression) const;
    std::vector<Node*> constructions_in(const Term& term);
    bool may_hold_work(const Term& word);
    void close(Op op, const Term& term, int reg, RegisterSet live);
    void build(const Term& term, int reg, RegisterSet live);
    Operand as_it_is(const Term& term, RegisterSet later);
    Piece copy_of(const Term& term);

    // reduce/compile.cpp: expressions.
    void expression(Term head, Terms terms, Target target, RegisterSet live);
    void bind(Term& head, Terms& terms, Node* key, Node* body, const Term& value, Target target,
              RegisterSet live);
    bool is_too_large() const;
    void cut(const Term& head, const Terms& terms, Target target, RegisterSet live);
    void register_head(int reg, const Terms& terms, Target target, RegisterSet live);
    void leaf_head(const Term& head, const Terms& terms, Target target, RegisterSet live);
    void named_head(Node* name, const Terms& terms, Target target, RegisterSet live);
    void constant_head(Node* name, const Terms& terms, Target target, RegisterSet live);
    void lazy_head(Node* name, const Terms& terms, Target target, RegisterSet live);
    bool arrange(Symbol& symbol, const Terms& terms, Target target, RegisterSet live);
    void partial(Node* name, bool lazy, const Terms& terms, Target target, RegisterSet live);

    // reduce/compile_calls.cpp: calls, operators, and the general way.
    int values_in_row(const Terms& terms, const Term& head, const Terms& later, Target target,
                      RegisterSet live);
    void values_in_front(const Terms& terms, const Term& head);
    bool is_one_instruction(const Term& term);
    void call_here(Symbol& symbol, int base, const Landing& landed);
    void call(Node* name, const Terms& terms, Target target, RegisterSet live);
    void call_and_choose(Symbol& symbol, int base, const Terms& rest, Target target,
                         RegisterSet live);
    void call_held(Symbol& symbol, int base, const Terms& rest, Target target, RegisterSet live);
    void call_last(Node* name, const Terms& own);
    void hold(const Terms& terms, RegisterSet live);
    void general(const Operand& head, const Terms& terms, Target target, RegisterSet live);
    void apply(int reg, const Terms& terms, Target target, RegisterSet live);
    int32_t operate(Op op, Node* name, const Terms& terms, Target target, RegisterSet live, int to);
    void operation(Op op, Node* name, const Terms& terms, Target target, RegisterSet live);

    // reduce/compile_choices.cpp: choices.
    void compare(Op op, Node* name, const Terms& terms, Target target, RegisterSet live);
    bool is_truth(const Term& term);
    int32_t choose(int reg, const Terms& terms, Target target, RegisterSet live, bool is_result);
    template <class Compile>
    int32_t way(RegisterSet before, RegisterSet needed, Target target, std::vector<int32_t>& ends,
                const Compile& compile);
    void join(const std::vector<int32_t>& ends);

    struct LaterLanding {
        int32_t from;  // the instruction that waits there,
        int32_t
            back;  // and where the code goes on; there again for a constant that has its value now
        Landing landing;
    };

    Code& code_;
    Continuations* continuations_;
    std::vector<Scope> scopes_;
    std::vector<LaterLanding> later_;
    std::vector<Part> parts_;
    RegisterSet unsettled_;  // registers that may hold work
    int next_ = 0;           // the first register that is free
    int depth_ = 0;          // of expressions in expressions
    int closing_ = 0;        // parts that are being closed, one within the other
    int arranged_ = 0;       // how many lazy definitions are being arranged
    bool hoists_applications_ = false;
};

}  // namespace marl
