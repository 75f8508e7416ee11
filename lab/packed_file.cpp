// Messages go to standard error: standard output is the program's.
#include "lab/packed_file.h"

#include <cstdio>

#include "lab/files.h"
#include "lab/pack.h"
#include "lab/screen.h"

namespace marl::lab {

namespace {

void tell(const std::string& text) { fwrite(text.data(), 1, text.size(), stderr); }

}  // namespace

PackedFile packed_file(const std::string& path) {
    const FileText file = read_file(path);
    if (!file.text) {
        tell("marl-lab: " + file.why + "\n");
        return {std::nullopt, 2};
    }
    const Files files = files_on_disk();
    Bundle bundle = read_bundle(files, path, *file.text);
    Packed packed = pack_to_run(files, bundle);
    if (!has_faults(packed.messages)) {
        return {std::move(packed.text), 0, {std::move(bundle), std::move(packed.definitions)}};
    }
    tell(shown_messages(bundle, only_faults(packed.messages), has_colours(stderr, "auto")));
    return {std::nullopt, 1};
}

}  // namespace marl::lab
