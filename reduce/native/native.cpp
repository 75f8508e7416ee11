// Translation: the stencils' bytes are copied, and each patch of a stencil says which of its bytes
// are a hole, or the distance to a function or a table of the program. Sizes are known before
// anything is written, so that jumps find their targets at once.
#include "reduce/native/native.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "reduce/code.h"
#include "reduce/native/hole_names.h"
#include "reduce/native/region.h"
#include "reduce/native/stencil_names.h"
#include "reduce/operands.h"
#include "reduce/run_code.h"

namespace marl {

// What a stencil jumps to when a count is full.
extern "C" [[noreturn]] void stop_at_count() {
    Node full;
    full.header = count_mask;
    retain(&full);
    abort();
}

namespace {

enum class Hole : uint8_t {
#define MARL_HOLE(name) name,
    MARL_HOLES(MARL_HOLE) MARL_JUMP_HOLES(MARL_HOLE)
#undef MARL_HOLE
};

enum class PatchKind : uint8_t { number, wide, relative };

/// `to` is a Hole, or the complement of a target's number.
struct Patch {
    size_t offset;
    PatchKind kind;
    int to;
    int64_t addend;
};

struct Stencil {
    const uint8_t* bytes;
    size_t size;
    const Patch* patches;
    size_t patch_count;
};

enum class Name : uint8_t {
#define MARL_NAME(name) name,
    MARL_STENCIL_NAMES(MARL_NAME) MARL_STEP_NAMES(MARL_NAME)
#undef MARL_NAME
};

struct StencilRow {
    Name name;
    Stencil stencil;
};

/// A stencil, and the operand that it is about, or the place in what a part applies.
struct Step {
    const Stencil* stencil;
    int operand = 0;
};

}  // namespace

#include <stencils.inc>

namespace {

using StencilTable = std::array<const Stencil*, sizeof stencil_rows / sizeof *stencil_rows>;
const Stencil* stencil_named(Name name) {
    static const StencilTable table = [] {
        StencilTable made{};
        for (const StencilRow& row : stencil_rows) {
            made[static_cast<size_t>(row.name)] = &row.stencil;
        }
        return made;
    }();
    return table[static_cast<size_t>(name)];
}

/// The stencil that does all of an instruction; null for none.
const Stencil* stencil_of_op(Op op) {
    switch (op) {
#define MARL_CASE(name) \
    case Op::name: return stencil_named(Name::name);
        MARL_STENCIL_NAMES(MARL_CASE)
#undef MARL_CASE
        default: return nullptr;
    }
}

bool is_call(Op op) { return op == Op::call || op == Op::call_last || op == Op::call_held; }

/// Whether all that an instruction says fits the holes of its stencil. The compiler extends a
/// number of 32 bits as it likes, with zeros or with its sign.
bool fits(const Instruction& in) {
    switch (in.op) {
        case Op::number:
        case Op::return_number:
        case Op::add_number:
        case Op::subtract_number:
        case Op::multiply_number:
        case Op::divide_number:
        case Op::modulo_number:
        case Op::less_number:
        case Op::not_less_number:
        case Op::same_number:
        case Op::differ_number: return in.n >= 0 && in.n <= std::numeric_limits<int32_t>::max();
        default: return !is_call(in.op) || in.d != 0;
    }
}

/// Whether closures of the part are made of steps: each is a block of its own, from a free list.
bool is_made_in_steps(const Code& part) {
    return MARL_POOL && !part.is_copied && part.captures > 0 &&
           part.captures <= most_pooled_captures;
}

/// What an instruction's native code consists of; nothing when its function in the loop runs it.
std::vector<Step> steps_of(const Instruction& in) {
    if (in.op == Op::closure && is_made_in_steps(*in.part)) {
        std::vector<Step> steps{{stencil_named(Name::begin_closure)}};
        for (int i = 0; i < in.c; ++i) {
            constexpr Name names[] = {Name::capture_taken, Name::capture_shared,
                                      Name::capture_constant};
            steps.push_back({stencil_named(names[static_cast<int>(in.operands[i].from)]), i});
        }
        for (size_t i = 0; i < in.part->applied.size(); ++i) {
            steps.push_back({stencil_named(Name::check_applied), static_cast<int>(i)});
        }
        steps.push_back({stencil_named(Name::end_closure)});
        return steps;
    }
    const Stencil* stencil = fits(in) ? stencil_of_op(in.op) : nullptr;
    if (!stencil) return {};
    return {{stencil}};
}

// In the place of a stencil: movabs $at, %r8; jmp function.
constexpr size_t plain_size = 15;

// Behind the stencil of a call: movabs $target, %r8; jmp *(%r8).
constexpr size_t to_target_size = 13;
static_assert(offsetof(Instruction, run) == 0);

size_t native_size(const Instruction& in) {
    const std::vector<Step> steps = steps_of(in);
    if (steps.empty()) return plain_size;
    size_t size = is_call(in.op) ? to_target_size : 0;
    for (const Step& step : steps) size += step.stencil->size;
    return size;
}

class Translation {
  public:
    Translation(const Code& code, std::vector<size_t> places, uint8_t* start)
        : code_(code), places_(std::move(places)), start_(start) {}

