// The code that the machine runs, without a run: the program is checked as for one, and each
// definition gets its code as if it were called now. A constant of the program has no value then,
// which its first use gives it, so code that uses it asks for it.
#include <string>
#include <vector>

#include "driver/session.h"
#include "lab/lab.h"
#include "reduce/listing.h"
#include "reduce/native/native.h"
#include "reduce/run_code.h"
#include "reduce/tables.h"

namespace marl::lab {

namespace {

void compile_all(Code& code) {
    each_part(code, [](Code& part) {
        if (!part.made) prepare(part);
        return true;
    });
}

#if MARL_LISTS_NATIVE
constexpr Beside native_code = native_text;
#else
constexpr Beside native_code = nullptr;
#endif

CodeOf code_of_definition(const String& name, bool with_native) {
    CodeOf told;
    told.name = name.empty() ? "(entry)" : std::string(name.view());
    Symbol& symbol = symbol_of(name.view());
    if (symbol.parameters == 0) return told;
    Code& code = code_of(symbol);
    compile_all(code);
    told.registers = code.frame;
    told.text = listing(code, with_native ? native_code : nullptr);
    return told;
}

/// The names that a program itself defines, in key order.
std::vector<String> defined_names(const Module& module) {
    std::vector<String> names;
    for (const auto& [symbol, expression] : module.definitions) names.emplace_back(symbol->name);
    return names;
}

}  // namespace

Listed list_code(std::string_view text, std::string_view only, bool with_native) {
    Listed listed;
    Session session;
    load_session(session, String(text));
    std::vector<String> names = defined_names(session.module);
    if (!only.empty()) names = {String(only)};
    if (!check_session(session)) {
        listed.report = report_picture(session.report).view();
        names.clear();
    }
    for (const String& name : names) {
        const Symbol* symbol = find_symbol(name.view());
        if (!symbol || symbol->builtin || !symbol->definition) continue;
        listed.definitions.push_back(code_of_definition(name, with_native));
    }
    end_session(session);
    return listed;
}

}  // namespace marl::lab
