// serve: the language server protocol, message by message.
//
// The server is a function of what it has been told: a message in, the messages out that answer it.
// No message can end it but `exit`. What is wrong in a document is told when nothing else waits, so
// that changes which come together are looked at once.
#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "lab/json.h"

namespace marl::lab {

struct OpenText {
    std::string text;
    Json version;  // null when the client gives none
};

struct Server {
    enum class Phase { fresh, running, shut_down };
    Phase phase = Phase::fresh;
    std::map<std::string, OpenText> texts;  // of the open documents, by URI
    std::set<std::string> changed;          // those whose diagnostics are not told yet
    std::vector<std::string> folders;       // that the client works in
    bool done = false;
};

/// What goes back to the client for a message, in this order. Sets `done` for the one that ends the
/// session. Throws nothing, whatever the bytes are.
std::vector<Json> answer(Server& server, std::string_view message);

/// The diagnostics of what has changed.
std::vector<Json> due_diagnostics(Server& server);

/// Serves a client until it ends the session or its stream does. The exit status: 0 when the client
/// had asked for the shutdown first.
int serve_client(int input, int output);

}  // namespace marl::lab