    void write(size_t i) const {
        const Instruction& in = code_.instructions[i];
        uint8_t* place = start_ + places_[i];
        const std::vector<Step> steps = steps_of(in);
        if (steps.empty()) return write_plain(in, place);
        for (const Step& step : steps) {
            const Stencil& stencil = *step.stencil;
            memcpy(place, stencil.bytes, stencil.size);
            for (size_t k = 0; k < stencil.patch_count; ++k)
                patch(i, step, place, stencil.patches[k]);
            place += stencil.size;
        }
        if (is_call(in.op)) write_to_target(in, place);
    }

    /// Which bytes of an instruction's native code differ from run to run.
    void mark_addresses(size_t i, std::vector<bool>& marks) const {
        const auto mark = [&](size_t from, size_t count) {
            std::fill_n(marks.begin() + static_cast<ptrdiff_t>(from), count, true);
        };
        const Instruction& in = code_.instructions[i];
        const std::vector<Step> steps = steps_of(in);
        size_t from = 0;
        for (const Step& step : steps) {
            for (size_t k = 0; k < step.stencil->patch_count; ++k) {
                const Patch& patch = step.stencil->patches[k];
                if (patch.kind == PatchKind::wide) mark(from + patch.offset, sizeof(uint64_t));
                if (patch.kind == PatchKind::relative) mark(from + patch.offset, sizeof(int32_t));
            }
            from += step.stencil->size;
        }
        // Behind them stands what sets `at`.
        if (from < marks.size()) mark(from + 2, sizeof(uint64_t));
        if (steps.empty()) mark(plain_size - sizeof(int32_t), sizeof(int32_t));
    }

  private:
    /// Sets `at`.
    static void write_at(const Instruction* at, uint8_t* place) {
        memcpy(place, "\x49\xB8", 2);
        memcpy(place + 2, &at, sizeof at);
    }

    static void write_to_target(const Instruction& in, uint8_t* place) {
        write_at(in.target, place);
        memcpy(place + 10, "\x41\xFF\x20", 3);
    }

    /// Where a call goes: straight to native code that is there by now.
    uint64_t target(size_t i) const {
        const Instruction& in = code_.instructions[i];
        const Code* callee = in.target->code;
        if (callee->native.start) return reinterpret_cast<uintptr_t>(callee->native.start);
        return native(i, 0) + stencil_of_op(in.op)->size;
    }

    static void write_plain(const Instruction& in, uint8_t* place) {
        write_at(&in, place);
        place[10] = 0xE9;
        const auto function = reinterpret_cast<uintptr_t>(function_of(in.op));
        const auto distance =
            static_cast<int32_t>(function - reinterpret_cast<uintptr_t>(place + plain_size));
        memcpy(place + 11, &distance, sizeof distance);
    }

    void patch(size_t i, const Step& step, uint8_t* place, const Patch& patch) const {
        uint8_t* const to = place + patch.offset;
        uint64_t value = (patch.to < 0 ? reinterpret_cast<uintptr_t>(targets[~patch.to])
                                       : value_of(i, step, place, static_cast<Hole>(patch.to))) +
                         static_cast<uint64_t>(patch.addend);
        if (patch.kind == PatchKind::wide) {
            memcpy(to, &value, sizeof value);
            return;
        }
        if (patch.kind == PatchKind::relative) value -= reinterpret_cast<uintptr_t>(to);
        const auto narrow = static_cast<int32_t>(value);
        memcpy(to, &narrow, sizeof narrow);
    }

    /// Where the native code of an instruction is, at a distance from another one.
    uint64_t native(size_t i, int64_t distance) const {
        return reinterpret_cast<uintptr_t>(start_ + places_[i + static_cast<size_t>(distance)]);
    }

