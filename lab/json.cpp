// The name of a field that may be left out ends in "?", as TypeScript writes it, or in "|" when
// each object has just one of those; the value of a field that is left out is `left_out`.
#include "lab/json.h"

#include <algorithm>
#include <span>
#include <string>
#include <utility>

#include "lab/message.h"

namespace marl::lab {

namespace {

template <class T>
struct Field {
    std::string_view name;
    const char* type;  // in TypeScript
    const char* about;
    Json (*value)(const T&);
};

const Json left_out(Json::value_t::discarded);

template <class T>
Json object_of(std::span<const Field<T>> fields, const T& from) {
    Json object = Json::object();
    for (const Field<T>& field : fields) {
        Json value = field.value(from);
        const size_t size = std::min(field.name.find_first_of("?|"), field.name.size());
        if (value.is_discarded()) continue;
        object[std::string(field.name.substr(0, size))] = std::move(value);
    }
    return object;
}

template <class T, class Part>
Json array_of(std::span<const Field<Part>> fields, const std::vector<T>& parts) {
    Json array = Json::array();
    for (const T& part : parts) array.push_back(object_of(fields, part));
    return array;
}

const Field<Placed> message_fields[] = {
    {"line", "number", "where the place begins, counted from 1",
     [](const Placed& x) -> Json { return x.line; }},
    {"column", "number", "counted in bytes, from 1",
     [](const Placed& x) -> Json { return x.column; }},
    {"end_line", "number", "where the place ends",
     [](const Placed& x) -> Json { return x.end_line; }},
    {"end_column", "number", "the first column behind the place",
     [](const Placed& x) -> Json { return x.end_column; }},
    {"severity", "\"fault\" | \"warning\"", "marl refuses a program with a fault",
     [](const Placed& x) -> Json {
         return x.message.severity == Severity::fault ? "fault" : "warning";
     }},
    {"kind", "string", "the kind of the fault, or the name of the warning",
     [](const Placed& x) -> Json { return x.message.kind; }},
    {"say", "string", "what is wrong, in a sentence",
     [](const Placed& x) -> Json { return x.message.say; }},
    {"source", "string", "the line of the place, or what is near it of a very long line",
     [](const Placed& x) -> Json { return x.source; }},
    {"source_column", "number", "where the place begins in `source`",
     [](const Placed& x) -> Json { return x.source_column; }},
};

Json messages_of(std::string_view text, const std::vector<Message>& messages) {
    const Lines lines(text);
    Json array = Json::array();
    for (const Message& message : messages) {
        array.push_back(object_of<Placed>(message_fields, Placed(message, lines)));
    }
    return array;
}

struct NamedCheck {
    std::string_view name;
    std::string_view text;
    const Checked& checked;
};

const Field<NamedCheck> check_fields[] = {
    {"name", "string", "what the source is called",
     [](const NamedCheck& x) -> Json { return x.name; }},
    {"faults", "number", "how many there are",
     [](const NamedCheck& x) -> Json { return x.checked.faults; }},
    {"warnings", "number", "how many there are",
     [](const NamedCheck& x) -> Json { return x.checked.warnings; }},
    {"messages", "Message[]", "in the order of their places, at most a thousand",
     [](const NamedCheck& x) { return messages_of(x.text, x.checked.messages); }},
};

struct FormattedText {
    std::string_view text;
    const Formatted& formatted;
};

const Field<FormattedText> format_fields[] = {
    {"text?", "string", "the source in canonical layout",
     [](const FormattedText& x) -> Json {
         return x.formatted.text ? Json(*x.formatted.text) : left_out;
     }},
    {"messages?", "Message[]", "why it has none",
     [](const FormattedText& x) -> Json {
         return x.formatted.text ? left_out : messages_of(x.text, x.formatted.messages);
     }},
};

Json json_of(const Tree& tree);

const Field<Tree> tree_fields[] = {
    {"id", "number", "of the node", [](const Tree& x) -> Json { return x.id; }},
    {"again|", "true", "the node is shared, and its state's trees have shown it already",
     [](const Tree& x) -> Json { return x.again ? Json(true) : left_out; }},
    {"leaf|", "string", "the text of a leaf",
     [](const Tree& x) -> Json { return x.again || !x.of.empty() ? left_out : Json(x.leaf); }},
    {"of|", "[Tree, Tree]", "a function and its argument",
     [](const Tree& x) -> Json {
         return x.of.empty() ? left_out : Json::array({json_of(x.of[0]), json_of(x.of[1])});
     }},
};

// A shortened expression is not deep.
Json json_of(const Tree& tree) { return object_of<Tree>(tree_fields, tree); }

const Field<Spot> spot_fields[] = {
    {"file", "string", "what the source is called", [](const Spot& x) -> Json { return x.file; }},
    {"line", "number", "counted from 1", [](const Spot& x) -> Json { return x.line; }},
    {"column", "number", "counted in bytes, from 1",
     [](const Spot& x) -> Json { return x.column; }},
};

Json json_of(const Spot& spot) { return object_of<Spot>(spot_fields, spot); }

const Field<Step> step_fields[] = {
    {"n", "number", "of the state, from 0", [](const Step& x) -> Json { return x.number; }},
    {"run", "number", "0, and one more in each run within a run",
     [](const Step& x) -> Json { return x.nesting; }},
    {"rule",
     "\"fire\" | \"hold back\" | \"reduce argument\" | \"reduce value\" | \"pop\" | \"end\"",
     "what the step from here does", [](const Step& x) -> Json { return x.rule; }},
    {"name?", "string",
     "what fires: a name, or \"lambda\", \"let\", \"number\" and other kinds of data",
     [](const Step& x) -> Json { return x.name.empty() ? left_out : Json(x.name); }},
    {"line", "string", "the context, \" . \", the focus",
     [](const Step& x) -> Json { return x.line; }},
    {"redex", "{ start: number; length: number }", "the bytes of `line` that are rewritten",
     [](const Step& x) -> Json {
         return {{"start", x.redex.begin}, {"length", x.redex.end - x.redex.begin}};
     }},
    {"framesTaken", "number", "how many frames on top of the context are in that part",
     [](const Step& x) -> Json { return x.frames_taken; }},
    {"leftOut?", "string[]", "of a line in full: what a shortened one leaves out",
     [](const Step& x) -> Json { return x.left_out.empty() ? left_out : Json(x.left_out); }},
    {"context?", "Tree", "when trees are asked for",
     [](const Step& x) -> Json { return x.context ? json_of(*x.context) : left_out; }},
    {"focus?", "Tree", "when trees are asked for",
     [](const Step& x) -> Json { return x.focus ? json_of(*x.focus) : left_out; }},
    {"place?", "Spot & { length: number }",
     "where what is rewritten is written, and its bytes there, when places are asked for",
     [](const Step& x) -> Json {
         if (x.place.line == 0) return left_out;
         Json place = json_of(x.place);
         place["length"] = x.length;
         return place;
     }},
};

const Field<CallLine> call_fields[] = {
    {"n", "number", "of the state", [](const CallLine& x) -> Json { return x.number; }},
    {"depth", "number", "how many calls of the name are going on",
     [](const CallLine& x) -> Json { return x.depth; }},
    {"call?", "string", "the call that begins",
     [](const CallLine& x) -> Json { return x.is_answer ? left_out : Json(x.text); }},
    {"answer?", "string", "what a call gives that ends",
     [](const CallLine& x) -> Json { return x.is_answer ? Json(x.text) : left_out; }},
};

const Field<Ending> ending_fields[] = {
    {"started", "boolean", "false when the program is at fault",
     [](const Ending& x) -> Json { return x.started; }},
    {"ended", "boolean", "false when the run was left before its end",
     [](const Ending& x) -> Json { return x.ended; }},
    {"status", "number", "the integer that the program gave back",
     [](const Ending& x) -> Json { return x.status; }},
    {"report", "string", "what marl would show on standard error; empty when all is well",
     [](const Ending& x) -> Json { return x.report; }},
};

const Field<Link> link_fields[] = {
    {"n", "number", "of the state", [](const Link& x) -> Json { return x.number; }},
    {"kind",
     "\"built-in\" | \"data\" | \"definition\" | \"literal\" | \"empty list\" | \"no list\" | "
     "\"backquote\"",
     "what answered Z; a literal is one that the program writes",
     [](const Link& x) -> Json { return x.kind; }},
    {"call", "string", "what was called; of a literal, the call that it is written in",
     [](const Link& x) -> Json { return x.call; }},
    {"within", "string[]", "the definitions' calls that were going on, the innermost first",
     [](const Link& x) -> Json { return x.within; }},
    {"place?", "Spot", "where it is written",
     [](const Link& x) -> Json { return x.place.line == 0 ? left_out : json_of(x.place); }},
};

const Field<Why> why_fields[] = {
    {"result", "string", "of the program", [](const Why& x) -> Json { return x.result; }},
    {"effect?", "string", "the first call that acts outside, or shows a value, on a Z",
     [](const Why& x) -> Json { return x.effect.empty() ? left_out : Json(x.effect); }},
    {"effect_place?", "Spot", "where that is written",
     [](const Why& x) -> Json {
         return x.effect_place.line == 0 ? left_out : json_of(x.effect_place);
     }},
    {"chain", "Link[]",
     "the first call whose answer was the Z in the effect or the result, then those that answered "
     "Z because of it",
     [](const Why& x) { return array_of<Link, Link>(link_fields, x.chain); }},
    {"more", "number", "links behind these", [](const Why& x) -> Json { return x.more; }},
};

const Field<ProfileRow> row_fields[] = {
    {"name", "string", "\"(entry)\" is the entry expression",
     [](const ProfileRow& x) -> Json { return x.name; }},
    {"calls", "number", "of that name", [](const ProfileRow& x) -> Json { return x.calls; }},
    {"steps", "number", "of the plain machine, without what the name calls",
     [](const ProfileRow& x) -> Json { return x.steps; }},
    {"nodes", "number", "allocated, without what the name calls",
     [](const ProfileRow& x) -> Json { return x.nodes; }},
    {"self", "number", "seconds, without what the name calls",
     [](const ProfileRow& x) -> Json { return x.self; }},
    {"below", "number", "seconds in what the name calls",
     [](const ProfileRow& x) -> Json { return x.below; }},
};

const Field<Profiled> profile_fields[] = {
    {"rows", "ProfileRow[]", "one for each name that was called",
     [](const Profiled& x) { return array_of<ProfileRow, ProfileRow>(row_fields, x.rows); }},
    {"folded", "string", "a line for each stack of calls: names with \";\" between, a blank, steps",
     [](const Profiled& x) -> Json { return x.folded; }},
};

// Types.

template <class T>
std::string type_of(const Field<T>& field, std::string_view name, const std::string& indent) {
    std::string line = indent + "/// " + std::string(field.about) + "\n" + indent;
    return line.append(name).append(": ").append(field.type).append(";\n");
}

template <class T>
std::string interface(const char* head, const char* about, std::span<const Field<T>> fields) {
    std::string text = "\n/// " + std::string(about) + "\nexport interface " + head + " {\n";
    for (const Field<T>& field : fields) text += type_of(field, field.name, "  ");
    return text + "}\n";
}

/// A type for each of the fields of which an object has just one.
template <class T>
std::string alternatives(const char* head, const char* about, std::span<const Field<T>> fields) {
    std::string common;
    std::string text;
    for (const Field<T>& field : fields) {
        if (!field.name.ends_with('|')) {
            common += type_of(field, field.name, "  ");
        } else {
            const std::string_view name = field.name.substr(0, field.name.size() - 1);
            text += "  | {\n" + type_of(field, name, "      ") + "    }\n";
        }
    }
    return "\n/// " + std::string(about) + "\nexport type " + head + " = {\n" + common + "} & (\n" +
           text + ");\n";
}

}  // namespace

Json json_of(std::string_view name, std::string_view text, const Checked& checked) {
    return object_of<NamedCheck>(check_fields, {name, text, checked});
}

Json json_of(std::string_view text, const Formatted& formatted) {
    return object_of<FormattedText>(format_fields, {text, formatted});
}

Json json_of(const Step& step) { return object_of<Step>(step_fields, step); }

Json json_of(const CallLine& call) { return object_of<CallLine>(call_fields, call); }

Json json_of(const Ending& ending) { return object_of<Ending>(ending_fields, ending); }

Json json_of(const Why& why) {
    Json object = object_of<Ending>(ending_fields, why);
    object.update(object_of<Why>(why_fields, why));
    return object;
}

Json json_of(const Profiled& profiled) {
    Json object = object_of<Ending>(ending_fields, profiled);
    object.update(object_of<Profiled>(profile_fields, profiled));
    return object;
}

std::string text_of(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string json_types() {
    return "// What marl-lab gives as JSON, as `marl-lab explain json` writes it.\n" +
           interface<NamedCheck>("Checked", "A line of `check --json`: what is wrong in a source.",
                                 check_fields) +
           interface<Placed>("Message", "What is said about a place in a source.", message_fields) +
           interface<FormattedText>("Formatted", "The layout of a source.", format_fields) +
           interface<Step>("Step", "A state of the reduction.", step_fields) +
           alternatives<Tree>("Tree", "A part of a state's expression.", tree_fields) +
           interface<CallLine>("CallLine", "Where a call begins or ends.", call_fields) +
           interface<Ending>("Ending", "How a run went.", ending_fields) +
           interface<Why>("Why extends Ending", "Where the Z in a result comes from.", why_fields) +
           interface<Link>("Link", "A call that answered Z.", link_fields) +
           interface<Spot>("Spot", "A place in a source.", spot_fields) +
           interface<Profiled>("Profiled extends Ending", "What a run cost.", profile_fields) +
           interface<ProfileRow>("ProfileRow", "What a name cost.", row_fields);
}

}  // namespace marl::lab
