// The socket layer and the name services.
//
// Socket addresses are the platform's own, built and read by the program in raw memory. Two records
// are this system's: the set of sockets, and the one of getaddrinfo, whose fields a program finds
// by the same offsets on every platform. getaddrinfo reads its hints from that form and hands out a
// list of records in it, each in one block with its address and its name behind it.

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "library/convention.h"
#include "library/families.h"
#include "text/fatal.h"

namespace marl {

namespace {

struct AddressInfo {
    int32_t flags;
    int32_t family;
    int32_t socket_type;
    int32_t protocol;
    uint64_t address_length;
    uint64_t canonical_name;  // addresses, of 64 bits like all that a program reads
    uint64_t address;
    uint64_t next;
};
static_assert(sizeof(AddressInfo) == 48 && offsetof(AddressInfo, address_length) == 16);

uint64_t address_of(const void* place) { return reinterpret_cast<uintptr_t>(place); }

/// A record in one block with what it points at.
AddressInfo* copy_of(const addrinfo& found) {
    const size_t name_size = found.ai_canonname ? strlen(found.ai_canonname) + 1 : 0;
    auto* block =
        static_cast<char*>(allocate_bytes(sizeof(AddressInfo) + found.ai_addrlen + name_size));
    char* address = block + sizeof(AddressInfo);
    char* name = address + found.ai_addrlen;
    memcpy(address, found.ai_addr, found.ai_addrlen);
    if (name_size > 0) memcpy(name, found.ai_canonname, name_size);
    return new (block) AddressInfo{found.ai_flags,      found.ai_family,
                                   found.ai_socktype,   found.ai_protocol,
                                   found.ai_addrlen,    name_size > 0 ? address_of(name) : 0,
                                   address_of(address), 0};
}

/// Reads nothing of the hints but what getaddrinfo looks at. `result` and `hints` need no
/// alignment.
int find_addresses(const char* node, const char* service, const void* hints, void* result) {
    addrinfo wanted{};
    if (hints) {
        AddressInfo given;
        memcpy(&given, hints, sizeof given);
        wanted.ai_flags = given.flags;
        wanted.ai_family = given.family;
        wanted.ai_socktype = given.socket_type;
        wanted.ai_protocol = given.protocol;
    }
    addrinfo* found = nullptr;
    const int failure = getaddrinfo(node, service, hints ? &wanted : nullptr, &found);
    if (failure != 0) return failure;
    uint64_t list = 0;
    uint64_t* end = &list;
    for (const addrinfo* each = found; each; each = each->ai_next) {
        AddressInfo* copy = copy_of(*each);
        *end = address_of(copy);
        end = &copy->next;
    }
    freeaddrinfo(found);
    memcpy(result, &list, sizeof list);
    return 0;
}

void free_addresses(AddressInfo* list) {
    while (list) {
        const auto next = static_cast<uintptr_t>(list->next);
        free(list);
        list = reinterpret_cast<AddressInfo*>(next);
    }
}

/// The text of a code of getaddrinfo, in one buffer that the next call overwrites.
const char* address_error(int code) {
    static char text[1024];
    snprintf(text, sizeof text, "%s", gai_strerror(code));
    return text;
}

constexpr uint32_t set_capacity = 64;
constexpr size_t set_entries = 8;

/// Puts a socket into a set: a count of 4 bytes, then from byte 8 on up to 64 sockets of 8 bytes. A
/// socket that is in the set, or finds it full, changes nothing.
void add_to_set(uint64_t socket, char* set) {
    uint32_t count;
    memcpy(&count, set, sizeof count);
    for (uint32_t i = 0; i < std::min(count, set_capacity); ++i) {
        uint64_t member;
        memcpy(&member, set + set_entries + i * sizeof member, sizeof member);
        if (member == socket) return;
    }
    if (count >= set_capacity) return;
    memcpy(set + set_entries + count * sizeof socket, &socket, sizeof socket);
    ++count;
    memcpy(set, &count, sizeof count);
}

constexpr Builtin rows[] = {
    wrap<S(I, I, I), socket>("socket", 3),
    wrap<S(I, I, I), bind>("bind", 3),
    wrap<S(I, I), listen>("listen", 2),
    wrap<S(I, I, I), accept>("accept", 3),
    wrap<S(I, I, I), connect>("connect", 3),
    wrap<S(I, M, I, I), send>("send", 4),
    wrap<S(I, M, I, I, I, I), sendto>("sendto", 6),
    wrap<S(I, I, I, I), recv>("recv", 4),
    wrap<S(I, I, I, I, I, I), recvfrom>("recvfrom", 6),
    wrap<S(I, I), ::shutdown>("shutdown", 2),
    wrap<S(I), close>("closesocket", 1),
    wrap<S(I, I, I, I, I), setsockopt>("setsockopt", 5),
    wrap<S(I, I, I), getpeername>("getpeername", 3),
    wrap<S(I, I), gethostname>("gethostname", 2),
    wrap<S(I, I, I, I), find_addresses>("getaddrinfo", 4),
    wrap<V(I), free_addresses>("freeaddrinfo", 1),
    wrap<S(I), address_error>("gai_strerror", 1),
    wrap<S(I, I, I, I, I, I, I), getnameinfo>("getnameinfo", 7),
    wrap<S(I, I, I, I), inet_ntop>("inet_ntop", 4),
    wrap<S(I, I, I), inet_pton>("inet_pton", 3),
    wrap<S(I), htonl>("htonl", 1),
    wrap<S(I), htons>("htons", 1),
    wrap<U(I), ntohl>("ntohl", 1),
    wrap<U(I), ntohs>("ntohs", 1),
    wrap<V(I, I), add_to_set>("fd_set", 2),
    {"af_unspec", 0, constant<AF_UNSPEC>},
    {"ai_passive", 0, constant<AI_PASSIVE>},
    {"sock_stream", 0, constant<SOCK_STREAM>},
    {"addrinfo", 0, constant<sizeof(AddressInfo)>},
};

}  // namespace

std::span<const Builtin> socket_rows() { return rows; }

}  // namespace marl
