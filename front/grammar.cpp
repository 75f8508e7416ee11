// One pass from left to right, with stacks of its own: the cost is linear in the text and nothing
// recurses, however deep the brackets nest.
//
// A frame stands for each bracket that is open. Between two binary operators of a frame stands a
// run, possibly an empty one: everything of the levels 9 to 12. A finished run is an operand, and
// operands meet by precedence: an operator that arrives first folds what binds tighter.
//
// What the expression becomes is up to a Maker, which makes Terms: a tree of nodes, or members of
// the intern set. Where nodes come from is told to a Tracker, a type of its own for those who don't
// want to know: all of its functions are empty, and nothing of it is left in their parser.
#include "front/grammar.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "front/intern_set.h"
#include "front/scan.h"
#include "reduce/analysis.h"

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
    enter(",", 0, true);
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

Binary binary_of(char c) { return binaries[static_cast<uint8_t>(c)]; }

// What a byte does where an operand or an operator may stand.
enum class Token : uint8_t {
    atom,  // by itself
    word,
    digit,
    open,
    close,
    bytes,
    stray,  // what closes bytes
    wings,
    close_wings,
    comma,
    prefix,
    binary,
};

constexpr Token make_token(uint8_t byte) {
    switch (byte) {
        case '(': return Token::open;
        case ')': return Token::close;
        case '[': return Token::bytes;
        case ']': return Token::stray;
        case '{': return Token::wings;
        case '}': return Token::close_wings;
        case ',': return Token::comma;
        default: break;
    }
    if (is_word_byte(byte)) return Token::word;
    if (is_digit_byte(byte)) return Token::digit;
    if (is_prefix_operator(byte)) return Token::prefix;
    return binaries[byte].level > 0 ? Token::binary : Token::atom;
}

constexpr std::array<Token, 256> make_tokens() {
    std::array<Token, 256> table{};
    for (int byte = 0; byte < 256; ++byte) table[byte] = make_token(static_cast<uint8_t>(byte));
    return table;
}
constexpr auto tokens = make_tokens();

Token token_of(char c) { return tokens[static_cast<uint8_t>(c)]; }

/// Bytes that can't begin an atom, though one that stands behind another byte of its atom belongs
/// to it: commas that separate nothing. Normalised text holds no newline here.
bool is_filler(char c) { return c == ',' || c == '\n'; }

/// The positions of a row of prefix operators in the text.
struct Range {
    size_t begin = 0;
    size_t end = 0;

    bool empty() const { return begin == end; }
    void push(size_t position) {
        if (empty()) begin = position;
        end = position + 1;
    }
};

// A run as far as it has been read: prefix operators, a stretch of atoms, and then prefix operators
// and a stretch again and again. Operators that no stretch follows are postfix.
template <class Term>
struct Run {
    Range leading;    // operators before the first stretch
    Range operators;  // operators before the current stretch
    Term before{};    // the stretches up to `operators`; null when there is none
    Term stretch{};   // the current stretch; null when no atom of it has been read
};

enum class Bracket {
    none,   // the text of parse_expression itself
    group,  // a parenthesis at the start of a stretch
    call,   // a parenthesis behind an atom
    wings,
};

template <class Term>
struct Frame {
    Bracket bracket;
    size_t operators;  // how many operators the enclosing frames have on the stack
    Run<Term> run;
};

/// Makes each node anew.
struct TreeMaker {
    using Term = Value;
    static constexpr bool ends_at_comma = false;

    Value letter(char letter) { return letter_leaf(letter); }
    Value bytes(std::string_view bytes) { return leaf(bytes); }
    Value empty_cray() { return cray_with_size(0); }
    Value join(Value function, Value argument) {
        return pair(std::move(function), std::move(argument));
    }
    void bind(Node*, Node*) {}
};

/// A member of the intern set, and the letters that are free in it, bit i for "a" + i.
struct Part {
    Interned member;
    uint32_t free = 0;

    explicit operator bool() const { return static_cast<bool>(member); }
};

/// The letter's bit, or none.
uint32_t bit_of_letter(uint8_t byte) {
    const uint32_t i = uint32_t{byte} - 'a';
    return i < 26 ? uint32_t{1} << i : 0;
}

/// Makes members of the intern set.
struct MemberMaker {
    using Term = Part;
    static constexpr bool ends_at_comma = true;
    InternSet& set = intern_set();
    int other_keys = 0;
    ByteBits met = {};  // what was a Leaf of one byte
    std::vector<Symbol*> names = {};

