// serve: the language server protocol, message by message.
//
// The server is a function of what it has been told: a message in, the messages out that answer it.
// Whoever moves bytes between it and a client has `serve_streams`.
#pragma once

#include <iosfwd>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "lab/lab.h"

namespace marl::lab {

struct Server {
    std::map<std::string, std::string> texts;  // of the open documents, by URI
    bool shut_down = false;
    bool done = false;
};

/// What goes back to the client, in this order. Sets `done` for the message that ends the session.
std::vector<Json> answer(Server& server, const Json& message);

/// Serves a client until it ends the session or its stream does. The exit status: 0 when the client
/// had asked for the shutdown first.
int serve_streams(std::istream& in, std::ostream& out);

}  // namespace marl::lab
