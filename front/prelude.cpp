// The definitions as they are parsed, in one text without a blank too much: they are parsed at
// every start, before a program's first byte is looked at.
#include "front/prelude.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "front/stages.h"
#include "reduce/definitions.h"
#include "reduce/operators.h"
#include "reduce/tables.h"

namespace marl {

namespace {

// Three of them never run: the machine treats \ and { itself, and the program check removes the
// backquote. Their definitions only give those Leaves a rank.
constexpr std::string_view prelude =
    R"marl(,A\a\aS BKK,B\a\b\c\a b(c),C\a\b\c\a c b,D\a\b\c\d\a b c(d))marl"
    R"marl(,E\a\b\c\d\e\a b c(d)e,F\a\b\Vb a,G\a\VZ(BW BC DDV V(XJ)),H\a\I,I\a\a)marl"
    R"marl(,J\a\b\c\Va b,K\a\b\a,L\a\aK K(KH),M\a\a a,N\a\K,O\a\b\b a(b))marl"
    R"marl(,P\a\a XS I,Q\a\aZK,R\a\aZH,U\a\b\c\d\e\e(Va b,Vc d),S\a\b\c\a c b(c))marl"
    R"marl(,T\a\b\b a,V\a\b\c\c a b,W\a\b\a b b,Z\a\Z,X\a\b\c\d\Vb a(d)c)marl"
    R"marl(,Y\a\b\a Ya b,[\]\a\b\c\Z,[{]\a\b\c\Z,[`]\a\Z,[!]\p\   p H K)marl"
    R"marl(,[&]\q\r\q r H,[|]\q\r\q K r,[+]\plus,[-]\dash,[*]\mult,[/]\over)marl"
    R"marl(,[%]\cent,[^]\powa,[<]\less,[>]\gteq,[=]\same,[#]\diff,[$]\buck)marl"
    R"marl(,[~]\wave,[.]\T,[@]\T,[:]\I,[?]\I,[;]\I,[']\I,["]\I,[,]\I)marl";
static_assert(prelude.size() == 563);

Value lambdas_around_Z(int arity) {
    Value body = letter_leaf('Z');
    for (int i = arity - 1; i >= 0; --i) {
        Value binder = pair(letter_leaf('\\'), letter_leaf(static_cast<char>('a' + i)));
        body = pair(std::move(binder), std::move(body));
    }
    return body;
}

/// The prelude as a module.
Module read_module(bool shares_parts) {
    Module module;
    module.shares_parts = shares_parts;
    module.text = String(prelude);
    module.kind = ModuleKind::prelude;
    cut_text(module);
    module.definitions.erase(symbol_of(""));
    MARL_REQUIRE(module.loose.empty() || !shares_parts);
    return module;
}

}  // namespace

std::string_view prelude_text() { return prelude; }

DefinitionList read_prelude() { return read_module(false).definitions; }

void build_prelude(bool shares_parts) {
    clear_definitions();
    bind_operators();
    Module module = read_module(shares_parts);
    publish(module);
    prelude_definitions = std::move(module.definitions);
}

void define_builtins() {
    int most = 0;
    for (const std::span<const Builtin> family : builtin_families()) {
        for (const Builtin& row : family) most = std::max<int>(most, row.arity);
    }
    std::vector<Value> by_arity;
    for (int arity = 0; arity <= most; ++arity) by_arity.push_back(lambdas_around_Z(arity));
    set_builtin_definitions(std::move(by_arity));
}

}  // namespace marl