    Part letter(char c) {
        const auto byte = static_cast<uint8_t>(c);
        met.add(byte);
        return {intern_letter(set, c), bit_of_letter(byte)};
    }
    Part bytes(std::string_view bytes) {
        // What a filler belongs to is no name.
        if (!is_word(bytes[0]) || !is_word(bytes.back())) return {intern_leaf(set, bytes)};
        const Interned member = intern_word(set, bytes);
        names.push_back(symbol_slot(node_of(set, member)));
        return {member};
    }
    Part empty_cray() { return {intern_leaf(set, "\n")}; }
    Part join(Part function, Part argument) {
        return {intern_pair(set, function.member, argument.member), function.free | argument.free};
    }
    void bind(Part& key, Part& body) {
        other_keys += key.free == 0 || !is_leaf(node_of(set, key.member));
        body.free &= ~std::exchange(key.free, 0);
    }
    /// The names of one byte in what was made that refer to something.
    ByteBits letters(Part whole) const {
        static const ByteBits referring = [] {
            ByteBits made;
            for (int byte = 1; byte < 256; ++byte) {
                const char c = static_cast<char>(byte);
                const bool is_mark = c == '\\' || c == '{';
                if (is_name({&c, 1}) && !is_mark && !is_letter({&c, 1})) made.add(byte);
            }
            return made;
        }();
        ByteBits found = met & referring;
        found.words['a' / 64] |= uint64_t{whole.free} << 'a' % 64;
        return found;
    }
};

/// The Tracker of those who don't want to know.
struct NoTracker {
    void made_leaf(const auto&, size_t, size_t) {}
    void made_pair(const auto&) {}
    void opened(size_t) {}
    void closed(const auto&, size_t) {}
    void ended_element(const auto&, size_t) {}
    void closed_wings() {}
    void pushed_operator(size_t) {}
    void popped_operator(const auto&) {}
    void popped_blank() {}
};

/// Fills in an Origin for each node. The stacks of the parser have one of positions beside them.
class Tracker {
  public:
    explicit Tracker(Origins& origins) : origins_(origins) {}

    void made_leaf(Node* node, size_t begin, size_t end) {
        origins_[node] = {begin, end, begin, end};
    }
    /// The children may stand in either order.
    void made_pair(Node* node) {
        const Origin& a = origins_.at(left(node));
        const Origin& b = origins_.at(right(node));
        const size_t begin = std::min(a.outer_begin, b.outer_begin);
        const size_t end = std::max(a.outer_end, b.outer_end);
        origins_[node] = {begin, end, begin, end};
    }
    void opened(size_t position) { brackets_.push_back(position); }
    void closed(Node* node, size_t position) {
        ended_element(node, position + 1);
        brackets_.pop_back();
    }
    /// An element of a call list counts as if it had parentheses of its own.
    void ended_element(Node* node, size_t behind) {
        Origin& origin = origins_.at(node);
        origin.outer_begin = std::exchange(brackets_.back(), behind);
        origin.outer_end = behind;
    }
    void closed_wings() {
        operators_.push_back(brackets_.back());
        brackets_.pop_back();
    }
    void pushed_operator(size_t position) { operators_.push_back(position); }
    void popped_operator(Node* leaf) {
        made_leaf(leaf, operators_.back(), operators_.back() + 1);
        operators_.pop_back();
    }
    /// A blank leaves no node.
    void popped_blank() { operators_.pop_back(); }

  private:
    Origins& origins_;
    std::vector<size_t> brackets_;
    std::vector<size_t> operators_;
};

template <class Making, class Tracking>
class Parser {
  public:
    using Term = typename Making::Term;
    Making maker = {};

    explicit Parser(Tracking tracker) : tracker_(tracker) {}

    /// The expression at the beginning of the text, up to its end, or to the first comma outside of
    /// every bracket where the Maker says so.
    Term parse(std::string_view text) {
        text_ = text;
        position_ = 0;
        open(Bracket::none);
        while (position_ < text_.size()) take_next();
        MARL_REQUIRE(frames_.size() == 1);
        Term value = finish_expression();
        frames_.pop_back();
        return value;
    }

    /// So many bytes were the expression.
    size_t size() const { return position_; }

