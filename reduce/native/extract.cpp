// Makes tables of the stencils in an object file, for reduce/native/native.cpp to include.
//
//     extract OBJECT TABLES
//
// Whatever a stencil may not have is an error, since it would run at the wrong place: a section
// other than those of code, a call, and an address that neither is a hole nor a jump or an access
// relative to its own place.
#include <elf.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace {

[[noreturn]] void stop(const std::string& why) {
    fprintf(stderr, "extract: %s\n", why.c_str());
    exit(1);
}

struct Patch {
    uint64_t offset;
    const char* kind;
    std::string symbol;
    int64_t addend;
};

struct Stencil {
    std::string bytes;
    std::vector<Patch> patches;
};

bool begins(const std::string& text, const char* with) { return text.rfind(with, 0) == 0; }

const std::string code_section = ".text.stencil_";

/// The sections and symbols of an object file.
class Object {
  public:
    explicit Object(std::string file) : file_(std::move(file)) {
        const auto* header = at<Elf64_Ehdr>(0);
        if (file_.size() < sizeof *header || memcmp(header->e_ident, ELFMAG, SELFMAG) != 0 ||
            header->e_type != ET_REL || header->e_machine != EM_X86_64) {
            stop("no object file for x86-64");
        }
        sections_ = at<Elf64_Shdr>(header->e_shoff);
        count_ = header->e_shnum;
        names_ = sections_[header->e_shstrndx].sh_offset;
    }

    std::map<std::string, Stencil> stencils() const {
        std::map<std::string, Stencil> found;
        for (int i = 0; i < count_; ++i) {
            const Elf64_Shdr& section = sections_[i];
            const std::string name = name_of(section);
            if (begins(name, code_section.c_str())) {
                found[name].bytes = file_.substr(section.sh_offset, section.sh_size);
            } else if ((section.sh_flags & SHF_ALLOC) != 0 && section.sh_size != 0) {
                stop("a section " + name);
            }
        }
        for (int i = 0; i < count_; ++i) {
            if (sections_[i].sh_type != SHT_RELA) continue;
            const std::string name = name_of(sections_[sections_[i].sh_info]);
            if (begins(name, code_section.c_str())) add_patches(found[name], sections_[i], name);
        }
        return found;
    }

  private:
    template <class Type>
    const Type* at(uint64_t offset) const {
        return reinterpret_cast<const Type*>(file_.data() + offset);
    }
    std::string name_of(const Elf64_Shdr& section) const {
        return at<char>(names_ + section.sh_name);
    }

    void add_patches(Stencil& stencil, const Elf64_Shdr& section, const std::string& name) const {
        const Elf64_Shdr& symbols = sections_[section.sh_link];
        const uint64_t strings = sections_[symbols.sh_link].sh_offset;
        for (uint64_t i = 0; i < section.sh_size / sizeof(Elf64_Rela); ++i) {
            const auto& from = at<Elf64_Rela>(section.sh_offset)[i];
            const auto& symbol = at<Elf64_Sym>(symbols.sh_offset)[ELF64_R_SYM(from.r_info)];
            std::string to = at<char>(strings + symbol.st_name);
            if (to.empty() || symbol.st_shndx != SHN_UNDEF) stop("what " + name + " names: " + to);
            const char* kind = kind_of(from, stencil.bytes, begins(to, "hole_"));
            if (!kind) stop("how " + name + " names " + to);
            stencil.patches.push_back({from.r_offset, kind, std::move(to), from.r_addend});
        }
    }

    static const char* kind_of(const Elf64_Rela& from, const std::string& bytes, bool is_hole) {
        const auto byte = [&](uint64_t back) {
            return back <= from.r_offset ? static_cast<uint8_t>(bytes[from.r_offset - back]) : 0;
        };
        switch (ELF64_R_TYPE(from.r_info)) {
            case R_X86_64_32:
            case R_X86_64_32S: return is_hole ? "number" : nullptr;
            case R_X86_64_64: return is_hole ? "wide" : nullptr;
            case R_X86_64_PC32:
            case R_X86_64_PLT32: {
                const bool is_jump = byte(1) == 0xE9 || (byte(2) == 0x0F && byte(1) >> 4 == 8);
                const bool is_access = (byte(1) & 0xC7) == 5;
                return is_jump || (is_access && !is_hole) ? "relative" : nullptr;
            }
            default: return nullptr;
        }
    }

