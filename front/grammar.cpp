// One pass from left to right, with stacks of its own: the cost is linear in the text and nothing
// recurses, however deep the brackets nest.
//
// A frame stands for each bracket that is open. Between two binary operators of a frame stands a
// run, possibly an empty one: everything of the levels 9 to 12. A finished run is an operand, and
// operands meet by precedence: an operator that arrives first folds what binds tighter.
#include "front/grammar.h"

#include <array>
#include <utility>
#include <vector>

#include "front/scan.h"

namespace marl {

namespace {

// A binary operator: its level and the direction in which its level folds. Level -1: no operator.
struct Binary {
    int8_t level = -1;
    bool right = false;
};

constexpr std::array<Binary, 256> make_binaries() {
    std::array<Binary, 256> table{};
    const auto enter = [&table](std::string_view operators, int8_t level, bool right) {
        for (const char c : operators) table[static_cast<uint8_t>(c)] = {level, right};
    };
    enter(";\\{", 1, true);
    enter("?", 2, false);
    enter("&|", 3, true);
    enter("=<>#", 4, true);
    enter("@ ", 5, false);
    enter("+-:.", 6, false);
    enter("*/%'", 7, false);
    enter("^", 8, true);
    return table;
}
constexpr auto binaries = make_binaries();
constexpr Binary list_separator{0, true};

Binary binary_of(char c) { return c == ',' ? list_separator : binaries[static_cast<uint8_t>(c)]; }

/// Bytes that can't begin an atom, though one that stands behind another byte of its atom belongs
/// to it: commas that separate nothing. Normalised text holds no newline here.
bool is_filler(char c) { return c == ',' || c == '\n'; }

bool is_digit(char c) { return is_digit_byte(static_cast<uint8_t>(c)); }
bool is_word(char c) { return is_word_byte(static_cast<uint8_t>(c)); }

/// The Leaf of an operator, or of any other single byte.
Value leaf_of_byte(char c) { return leaf(std::string_view(&c, 1)); }

/// The positions of a row of prefix operators in the text.
struct Range {
    size_t begin = 0;
    size_t end = 0;

    void push(size_t position) {
        if (begin == end) begin = position;
        end = position + 1;
    }
};

// A run as far as it has been read: prefix operators, a stretch of atoms, and then prefix operators
// and a stretch again and again. Operators that no stretch follows are postfix.
struct Run {
    Range leading;    // operators before the first stretch
    Range operators;  // operators before the current stretch
    Value before;     // the stretches up to `operators`; null when there is none
    Value stretch;    // the current stretch; null when no atom of it has been read
};

enum class Bracket {
    none,   // the text of parse_expression itself
    group,  // a parenthesis at the start of a stretch
    call,   // a parenthesis behind an atom
    wings,
    list,  // the text of parse_list itself
};

struct Frame {
    Bracket bracket;
    size_t operators;  // how many operators the enclosing frames have on the stack
    Run run;
};

class Parser {
  public:
    Parser(std::string_view text, Bracket outermost) : text_(text) { open(outermost); }

    Value parse() {
        while (position_ < text_.size()) take_next();
        MARL_REQUIRE(frames_.size() == 1);
        return finish_expression();
    }

  private:
    void take_next() {
        const char c = text_[position_];
        switch (c) {
            case '(': open(run().stretch ? Bracket::call : Bracket::group); break;
            case '[': take_bytes(); return;
            case '{':
                take_operand(binary_of(c));
                open(Bracket::wings);
                break;
            case ')': close_parenthesis(); break;
            case '}': close_wings(); break;
            case ',': take_comma(); return;
            case ']': fatal_stop(__FILE__, __LINE__);
            default:
                if (is_prefix_operator(static_cast<uint8_t>(c))) {
                    take_prefix();
                } else if (binary_of(c).level > 0) {
                    take_binary(c);
                } else {
                    take_atom();
                    return;
                }
        }
        ++position_;
    }

    Run& run() { return frames_.back().run; }

    void open(Bracket bracket) { frames_.push_back({bracket, operators_.size(), {}}); }

    void close_parenthesis() {
        const Bracket bracket = frames_.back().bracket;
        MARL_REQUIRE(bracket == Bracket::group || bracket == Bracket::call);
        Value value = finish_expression();
        frames_.pop_back();
        add_atom(run(), std::move(value));
    }

    void close_wings() {
        MARL_REQUIRE(frames_.back().bracket == Bracket::wings);
        Value bound = finish_expression();
        frames_.pop_back();
        operands_.push_back(std::move(bound));
        operators_.push_back('{');
    }

