// A file is replaced by one that is written beside it, flushed to the disk and renamed, with the
// old one's mode: it holds the old text or the new one, and never a part.
#include "lab/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace marl::lab {

namespace {

constexpr size_t most_bytes = size_t{1} << 28;  // no source is longer

std::string because(const std::string& path, std::string_view what, int error) {
    return path + " can't be " + std::string(what) + ": " + std::strerror(error) + ".";
}

struct Descriptor {
    int number;
    bool is_open() const { return number >= 0; }
    ~Descriptor() {
        if (number > STDERR_FILENO) close(number);
    }
};

/// Whether all of it could be written; else errno says why not.
bool write_all(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t size = write(descriptor, text.data(), text.size());
        if (size < 0 && errno == EINTR) continue;
        if (size < 0) return false;
        text.remove_prefix(static_cast<size_t>(size));
    }
    return true;
}

/// The file that a path leads to: a link stays one.
std::string end_of_links(const std::string& path) {
    char* end = realpath(path.c_str(), nullptr);
    if (!end) return path;
    std::string found(end);
    std::free(end);
    return found;
}

std::string write_to(const std::string& path, std::string_view text) {
    const Descriptor file{open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666)};
    const bool written = file.is_open() && write_all(file.number, text);
    return written ? std::string() : because(path, "written", errno);
}

/// The mode of a file that is new: what the process leaves of read and write for all.
mode_t new_mode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

FileText read_file(const std::string& path) {
    const Descriptor file{path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)};
    if (!file.is_open()) return {std::nullopt, because(path, "read", errno)};
    std::string text;
    char bytes[1 << 16];
    for (;;) {
        const ssize_t size = read(file.number, bytes, sizeof bytes);
        if (size < 0 && errno == EINTR) continue;
        if (size < 0) return {std::nullopt, because(path, "read", errno)};
        if (size == 0) return {std::move(text), {}};
        if (text.size() > most_bytes) return {std::nullopt, path + " is too long to be a program."};
        text.append(bytes, static_cast<size_t>(size));
    }
}

std::string write_file(const std::string& path, std::string_view text) {
    const std::string end = end_of_links(path);
    struct stat old {};
    const bool exists = stat(end.c_str(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) return write_to(path, text);
    std::string beside = end + ".XXXXXX";
    const Descriptor file{mkostemp(beside.data(), O_CLOEXEC)};
    if (!file.is_open()) return because(path, "written", errno);
    // That the owner can't be kept is no reason to keep the old text.
    if (exists && fchown(file.number, old.st_uid, old.st_gid) != 0) errno = 0;
    const bool done = write_all(file.number, text) &&
                      fchmod(file.number, exists ? old.st_mode & 07777 : new_mode()) == 0 &&
                      fsync(file.number) == 0 && rename(beside.c_str(), end.c_str()) == 0;
    if (done) return {};
    std::string why = because(path, "written", errno);
    unlink(beside.c_str());
    return why;
}

}  // namespace marl::lab
