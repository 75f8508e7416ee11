// Names across files: what an editor asks about a file that uses others, and that others use.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lab/backquotes.h"
#include "lab/uses.h"

namespace marl::lab {

/// A definition of a file, whoever names it.
struct Target {
    std::string identity;  // of the file
    std::string key;
};

/// What a global name of a bundle's first file means, when that is a definition of its own or of a
/// file that it uses.
std::optional<Place> place_of(const Bundle& bundle, const Name& name);
Target target_of(const Bundle& bundle, const Place& place);

/// The places in a bundle's first file that mean a definition, those in tests and in what is to be
/// kept included, in their order.
std::vector<Range> places_of(const Bundle& bundle, const Target& target);

/// Why a definition can't have another name, as far as this file can tell; empty when it can.
std::string refusal_of(const Bundle& bundle, const Target& target, const std::string& fresh);

/// A name that a file can write, from a file that it uses or from a theme of the library that it
/// could use.
struct Offer {
    std::string name;
    std::string signature;
    std::string note;
    std::string origin;
    std::optional<Edit> use;  // what has to be done to the file first
};
std::vector<Offer> offers(const Files& files, const Bundle& bundle);

/// The folder that a file is in.
std::string folder_of(const std::string& path);

/// The programs in a folder.
std::vector<std::string> programs_in(const std::string& folder);
/// With those in its folders, whose names don't begin with a dot.
std::vector<std::string> programs_under(const std::string& folder);

/// The path that a URI of a file means; of another one, itself. And the way back.
std::string path_of_uri(std::string_view uri);
std::string uri_of_path(const std::string& path);

}  // namespace marl::lab
