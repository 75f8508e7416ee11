// The region is reserved when the first code asks for room. What is given back is kept by its
// place, joined with what is free beside it; the first block that is large enough is taken.
#include "reduce/native/region.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <map>

namespace marl {

namespace {

constexpr size_t region_size = size_t{64} << 20;

struct Region {
    uint8_t* start = nullptr;
    size_t used = 0;
    bool is_refused = false;
    std::map<uint8_t*, size_t> free;  // what was given back, no two of which touch
};
Region region;

/// Whether the addresses from `place` on were free, and are the region's now.
bool reserve_region_at(uintptr_t place) {
    auto* const wanted = reinterpret_cast<void*>(place);
    const int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED_NOREPLACE;
    void* const got = mmap(wanted, region_size, PROT_NONE, flags, -1, 0);
    if (got == wanted) region.start = static_cast<uint8_t*>(got);
    if (got != wanted && got != MAP_FAILED) munmap(got, region_size);
    return got == wanted;
}

/// Reserves addresses that relative jumps reach the program's text and data from, and back: below
/// it, where nothing else grows, else above.
void reserve_region() {
    const auto text = reinterpret_cast<uintptr_t>(&take_room) & ~(region_size - 1);
    for (uintptr_t distance = 2 * region_size; distance < 24 * region_size;
         distance += region_size) {
        if (text > distance && reserve_region_at(text - distance)) return;
        if (reserve_region_at(text + distance)) return;
    }
    region.is_refused = true;
}

/// Makes the pages of some room what `protection` says.
bool protect(const uint8_t* start, size_t size, int protection) {
    const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t from = reinterpret_cast<uintptr_t>(start) & ~(page - 1);
    const uintptr_t to = reinterpret_cast<uintptr_t>(start) + size;
    return mprotect(reinterpret_cast<void*>(from), to - from, protection) == 0;
}

}  // namespace

uint8_t* take_room(size_t size) {
    const auto fits_in = [&](const auto& block) { return block.second >= size; };
    const auto block = std::find_if(region.free.begin(), region.free.end(), fits_in);
    if (block != region.free.end()) {
        const auto [start, free] = *block;
        region.free.erase(block);
        if (free > size) region.free.emplace(start + size, free - size);
        return start;
    }
    if (!region.start && !region.is_refused) reserve_region();
    if (region.is_refused || region_size - region.used < size) return nullptr;
    region.used += size;
    return region.start + region.used - size;
}

void give_room_back(uint8_t* start, size_t size) {
    auto next = region.free.lower_bound(start);
    if (next != region.free.end() && next->first == start + size) {
        size += next->second;
        next = region.free.erase(next);
    }
    if (next != region.free.begin()) {
        const auto before = std::prev(next);
        if (before->first + before->second == start) {
            before->second += size;
            return;
        }
    }
    region.free.emplace(start, size);
}

bool let_write(uint8_t* start, size_t size) { return protect(start, size, PROT_READ | PROT_WRITE); }

bool let_run(uint8_t* start, size_t size) {
    region.is_refused |= !protect(start, size, PROT_READ | PROT_EXEC);
    return !region.is_refused;
}

}  // namespace marl