    /// What stands in a hole of a step, whose code is at `place`.
    uint64_t value_of(size_t i, const Step& step, const uint8_t* place, Hole hole) const {
        const Instruction& in = code_.instructions[i];
        const auto in_bytes = [](auto n) { return static_cast<uint64_t>(n) * sizeof(Word); };
        switch (hole) {
            case Hole::a: return in_bytes(in.a);
            case Hole::b: return in_bytes(in.b);
            case Hole::c: return in_bytes(in.c);
            case Hole::takes_a: return static_cast<uint64_t>(in.fields.f & take_a);
            case Hole::takes_b: return static_cast<uint64_t>(in.fields.f & take_b);
            case Hole::count: return in.c;
            case Hole::room: return in_bytes(in.d);
            case Hole::kind: return static_cast<uint64_t>(in.d);
            case Hole::word: return in.word;
            case Hole::number: return static_cast<uint64_t>(in.n);
            case Hole::even_number: return static_cast<uint64_t>(in.n) & ~uint64_t{1};
            case Hole::operand_0: return in_bytes(in.operands[0].reg);
            case Hole::operand_1: return in_bytes(in.operands[1].reg);
            case Hole::from_0: return static_cast<uint64_t>(in.operands[0].from);
            case Hole::from_1: return static_cast<uint64_t>(in.operands[1].from);
            case Hole::word_0: return in.operands[0].word;
            case Hole::word_1: return in.operands[1].word;
            case Hole::has_k: return in.choice->k != 0;
            case Hole::has_h: return in.choice->h != 0;
            case Hole::has_pair: return in.choice->pair != 0;
            case Hole::part_x: return in_bytes(in.choice->x);
            case Hole::part_y: return in_bytes(in.choice->y);
            case Hole::at: return reinterpret_cast<uintptr_t>(&in);
            case Hole::next_one: return reinterpret_cast<uintptr_t>(&in + 1);
            case Hole::further_one: return reinterpret_cast<uintptr_t>(&in + in.d);
            case Hole::free_list: {
                const size_t size = closure_size(static_cast<uint64_t>(in.part->captures));
                return reinterpret_cast<uintptr_t>(free_lists + size / word_size);
            }
            case Hole::header: return closure_header(in.part->kind, in.part->captures);
            case Hole::part: return reinterpret_cast<uintptr_t>(in.part);
            case Hole::slot: return closure_size(static_cast<uint64_t>(step.operand));
            case Hole::captured: return in_bytes(in.operands[step.operand].reg);
            case Hole::captured_word: return in.operands[step.operand].word;
            case Hole::applied_slot: {
                const int captured = in.part->applied[static_cast<size_t>(step.operand)].captured;
                return closure_size(static_cast<uint64_t>(captured));
            }
            case Hole::applied_code: {
                const int count = in.part->applied[static_cast<size_t>(step.operand)].count;
                return static_cast<uint64_t>(rank_zero_code + count);
            }
            case Hole::next: return reinterpret_cast<uintptr_t>(place + step.stencil->size);
            case Hole::further: return native(i, in.d);
            case Hole::enter: return target(i);
            case Hole::way_k: return native(i, in.choice->k);
            case Hole::way_h: return native(i, in.choice->h);
            case Hole::way_pair: return native(i, in.choice->pair);
            case Hole::way_other: return native(i, in.choice->other);
        }
        abort();
    }

    const Code& code_;
    const std::vector<size_t> places_;
    uint8_t* start_;
};

}  // namespace

void make_native(Code& code) {
    std::vector<size_t> places;
    size_t size = 0;
    for (const Instruction& in : code.instructions) {
        places.push_back(size);
        size += native_size(in);
    }
    uint8_t* const room = take_room(size);
    if (!room) return;
    code.native = {room, size};
    if (!let_write(room, size)) return drop_native(code);
    const Translation translation(code, places, room);
    for (size_t i = 0; i < places.size(); ++i) translation.write(i);
    if (!let_run(room, size)) return drop_native(code);
    for (size_t i = 0; i < places.size(); ++i) {
        code.instructions[i].run = reinterpret_cast<Run>(room + places[i]);
    }
}

std::string native_text(const Code& code, size_t place) {
    const Instruction& in = code.instructions[place];
    std::vector<uint8_t> bytes(native_size(in));
    std::vector<bool> is_address(bytes.size());
    const Translation translation(code, std::vector<size_t>(code.instructions.size()),
                                  bytes.data());
    translation.write(place);
    translation.mark_addresses(place, is_address);
    constexpr size_t most_on_a_line = 24;
    std::string text;
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i % most_on_a_line == 0) text += i == 0 ? "     " : "\n     ";
        char digits[4];
        snprintf(digits, sizeof digits, " %02x", bytes[i]);
        text += is_address[i] ? " .." : digits;
    }
    return bytes.empty() ? text : text + '\n';
}

void drop_native(Code& code) {
    if (!code.native.start) return;
    give_room_back(code.native.start, code.native.size);
    code.native = {};
}

}  // namespace marl