    std::string file_;
    const Elf64_Shdr* sections_ = nullptr;
    int count_ = 0;
    uint64_t names_ = 0;
};

/// Takes off the jump to the next instruction, when it comes last: the next one's code stands
/// there.
void fall_through(Stencil& stencil) {
    for (auto patch = stencil.patches.begin(); patch != stencil.patches.end(); ++patch) {
        const size_t size = stencil.bytes.size();
        if (patch->symbol != "hole_next" || patch->offset + 4 != size || size < 5) continue;
        if (stencil.bytes[size - 5] != '\xE9') continue;
        stencil.bytes.erase(size - 5);
        stencil.patches.erase(patch);
        return;
    }
}

class Tables {
  public:
    explicit Tables(const char* path) : file_(fopen(path, "w")) {
        if (!file_) stop(std::string("can't write ") + path);
    }

    void write(const std::map<std::string, Stencil>& stencils) {
        for (const auto& [name, stencil] : stencils) {
            write_one(name.substr(code_section.size()), stencil);
        }
        fprintf(file_, "static const char* const targets[] = {");
        for (size_t i = 0; i < targets_.size(); ++i) fprintf(file_, "target_%zu, ", i);
        fprintf(file_, "};\nstatic const StencilRow stencil_rows[] = {\n");
        for (const auto& [name, stencil] : stencils) {
            const std::string op = name.substr(code_section.size());
            fprintf(file_, "{Name::%s, {bytes_of_%s, %zu, patches_of_%s, %zu}},\n", op.c_str(),
                    op.c_str(), stencil.bytes.size(), op.c_str(), stencil.patches.size());
        }
        fprintf(file_, "};\n");
        if (fclose(file_) != 0) stop("can't write the tables");
    }

  private:
    void write_one(const std::string& op, const Stencil& stencil) {
        fprintf(file_, "static const uint8_t bytes_of_%s[] = {", op.c_str());
        for (const char byte : stencil.bytes) fprintf(file_, "%d,", static_cast<uint8_t>(byte));
        fprintf(file_, "0};\n");
        for (const Patch& patch : stencil.patches) declare(patch.symbol);
        fprintf(file_, "static const Patch patches_of_%s[] = {", op.c_str());
        for (const Patch& patch : stencil.patches) {
            const bool is_hole = begins(patch.symbol, "hole_");
            fprintf(file_, "{%llu, PatchKind::%s, ", static_cast<unsigned long long>(patch.offset),
                    patch.kind);
            if (is_hole) {
                fprintf(file_, "static_cast<int>(Hole::%s)", patch.symbol.c_str() + 5);
            } else {
                fprintf(file_, "~%zu", targets_[patch.symbol]);
            }
            fprintf(file_, ", %lld},", static_cast<long long>(patch.addend));
        }
        fprintf(file_, "{}};\n");
    }

    void declare(const std::string& symbol) {
        if (begins(symbol, "hole_") || targets_.count(symbol)) return;
        const size_t number = targets_.size();
        targets_[symbol] = number;
        fprintf(file_, "extern const char target_%zu[] __asm__(\"%s\");\n", number, symbol.c_str());
    }

    FILE* file_;
    std::map<std::string, size_t> targets_;
};

}  // namespace

int main(int count, char** arguments) {
    if (count != 3) stop("OBJECT and TABLES are wanted");
    std::ifstream in(arguments[1], std::ios::binary);
    auto stencils = Object(std::string(std::istreambuf_iterator<char>(in), {})).stencils();
    for (auto& [name, stencil] : stencils) fall_through(stencil);
    Tables(arguments[2]).write(stencils);
}