    void take_comma() {
        const Bracket bracket = frames_.back().bracket;
        if (bracket == Bracket::group || bracket == Bracket::none) {
            take_atom();
            return;
        }
        if (bracket == Bracket::call) {
            Value element = finish_expression();
            add_atom(frames_[frames_.size() - 2].run, std::move(element));
        } else {
            take_binary(',');
        }
        ++position_;
    }

    void take_bytes() {
        const auto from = static_cast<int64_t>(position_);
        const auto behind = static_cast<size_t>(match_bracket(text_, from) + 1);
        add_atom(run(), leaf(text_.substr(position_, behind - position_)));
        position_ = behind;
    }

    void take_atom() {
        const size_t from = position_++;
        while (position_ < text_.size() && continues_atom()) ++position_;
        add_atom(run(), atom(text_.substr(from, position_ - from)));
    }

    /// Whether the next byte belongs to the same atom as the one before it.
    bool continues_atom() const {
        const char c = text_[position_];
        const char before = text_[position_ - 1];
        if (is_word(c)) return is_word(before);
        if (is_digit(c)) return is_digit(before);
        if (c != ',') return is_filler(c);
        return frames_.back().bracket == Bracket::group || frames_.back().bracket == Bracket::none;
    }

    static Value atom(std::string_view bytes) {
        if (is_word(bytes[0])) return leaf(bytes);
        if (is_digit(bytes[0])) {
            size_t end = bytes.size();
            while (is_filler(bytes[end - 1])) --end;
            return leaf(bytes.substr(0, end));
        }
        if (bytes[0] == '\0') return cray_with_size(0);
        return leaf_of_byte(bytes[0]);
    }

    static void add_atom(Run& run, Value value) {
        run.stretch =
            run.stretch ? pair(std::move(run.stretch), std::move(value)) : std::move(value);
    }

    void take_prefix() {
        if (run().stretch) {
            end_stretch(run());
            run().operators = {};
        }
        Range& row = run().before ? run().operators : run().leading;
        row.push(position_);
    }

    /// Joins the current stretch, with the operators before it, to those before.
    void end_stretch(Run& run) const {
        Value value = prefixed(run.operators, std::move(run.stretch));
        run.before = run.before ? pair(std::move(run.before), std::move(value)) : std::move(value);
    }

    /// The operators of a row applied to a value, the last one first.
    Value prefixed(Range row, Value value) const {
        for (size_t i = row.end; i > row.begin; --i) {
            value = pair(leaf_of_byte(text_[i - 1]), std::move(value));
        }
        return value;
    }

    /// The same with the first one first.
    Value postfixed(Range row, Value value) const {
        for (size_t i = row.begin; i < row.end; ++i) {
            value = pair(leaf_of_byte(text_[i]), std::move(value));
        }
        return value;
    }

    /// The value of the run at hand, and a new run in its place.
    Value finish_run() {
        Run run = std::exchange(frames_.back().run, {});
        if (run.stretch) {
            end_stretch(run);
            run.operators = {};
        }
        if (!run.before) return postfixed(run.leading, leaf("}"));
        return postfixed(run.operators, prefixed(run.leading, std::move(run.before)));
    }

    /// Ends the run before an operator, and folds what binds tighter than the operator does.
    void take_operand(Binary binary) {
        operands_.push_back(finish_run());
        while (operators_.size() > frames_.back().operators) {
            const int level = binary_of(operators_.back()).level;
            if (level < binary.level || (level == binary.level && binary.right)) break;
            fold_top();
        }
    }

    void take_binary(char c) {
        take_operand(binary_of(c));
        operators_.push_back(c);
    }

    Value pop_operand() {
        Value operand = std::move(operands_.back());
        operands_.pop_back();
        return operand;
    }

    void fold_top() {
        const char c = operators_.back();
        operators_.pop_back();
        Value right = pop_operand();
        Value left = pop_operand();
        if (c == '{') {
            left = pair(pair(leaf("{"), pop_operand()), std::move(left));
        } else if (c != ' ') {
            left = pair(leaf_of_byte(c), std::move(left));
        }
        operands_.push_back(pair(std::move(left), std::move(right)));
    }

    Value finish_expression() {
        operands_.push_back(finish_run());
        while (operators_.size() > frames_.back().operators) fold_top();
        return pop_operand();
    }

    std::string_view text_;
    size_t position_ = 0;
    std::vector<Frame> frames_;
    std::vector<Value> operands_;
    std::vector<char> operators_;
};

}  // namespace

Value parse_expression(std::string_view text) { return Parser(text, Bracket::none).parse(); }

Value parse_list(std::string_view text) { return Parser(text, Bracket::list).parse(); }

}  // namespace marl
