// Runs a fuzz target over the files of a folder, once each: how a build without libFuzzer replays
// what fuzzing has found.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* count, char*** arguments);

int main(int count, char** arguments) {
    if (count != 2) return 2;
    if (LLVMFuzzerInitialize) LLVMFuzzerInitialize(&count, &arguments);
    int replayed = 0;
    for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
        ++replayed;
    }
    printf("%d inputs replayed\n", replayed);
    return replayed > 0 ? 0 : 1;
}
