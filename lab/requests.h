// What an editor asks about a document: each request of the language server protocol is a function
// from a document and the parameters to the result.
#pragma once

#include <stdexcept>
#include <string_view>

#include "lab/document.h"

namespace marl::lab {

/// A request that is understood but can't be met; the text tells a person why.
struct Refused : std::runtime_error {
    using std::runtime_error::runtime_error;
};

using Handler = Json (*)(const Document&, const Json& parameters);

/// The function for a method; null when there is none. It throws Refused, or another std::exception
/// when the parameters are not what the protocol says.
Handler handler_of(std::string_view method);

/// All methods that have one.
std::vector<std::string_view> method_names();

/// What the methods above are told of as, to a client that begins.
Json capabilities();

/// The messages about a document in the form of the protocol.
Json diagnostics_of(const Document& document);

}  // namespace marl::lab