  private:
    void take_next() {
        const char c = text_[position_];
        switch (token_of(c)) {
            case Token::word: take_run(Token::word); return;
            case Token::digit: take_run(Token::digit); return;
            case Token::binary: take_binary(c); break;
            case Token::open: open(run().stretch ? Bracket::call : Bracket::group); break;
            case Token::close: close_parenthesis(); break;
            case Token::bytes: take_bytes(); return;
            case Token::wings:
                take_operand(binary_of(c));
                open(Bracket::wings);
                break;
            case Token::close_wings: close_wings(); break;
            case Token::comma: take_comma(); return;
            case Token::prefix: take_prefix(); break;
            case Token::atom: take_atom(); return;
            case Token::stray: fatal_stop(__FILE__, __LINE__);
        }
        ++position_;
    }

    Run<Term>& run() { return frames_.back().run; }

    void open(Bracket bracket) {
        tracker_.opened(position_);
        frames_.push_back({bracket, operators_.size(), {}});
    }

    void close_parenthesis() {
        const Bracket bracket = frames_.back().bracket;
        MARL_REQUIRE(bracket == Bracket::group || bracket == Bracket::call);
        Term value = finish_expression();
        tracker_.closed(value, position_);
        frames_.pop_back();
        add_atom(run(), std::move(value));
    }

    void close_wings() {
        MARL_REQUIRE(frames_.back().bracket == Bracket::wings);
        Term bound = finish_expression();
        frames_.pop_back();
        operands_.push_back(std::move(bound));
        operators_.push_back('{');
        tracker_.closed_wings();
    }

    void take_comma() {
        const Bracket bracket = frames_.back().bracket;
        if (Making::ends_at_comma && bracket == Bracket::none) {
            text_ = text_.substr(0, position_);
            return;
        }
        if (bracket == Bracket::group || bracket == Bracket::none) {
            take_atom();
            return;
        }
        if (bracket == Bracket::call) {
            Term element = finish_expression();
            tracker_.ended_element(element, position_);
            add_atom(frames_[frames_.size() - 2].run, std::move(element));
        } else {
            take_binary(',');
        }
        ++position_;
    }

    void take_bytes() {
        const auto from = static_cast<int64_t>(position_);
        const auto behind = static_cast<size_t>(match_bracket(text_, from) + 1);
        Term bytes = maker.bytes(text_.substr(position_, behind - position_));
        tracker_.made_leaf(bytes, position_, behind);
        add_atom(run(), std::move(bytes));
        position_ = behind;
    }

    /// Words or digits, as most atoms are, or more than that when fillers belong to them.
    void take_run(Token token) {
        const size_t from = position_;
        const size_t end = end_of_run(from, token);
        if (end < text_.size() && is_filler(text_[end])) return take_atom();
        position_ = end;
        const bool is_single = end - from == 1 && token == Token::word;
        Term made = is_single ? maker.letter(text_[from]) : maker.bytes({&text_[from], end - from});
        tracker_.made_leaf(made, from, end);
        add_atom(run(), std::move(made));
    }

    void take_atom() {
        const size_t from = position_;
        position_ = end_of_run(from, token_of(text_[from]));
        while (position_ < text_.size() && is_filler(text_[position_]) && fills()) ++position_;
        Term made = atom(text_.substr(from, position_ - from));
        tracker_.made_leaf(made, from, position_);
        add_atom(run(), std::move(made));
    }

    /// Behind the letters or the digits that stand at a place, or the one byte of another kind.
    size_t end_of_run(size_t from, Token token) const {
        size_t end = from + 1;
        if (token != Token::word && token != Token::digit) return end;
        while (end < text_.size() && token_of(text_[end]) == token) ++end;
        return end;
    }

    /// Whether a filler separates nothing here, and so belongs to the atom in front of it.
    bool fills() const {
        if (text_[position_] != ',') return true;
        const Bracket bracket = frames_.back().bracket;
        if (bracket == Bracket::none) return !Making::ends_at_comma;
        return bracket == Bracket::group;
    }

    Term atom(std::string_view bytes) {
        if (is_word(bytes[0]))
            return bytes.size() == 1 ? maker.letter(bytes[0]) : maker.bytes(bytes);
        if (is_digit(bytes[0])) {
            size_t end = bytes.size();
            while (is_filler(bytes[end - 1])) --end;
            return maker.bytes(bytes.substr(0, end));
        }
        if (bytes[0] == '\0') return maker.empty_cray();
        return maker.letter(bytes[0]);
    }

