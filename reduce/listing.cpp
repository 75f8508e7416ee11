// A line has the instruction's place and name, the register that it writes, what it reads, and
// where else it may go on. A register that stays behind a use is marked by "+", since the use takes
// one more reference. What an instruction means stands in its row (reduce/instructions.h).
#include "reduce/listing.h"

#include <vector>

#include "reduce/analysis.h"
#include "reduce/tables.h"
#include "value/real_word.h"

namespace marl {

namespace {

std::string reg(int number) { return "r" + std::to_string(number); }

std::string constant(Word word) {
    if (is_short(word)) return std::to_string(short_of(word));
    if (is_real(word)) {
        const Value leaf = Value::adopt(real_leaf(real_of(word)));
        return std::string(print_value(leaf).view());
    }
    return std::string(print_value(node_of(word)).view());
}

std::string operand(const Operand& from) {
    switch (from.from) {
        case From::take: return reg(from.reg);
        case From::share: return reg(from.reg) + "+";
        case From::constant: break;
    }
    return constant(from.word);
}

class Line {
  public:
    Line(const Code& code, size_t place) : in_(code.instructions[place]), place_(place) {}

    std::string text() {
        const InstructionRow& row = row_of(in_.op);
        std::string line = std::to_string(place_);
        line.resize(std::max<size_t>(line.size(), 4), ' ');
        line += row.name;
        line.resize(std::max<size_t>(line.size() + 1, 24), ' ');
        if (row.a == Role::write) line += reg(in_.a) + " = ";
        if (row.shape == Shape::land) line += "the value that comes, " + kept();
        add(row);
        for (const std::string& word : words_) line += word + ' ';
        while (line.back() == ' ') line.pop_back();
        return line + '\n';
    }

  private:
    std::string kept() const { return "r0 to below r" + std::to_string(in_.b) + " were kept"; }
    std::string to(int32_t distance) const {
        return std::to_string(static_cast<int32_t>(place_) + distance);
    }

    void add_register(Role role, int number, bool taken) {
        switch (role) {
            case Role::take: words_.push_back(reg(number)); break;
            case Role::keep: words_.push_back(reg(number) + "+"); break;
            case Role::use: words_.push_back(reg(number) + (taken ? "" : "+")); break;
            case Role::row:
                for (int i = 0; i < in_.c; ++i) words_.push_back(reg(number + i));
                break;
            default: break;
        }
    }

    /// What an instruction has besides registers and operands.
    void add_own() {
        switch (in_.op) {
            case Op::constant:
            case Op::number:
            case Op::return_number:
            case Op::return_constant:
            case Op::cell:
            case Op::pairs: words_.push_back(constant(in_.word)); break;
            case Op::builtin:
            case Op::builtin_nested:
            case Op::builtin_last:
            case Op::builtin_held: words_.push_back(in_.builtin->name); break;
            case Op::call:
            case Op::call_last:
            case Op::call_held: words_.push_back(called()); break;
            case Op::name: words_.emplace_back("value of"); break;
            case Op::closure:
            case Op::construct: words_.push_back(part()); break;
            case Op::if_held: words_.push_back(std::to_string(in_.c) + " are held?"); break;
            case Op::if_strict: words_.push_back("strict on " + std::to_string(in_.c) + "?"); break;
            default: break;
        }
    }

    std::string called() const {
        if (in_.d == 0) return std::string(in_.symbol->name);
        for (const Symbol* symbol : defined_symbols()) {
            if (symbol->code && symbol->code->start() == in_.target) {
                return std::string(symbol->name);
            }
        }
        return "?";
    }

    std::string part() const {
        return '{' + std::string(print_value(in_.part->whole).view()) + '}';
    }

    void add(const InstructionRow& row) {
        const int taken = in_.fields.f;
        add_own();
        if (row.has_operands) {
            for (int i = 0; i < in_.c; ++i) words_.push_back(operand(in_.operands[i]));
        } else {
            add_register(row.a, in_.a, (taken & take_a) != 0);
            add_register(row.b, in_.b, (taken & take_b) != 0);
            add_register(row.c, in_.c, (taken & take_c) != 0);
        }
        const bool has_number = row.b == Role::use && row.c == Role::none &&
                                (row.shape == Shape::next || row.shape == Shape::branch);
        if (has_number) words_.push_back(constant(in_.word));
        if (in_.op == Op::call_last) words_.push_back("on r0 to below " + reg(in_.c));
        add_ways(row);
    }

    void add_way(const char* name, int32_t distance) {
        if (distance) words_.push_back(std::string(name) + ": " + to(distance));
    }
    void add_ways(const InstructionRow& row) {
        switch (row.shape) {
            case Shape::jump:
            case Shape::test: add_way("to", in_.d); break;
            case Shape::hold:
            case Shape::step: add_way("lands at", in_.d); break;
            case Shape::branch:
                add_way("H", in_.d);
                add_way("other", in_.fields.e);
                break;
            case Shape::choose:
                add_way("K", in_.choice->k);
                add_way("H", in_.choice->h);
                add_way("I", in_.choice->identity);
                add_way("cell", in_.choice->pair);
                if (in_.choice->pair)
                    words_.push_back("to " + reg(in_.choice->x) + ' ' + reg(in_.choice->y));
                add_way("other", in_.choice->other);
                break;
            default: break;
        }
    }

    const Instruction& in_;
    const size_t place_;
    std::vector<std::string> words_;
};

}  // namespace

std::string listing(const Code& code, Beside beside) {
    std::string text;
    each_part(code, [&](const Code& part) {
        if (&part != &code) {
            if (!part.made) return false;
            text += '{' + std::string(print_value(part.whole).view()) + "}\n";
        }
        for (size_t i = 0; i < part.instructions.size(); ++i) {
            text += Line(part, i).text();
            if (beside) text += beside(part, i);
        }
        return true;
    });
    return text;
}

}  // namespace marl
