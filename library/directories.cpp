// Directory scanning with a record of its own, the same on every platform.
//
// A handle is the record, which a program reads by offsets, followed by the state of the scan. So
// the record's address is the handle's, and each `readdir` overwrites it. The scan reads one entry
// ahead, for the record tells a hash of the next name.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "library/convention.h"
#include "library/families.h"
#include "text/fatal.h"

namespace marl {

namespace {

constexpr size_t longest_name = 260;

enum FileType : uint32_t {
    type_none = 0,
    type_device = 0x2000,
    type_directory = 0x4000,
    type_regular = 0x8000,
    type_link = 0xC000,
};

struct Record {
    uint32_t inode;
    uint32_t next_hash;
    uint16_t record_length;
    uint64_t name_length;
    uint32_t type;
    char name[longest_name + 1];
};
static_assert(sizeof(Record) == 296 && offsetof(Record, name) == 28);

constexpr uint32_t hash_at_end = 0x7FFFFFFF;
constexpr uint32_t hash_of_unnamed = 0xFFFFFFFF;

struct Entry {
    std::string name;
    uint32_t type = type_none;
    bool present = false;
};

struct Scan {
    DIR* directory;
    Entry ahead;
};

struct Handle {
    Record record;
    Scan* scan;
};

/// Whatever is no directory, file or link counts as a device: it can't be read like a file.
uint32_t type_of(DIR* directory, const dirent* entry) {
    switch (entry->d_type) {
        case DT_DIR: return type_directory;
        case DT_REG: return type_regular;
        case DT_LNK: return type_link;
        case DT_UNKNOWN: break;
        default: return type_device;
    }
    // The file system keeps no types in its directories.
    struct stat status;
    if (fstatat(dirfd(directory), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return type_none;
    }
    if (S_ISDIR(status.st_mode)) return type_directory;
    if (S_ISREG(status.st_mode)) return type_regular;
    if (S_ISLNK(status.st_mode)) return type_link;
    return type_device;
}

Entry next_entry(DIR* directory) {
    const dirent* entry = readdir(directory);
    if (!entry) return {};
    return {entry->d_name, type_of(directory, entry), true};
}

uint32_t hash_of(std::string_view name) {
    uint32_t hash = 5381;
    for (const char byte : name.substr(0, longest_name)) {
        hash = hash * 33 + static_cast<uint8_t>(byte);
    }
    return hash & 0x7FFFFFFF;
}

void fill_record(Record& record, const Entry& entry, const Entry& following) {
    std::string_view name = entry.name;
    if (name.size() <= longest_name) {
        record.next_hash = following.present ? hash_of(following.name) : hash_at_end;
        record.record_length = sizeof(Record);
        record.type = entry.type;
    } else {
        // A name that the record can't hold is not given away in part.
        name = "?";
        record.next_hash = hash_of_unnamed;
        record.record_length = 0;
        record.type = type_none;
    }
    record.inode = 0;
    record.name_length = name.size();
    memcpy(record.name, name.data(), name.size());
    record.name[name.size()] = 0;
}

Handle* open_directory(const char* path) {
    if (!path || !*path) {
        errno = ENOENT;
        return nullptr;
    }
    if (strlen(path) > longest_name) return nullptr;
    DIR* directory = opendir(path);
    if (!directory) {
        if (errno != EACCES && errno != ENOTDIR) errno = ENOENT;
        return nullptr;
    }
    auto* handle = static_cast<Handle*>(allocate_bytes(sizeof(Handle)));
    memset(&handle->record, 0, sizeof handle->record);
    handle->scan = new Scan{directory, next_entry(directory)};
    return handle;
}

/// Whether there is a scan behind the handle; EBADF if not, as for the 0 of a failed opendir.
bool is_open(const Handle* handle) {
    if (handle && handle->scan) return true;
    errno = EBADF;
    return false;
}

Record* read_directory(Handle* handle) {
    if (!is_open(handle)) return nullptr;
    Scan& scan = *handle->scan;
    if (!scan.ahead.present) return nullptr;
    const Entry entry = std::exchange(scan.ahead, next_entry(scan.directory));
    fill_record(handle->record, entry, scan.ahead);
    return &handle->record;
}

int close_directory(Handle* handle) {
    if (!is_open(handle)) return -1;
    const int failed = closedir(handle->scan->directory);
    delete handle->scan;
    free(handle);
    return failed ? -1 : 0;
}

constexpr Builtin rows[] = {
    wrap<S(M), open_directory>("opendir", 1),
    wrap<S(I), read_directory>("readdir", 1),
    wrap<S(I), close_directory>("closedir", 1),
    {"dirent", 0, constant<sizeof(Record)>},
};

}  // namespace

std::span<const Builtin> directory_rows() { return rows; }

}  // namespace marl