    /// The two applied to each other. Consumes both.
    Term join(Term function, Term argument) {
        Term joined = maker.join(std::move(function), std::move(argument));
        tracker_.made_pair(joined);
        return joined;
    }

    /// The Leaf of an operator that stands before or behind an operand.
    Term mark(size_t position) {
        Term made = maker.letter(text_[position]);
        tracker_.made_leaf(made, position, position + 1);
        return made;
    }

    void add_atom(Run<Term>& run, Term value) {
        run.stretch =
            run.stretch ? join(std::move(run.stretch), std::move(value)) : std::move(value);
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
    void end_stretch(Run<Term>& run) {
        Term value = prefixed(run.operators, std::exchange(run.stretch, {}));
        run.before = run.before ? join(std::move(run.before), std::move(value)) : std::move(value);
    }

    /// The operators of a row applied to a value, the last one first.
    Term prefixed(Range row, Term value) {
        for (size_t i = row.end; i > row.begin; --i) {
            value = join(mark(i - 1), std::move(value));
        }
        return value;
    }

    /// The same with the first one first.
    Term postfixed(Range row, Term value) {
        for (size_t i = row.begin; i < row.end; ++i) {
            value = join(mark(i), std::move(value));
        }
        return value;
    }

    /// The value of the run at hand, and a new run in its place.
    Term finish_run() {
        Run<Term>& now = frames_.back().run;
        if (now.stretch && !now.before && now.leading.empty())
            return std::exchange(now.stretch, {});
        return finish_run_of_more();
    }

    /// The same for one that is more than a stretch, which few are.
    [[gnu::noinline]] Term finish_run_of_more() {
        Run<Term> run = std::exchange(frames_.back().run, {});
        if (run.stretch) {
            end_stretch(run);
            run.operators = {};
        }
        if (!run.before) return postfixed(run.leading, missing_operand());
        return postfixed(run.operators, prefixed(run.leading, std::move(run.before)));
    }

    Term missing_operand() {
        Term missing = maker.letter('}');
        tracker_.made_leaf(missing, position_, position_);
        return missing;
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
        tracker_.pushed_operator(position_);
    }

    Term pop_operand() {
        Term operand = std::move(operands_.back());
        operands_.pop_back();
        return operand;
    }

    void fold_top() {
        const char c = operators_.back();
        operators_.pop_back();
        Term right = pop_operand();
        Term left = pop_operand();
        if (c == '{') {
            Term key = pop_operand();
            maker.bind(key, right);
            left = join(join(operator_leaf(c), std::move(key)), std::move(left));
        } else if (c != ' ') {
            if (c == '\\') maker.bind(left, right);
            left = join(operator_leaf(c), std::move(left));
        } else {
            tracker_.popped_blank();
        }
        operands_.push_back(join(std::move(left), std::move(right)));
    }

    Term operator_leaf(char c) {
        Term made = maker.letter(c);
        tracker_.popped_operator(made);
        return made;
    }

    Term finish_expression() {
        Term last = finish_run();
        if (operators_.size() == frames_.back().operators) return last;
        operands_.push_back(std::move(last));
        while (operators_.size() > frames_.back().operators) fold_top();
        return pop_operand();
    }

    std::string_view text_;
    size_t position_ = 0;
    std::vector<Frame<Term>> frames_;
    std::vector<Term> operands_;
    std::vector<char> operators_;
    [[no_unique_address]] Tracking tracker_;
};

}  // namespace

Value parse_expression(std::string_view text) {
    // Kept for the next time: nothing in here runs program code.
    static auto& parser = *new Parser<TreeMaker, NoTracker>({});
    return parser.parse(text);
}

SharedExpression parse_shared(std::string_view text) {
    static auto& parser = *new Parser<MemberMaker, NoTracker>({});
    MemberMaker& maker = parser.maker;
    maker.set.index_structure();
    maker.other_keys = 0;
    maker.met = {};
    maker.names.clear();
    const Part whole = parser.parse(text);
    return {.node = node_of(maker.set, whole.member),
            .size = parser.size(),
            .other_keys = maker.other_keys,
            .letters = maker.letters(whole),
            .names = maker.names};
}

Value parse_expression(std::string_view text, Origins& origins) {
    return Parser<TreeMaker, Tracker>(Tracker(origins)).parse(text);
}

}  // namespace marl
