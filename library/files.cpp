// Streams and descriptors: the C library's file access.
//
// A stream is the address of a C FILE, and a descriptor a small number; nothing keeps track of
// them. A call that an interrupt cuts short answers as C does, and the run ends between two steps.

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

#include "library/convention.h"
#include "library/families.h"

namespace marl {

namespace {

FILE* standard_output() { return stdout; }
FILE* standard_error() { return stderr; }

/// A name under /tmp that no file has at this moment, as C's tmpnam gives it: into the buffer of
/// L_tmpnam bytes, or into a static one for a null. Null when it finds none. The linkers of this
/// platform warn of every use of tmpnam itself.
char* temporary_name(char* buffer) {
    static char own_buffer[L_tmpnam];
    static uint64_t state = 0;
    char* name = buffer ? buffer : own_buffer;
    const int errno_before = errno;
    state += static_cast<uint64_t>(getpid()) << 32 ^ static_cast<uint64_t>(time(nullptr));
    for (int attempt = 0; attempt < TMP_MAX; ++attempt) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        const auto digits = static_cast<unsigned long long>(state >> 16);
        snprintf(name, L_tmpnam, "/tmp/m%012llx", digits);
        struct stat found;
        if (lstat(name, &found) != 0 && errno == ENOENT) {
            errno = errno_before;
            return name;
        }
    }
    return nullptr;
}

constexpr Builtin rows[] = {
    wrap<S(M, M), fopen>("fopen", 2),
    wrap<S(I, M), fdopen>("fdopen", 2),
    wrap<S(I), fclose>("fclose", 1),
    wrap<S(I), fflush>("fflush", 1),
    wrap<S(I), feof>("feof", 1),
    wrap<S(I), ferror>("ferror", 1),
    wrap<V(I), clearerr>("clearerr", 1),
    wrap<S(I), fileno>("fileno", 1),
    wrap<V(I, I), setbuf>("setbuf", 2),
    wrap<S(I), fgetc>("fgetc", 1),
    wrap<S(I), getc>("getc", 1),
    wrap<S(), getchar>("getchar", 0),
    wrap<S(I, I), ungetc>("ungetc", 2),
    wrap<S(I, I, I), fgets>("fgets", 3),
    wrap<U(I, I, I, I), fread>("fread", 4),
    wrap<S(I, I), fputc>("fputc", 2),
    wrap<S(I, I), putc>("putc", 2),
    wrap<S(I), putchar>("putchar", 1),
    wrap<S(I, I), fputs>("fputs", 2),
    wrap<S(M), puts>("puts", 1),
    wrap<S(M, N, N, I), fwrite>("fwrite", 4),
    wrap<S(I, I, I), fseek>("fseek", 3),
    wrap<S(I), ftell>("ftell", 1),
    wrap<V(I), rewind>("rewind", 1),
    wrap<S(I, I), fgetpos>("fgetpos", 2),
    wrap<S(I, I), fsetpos>("fsetpos", 2),
    wrap<S(I, I, I), read>("read", 3),
    wrap<S(I, M, I), write>("write", 3),
    wrap<S(M), remove>("remove", 1),
    wrap<S(M, M), rename>("rename", 2),
    wrap<S(), tmpfile>("tmpfile", 0),
    wrap<S(I), temporary_name>("tmpnam", 1),
    wrap<V(M), perror>("perror", 1),
    wrap<S(), standard_output>("stdout", 0),
    wrap<S(), standard_error>("stderr", 0),
};

}  // namespace

std::span<const Builtin> file_rows() { return rows; }

}  // namespace marl
