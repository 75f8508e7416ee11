#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "reduce/tables.h"

namespace marl {
namespace {

struct Names {
    int arity;
    const char* names;
};

// What the language promises: 256 names, each with its number of arguments.
constexpr Names promised[] = {
    {0,
     "abort addrinfo af_unspec ai_passive cray dirent eacces ebadf econnaborted efault eintr "
     "einval eio emfile enfile enodev enomem enotsock enxio eopnotsupp eoverflow errno "
     "ewouldblock getchar rand rand_max sock_stream stderr stdout time_t tmpfile"},
    {1,
     "abs acos asctime asin assert atan atof atoi atol bond buck cape ceil clearerr closedir "
     "closesocket cos cosh ctime erf erfc exit exp fabs fclose feof ferror fflush fgetc "
     "fileno floor free freeaddrinfo ftell gai_strerror getc getenv gmtime htonl htons init "
     "isalnum isalpha isascii isblank isdigit isgraph islower isprint ispunct isspace "
     "isupper labs leaf leak left lisp lits load localtime log lots malloc mktime ntohl "
     "ntohs opendir perror putchar puts raise rank readdir real refh refi refj refk remove "
     "rewind rght road sin sinh sqrt srand strdup strerror strlen system tan tanh tern time "
     "tmpnam toascii tolower toupper type wave zits"},
    {2,
     "bzero calloc cent cmpr copy dash diff difftime fd_set fdopen fgetpos fmod fopen fputc "
     "fputs frexp fsetpos gethostname gteq hypot ldexp less listen look modf mult nextafter "
     "over plus post pow powa putc raws realloc rech reci recj reck redh redi redj redk refl "
     "refm refn refo relh reli relj relk remh remi remj remk rename same setbuf shutdown "
     "strcasecmp strcat strchr strcmp strcpy strnlen strpbrk strrchr strspn strstr strtod "
     "strtok ungetc"},
    {3,
     "accept bind connect cork fgets fseek getpeername inet_pton memchr memcmp memcpy "
     "memmove memset read recl recm recn reco redl redm redn redo rell relm reln relo reml "
     "remm remn remo socket strncasecmp strncat strncmp strncpy strtok_r strtol strtoul todo "
     "trim write"},
    {4, "fread fwrite getaddrinfo inet_ntop recv send strftime"},
    {5, "setsockopt"},
    {6, "recvfrom sendto"},
    {7, "getnameinfo"},
};

TEST(Registry, has_exactly_the_promised_names_with_their_arities) {
    std::map<std::string, int> expected;
    for (const Names& row : promised) {
        std::istringstream names(row.names);
        for (std::string name; names >> name;) expected[name] = row.arity;
    }
    ASSERT_EQ(expected.size(), 256u);
    for (const Builtin& row : builtin_table()) {
        const auto name = expected.find(row.name);
        ASSERT_NE(name, expected.end()) << row.name << " is not promised, or there twice";
        EXPECT_EQ(row.arity, name->second) << row.name;
        expected.erase(name);
    }
    for (const auto& [name, arity] : expected) ADD_FAILURE() << name << " is missing";
}

TEST(Registry, stands_in_key_order_and_is_built_once) {
    const std::span<const Builtin> table = builtin_table();
    for (size_t i = 1; i < table.size(); ++i) {
        EXPECT_LT(std::string_view(table[i - 1].name), std::string_view(table[i].name));
    }
    EXPECT_EQ(builtin_table().data(), table.data());
}

}  // namespace
}  // namespace marl
