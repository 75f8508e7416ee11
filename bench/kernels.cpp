// The inner loops by themselves: arithmetic on digit texts, nodes, analysis, substitution, parsing,
// the machine. Items are digits, nodes, bytes of source or calls; a rate that falls with the size
// shows a cost that grows faster than it.
#include <benchmark/benchmark.h>

#include <random>
#include <string>

#include "driver/session.h"
#include "front/grammar.h"
#include "front/stages.h"
#include "number/hint.h"
#include "reduce/analysis.h"
#include "reduce/definitions.h"
#include "reduce/machine.h"
#include "reduce/substitute.h"
#include "reduce/tables.h"
#include "text/fatal.h"

namespace marl {
namespace {

void open_or_stop(Session& session, const String& source) {
    MARL_REQUIRE(open_session(session, source));
}

/// Fills the tables with the prelude and the built-ins.
void set_up_prelude() {
    Session session;
    open_or_stop(session, "0");
}

Value random_hint(int64_t digits) {
    std::mt19937 random(static_cast<uint32_t>(digits));
    std::string text(static_cast<size_t>(digits), '0');
    for (char& digit : text) digit = static_cast<char>('0' + random() % 10);
    text[0] = '7';
    return leaf(text);
}

/// Operands of n and m digits, under an operation on hints.
void run_hint(benchmark::State& state, Value (*operation)(Node*, Node*), int64_t n, int64_t m) {
    const Value x = random_hint(n);
    const Value y = random_hint(m);
    for (auto _ : state) benchmark::DoNotOptimize(operation(x, y).get());
    state.SetItemsProcessed(state.iterations() * n);
}

void add(benchmark::State& state) { run_hint(state, hint_add, state.range(0), state.range(0)); }
void multiply(benchmark::State& state) {
    run_hint(state, hint_mul, state.range(0), state.range(0));
}
void multiply_by_short(benchmark::State& state) { run_hint(state, hint_mul, state.range(0), 4); }
void divide(benchmark::State& state) {
    run_hint(state, hint_div, state.range(0), state.range(0) / 2 + 1);
}
void divide_by_short(benchmark::State& state) { run_hint(state, hint_div, state.range(0), 2); }

void digit_sizes(benchmark::internal::Benchmark* benchmark) {
    for (const int64_t digits : {1, 9, 17, 30, 100, 1'000, 10'000, 100'000}) {
        benchmark->Arg(digits);
    }
}
BENCHMARK(add)->Apply(digit_sizes);
BENCHMARK(multiply)->Apply(digit_sizes);
BENCHMARK(multiply_by_short)->Apply(digit_sizes);
BENCHMARK(divide)->Apply(digit_sizes);
BENCHMARK(divide_by_short)->Apply(digit_sizes);

/// A list of n small numbers, not analysed.
Value list(int64_t n) {
    Value cells = leaf("K");
    for (int64_t i = 0; i < n; ++i) cells = apply(leaf("J"), leaf("7"), std::move(cells));
    return cells;
}

constexpr int64_t nodes_in_cell = 4;  // two Pairs and two Leaves

void allocate_and_release_pair(benchmark::State& state) {
    const Value x = leaf("7");
    for (auto _ : state) benchmark::DoNotOptimize(pair(x, x).get());
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(allocate_and_release_pair);

void allocate_and_release_list(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(list(state.range(0)).get());
    state.SetItemsProcessed(state.iterations() * state.range(0) * nodes_in_cell);
}
BENCHMARK(allocate_and_release_list)->Arg(10)->Arg(1'000)->Arg(100'000);

/// Read it against allocate_and_release_list, which is in it.
void analyse_list(benchmark::State& state) {
    set_up_prelude();
    for (auto _ : state) {
        const Value cells = list(state.range(0));
        benchmark::DoNotOptimize(rank_of(cells));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0) * nodes_in_cell);
}
BENCHMARK(analyse_list)->Arg(10)->Arg(1'000)->Arg(100'000);

/// A body of about n applications, as wide as deep, with x in one of four.
std::string sum_text(int64_t n) {
    if (n == 1) return "x+1";
    if (n <= 4) return "f(" + sum_text(n - 1) + ")";
    return "(" + sum_text(n / 2) + ")*(" + sum_text(n - n / 2) + ")";
}

void substitute_variable(benchmark::State& state) {
    set_up_prelude();
    set_definition("f", parse_expression("y\\y"));
    const Value body = parse_expression(sum_text(state.range(0)));
    const Value argument = leaf("7");
    analyse(body);
    analyse(argument);
    Bindings bindings;
    bind(bindings, 'x', argument);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Value::adopt(substitute(body, bindings)).get());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(substitute_variable)->Arg(1)->Arg(10)->Arg(1'000)->Arg(100'000);

/// Definitions as people write them.
std::string source(int64_t definitions) {
    std::string text = "a\\0";
    for (int64_t i = 0; i < definitions; ++i) {
        text += ",\nsift\\p\\l\\l(K, h\\t\\(h%p=0)(sift(p,t K))(J(h, u\\sift(p,t K))))";
        text += ",\nsay\\n\\puts(init([the number ]+n+[, then]))";
    }
    return text;
}

void parse(benchmark::State& state) {
    const String text{std::string_view(source(state.range(0)))};
    for (auto _ : state) {
        Module module;
        module.text = text;
        cut_text(module);
        benchmark::DoNotOptimize(module.definitions.size());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(text.length()));
}
BENCHMARK(parse)->Arg(1)->Arg(100)->Arg(10'000);

/// What each start does before the program runs.
void start(benchmark::State& state) {
    const String text{std::string_view(source(1))};
    for (auto _ : state) {
        Session session;
        open_or_stop(session, text);
    }
}
BENCHMARK(start)->Unit(benchmark::kMicrosecond);

/// One item is one call of fib.
void run_fib(benchmark::State& state) {
    const char* program = "a\\fib 20,fib\\n\\(n<2)n(fib(n-1)+fib(n-2))";
    Session session;
    open_or_stop(session, program);
    const Value entry = Value::share(find_definition(""));
    for (auto _ : state) {
        const Value result = reduce(pair(entry, leaf("0")));
        MARL_REQUIRE(is_leaf_text(result, "6765"));
    }
    constexpr int64_t calls = 21'891;
    state.SetItemsProcessed(state.iterations() * calls);
}
BENCHMARK(run_fib)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace marl
