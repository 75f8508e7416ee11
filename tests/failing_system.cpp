// What is linked round marl's own objects in the place of the system's.
//
// The allocator, malloc, realloc and operator new, fails once: it gives null at the call that the
// environment's MARL_FAIL_AT tells, the first being 1. What the C library allocates for itself
// doesn't count. Directories tell no types, as on a file system that keeps none there.
#include <dirent.h>

#include <cstdint>
#include <cstdlib>
#include <new>

extern "C" void* __real_malloc(size_t size);
extern "C" void* __real_realloc(void* block, size_t size);
extern "C" dirent* __real_readdir(DIR* directory);

namespace {

bool fails_now() {
    static int64_t left = [] {
        const char* at = getenv("MARL_FAIL_AT");
        return at ? atoll(at) : 0;
    }();
    return left > 0 && --left == 0;
}

void* allocate(size_t size) {
    void* block = fails_now() ? nullptr : __real_malloc(size ? size : 1);
    if (!block) std::get_new_handler()();
    return block;
}

}  // namespace

extern "C" void* __wrap_malloc(size_t size) { return fails_now() ? nullptr : __real_malloc(size); }
extern "C" void* __wrap_realloc(void* block, size_t size) {
    return fails_now() ? nullptr : __real_realloc(block, size);
}

extern "C" dirent* __wrap_readdir(DIR* directory) {
    dirent* entry = __real_readdir(directory);
    if (entry) entry->d_type = DT_UNKNOWN;
    return entry;
}

void* operator new(size_t size) { return allocate(size); }
void* operator new[](size_t size) { return allocate(size); }
// A sort asks for room that it can do without, so the run would go on.
void* operator new(size_t size, const std::nothrow_t&) noexcept { return __real_malloc(size); }
void operator delete(void* block) noexcept { free(block); }
void operator delete[](void* block) noexcept { free(block); }
void operator delete(void* block, size_t) noexcept { free(block); }
void operator delete[](void* block, size_t) noexcept { free(block); }
