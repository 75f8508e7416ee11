// Where a running program's expressions are written.
//
// A definition that the machine holds has the form of its source, but for what the front end has
// rewritten: pair patterns, and values in the places of backquotes. So a walk over both at once
// tells for each of its Pairs where it is written. A copy of a body is written where the body is.
// What a step puts together of a frame that waited is written where the frame's application is. A
// node that has no such place may have one through the state that it stands in.
//
// Nothing here holds a node: what is known of one is forgotten when it is freed.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "lab/pack.h"
#include "lab/uses.h"
#include "reduce/plain.h"
#include "reduce/tables.h"

namespace marl::lab {

/// What a program that runs was made of.
struct Sources {
    Bundle bundle;
    Definitions definitions;
};

/// A program that stands in one text is its own source.
Sources sources_of(std::string_view name, std::string_view text);

/// A part of a source's expression; null for what is written nowhere.
struct Site {
    size_t source = 0;
    Node* node = nullptr;

    explicit operator bool() const { return node != nullptr; }
    bool operator==(const Site&) const = default;
};

/// As file:line:column; empty for none.
std::string text_of(const Spot& spot);

/// Where a site begins, and its bytes in its source.
Spot spot_of(const Sources& sources, const Site& site);
Spot end_of(const Sources& sources, const Site& site);
Range range_of(const Sources& sources, const Site& site);
/// Where the definition of a name of the running program stands.
Spot spot_of_definition(const Sources& sources, std::string_view key);
/// The names of its parameters.
std::vector<std::string> parameters_of(const Sources& sources, std::string_view key);

/// What of a state tells where the next one is written.
struct Course {
    int nesting;
    Node* focus;
    int64_t frames;
    bool last;
    Rule rule;
    int lacking;    // frames that a firing takes
    bool hands_on;  // what fires hands its arguments on: its user has written what comes of it
};

class Written {
  public:
    explicit Written(const Sources& sources);
    ~Written();
    Written(const Written&) = delete;
    Written& operator=(const Written&) = delete;

    /// The tables hold the program now.
    void begin();
    /// Where the focus of a state is written, or the whole application that fires in it. States
    /// come in their order. `within` is the definition whose call is going on.
    Site at(const Course& course, const Symbol* within);
    void copied(Node* part, Node* copy);

    const Sources& sources() const { return sources_; }

  private:
    struct In {
        const Symbol* definition;
        Site site;
    };
    /// Equal parts of definitions are one node.
    using Places = std::shared_ptr<std::vector<In>>;
    struct Run {
        std::vector<Site> frames;
        Site current;
    };

    void match(const Symbol& symbol, Node* machine, Site site);
    Places places_of(Node* node) const;
    /// `expected` is where it stands by the course of the run.
    Site known(Node* node, const Symbol* within, const Site& expected) const;
    void forget(const void* node);
    static void on_freed_node(const void* node);

    const Sources& sources_;
    std::unordered_map<const Node*, Places> of_definitions_;
    std::unordered_map<const Node*, Places> copies_;
    std::vector<Run> runs_;
};

}  // namespace marl::lab
