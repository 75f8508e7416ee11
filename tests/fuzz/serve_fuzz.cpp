// Any bytes as what a client of the language server says. The first byte tells what the others are:
// a stream with headers, messages, one a line, or a document and a question about a place in it.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "lab/requests.h"
#include "lab/serve.h"

namespace {

using namespace marl::lab;

constexpr std::string_view begin = R"({"id":0,"method":"initialize","params":{}})";
constexpr std::string_view uri = "file:///p";

void serve_stream(std::string_view bytes) {
    static const int out = open("/dev/null", O_WRONLY);
    const int in = memfd_create("stream", 0);
    if (in < 0 || out < 0) return;
    const std::string header = "Content-Length: " + std::to_string(begin.size()) + "\r\n\r\n";
    const std::string all = header + std::string(begin) + std::string(bytes);
    if (write(in, all.data(), all.size()) == static_cast<ssize_t>(all.size())) {
        lseek(in, 0, SEEK_SET);
        serve_client(in, out);
    }
    close(in);
}

void say(Server& server, std::string_view message) {
    for (const Json& one : answer(server, message)) text_of(one);
}

void say_lines(std::string_view bytes) {
    Server server;
    say(server, begin);
    while (!bytes.empty()) {
        const size_t end = std::min(bytes.find('\n'), bytes.size());
        say(server, bytes.substr(0, end));
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
    }
    for (const Json& one : due_diagnostics(server)) text_of(one);
}

/// Six bytes say what is asked and about which places; the rest is the document.
void ask(std::string_view bytes) {
    constexpr size_t head = 6;
    if (bytes.size() < head) return;
    const auto number = [&](size_t i) { return static_cast<uint8_t>(bytes[i]); };
    const Json start = {{"line", number(1)}, {"character", number(2)}};
    const Json end = {{"line", number(3)}, {"character", number(4)}};
    const Json range = {{"start", start}, {"end", end}};
    const auto methods = method_names();
    const Json document = {{"uri", uri}, {"text", std::string(bytes.substr(head))}, {"version", 1}};
    const Json change = {{"range", range}, {"text", std::string(1, bytes[5])}};
    Server server;
    say(server, begin);
    say(server,
        text_of({{"method", "textDocument/didOpen"}, {"params", {{"textDocument", document}}}}));
    for (const Json& one : due_diagnostics(server)) text_of(one);
    say(server, text_of({{"id", 1},
                         {"method", methods[number(0) % methods.size()]},
                         {"params",
                          {{"textDocument", {{"uri", uri}}},
                           {"position", start},
                           {"range", range},
                           {"newName", "fresh"}}}}));
    say(server, text_of({{"method", "textDocument/didChange"},
                         {"params",
                          {{"textDocument", {{"uri", uri}, {"version", 2}}},
                           {"contentChanges", {change}}}}}));
    for (const Json& one : due_diagnostics(server)) text_of(one);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0] % 3) {
        case 0: serve_stream(bytes); break;
        case 1: say_lines(bytes); break;
        default: ask(bytes); break;
    }
    return 0;
}
