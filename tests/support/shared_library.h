// A shared library as a file: what it exports and imports.
#pragma once

#include <elf.h>
#include <gtest/gtest.h>
#include <link.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace mc_test {

using Names = std::set<std::string>;

inline std::string content_of(const std::filesystem::path& path) {
    const std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

// The dynamic half of a shared library for the machine that the test is built for.
class SharedLibrary {
 public:
    explicit SharedLibrary(const std::filesystem::path& path) : image_(content_of(path)) {
        const auto header = at<ElfW(Ehdr)>(0);
        for (unsigned i = 0; i < header.e_shnum; ++i) {
            const auto section = at<ElfW(Shdr)>(header.e_shoff + i * header.e_shentsize);
            if (section.sh_type == SHT_DYNSYM) read_symbols(section, header);
            if (section.sh_type == SHT_SYMTAB) read_local_symbols(section, header);
            if (section.sh_type == SHT_DYNAMIC) read_dynamic(section, header);
            if (section.sh_type == SHT_INIT_ARRAY) initialisers = section.sh_size;
        }
    }

    Names exported;
    Names exported_functions;  // those among them
    Names imported;
    Names imported_if_there;  // weak: may stay undefined
    Names local;              // of which a stripped library has none
    std::vector<std::string> needed;
    std::uint64_t initialisers = 0;  // bytes of pointers to functions that run at load

 private:
    template <class Record>
    Record at(std::uint64_t offset) const {
        Record record;
        std::memcpy(&record, image_.data() + offset, sizeof record);
        return record;
    }

    std::string text(const ElfW(Shdr) & owner, const ElfW(Ehdr) & header,
                     std::uint64_t index) const {
        const auto strings =
            at<ElfW(Shdr)>(header.e_shoff + std::uint64_t{owner.sh_link} * header.e_shentsize);
        return image_.data() + strings.sh_offset + index;
    }

    void read_symbols(const ElfW(Shdr) & section, const ElfW(Ehdr) & header) {
        for (std::uint64_t i = 1; i < section.sh_size / section.sh_entsize; ++i) {
            const auto symbol = at<ElfW(Sym)>(section.sh_offset + i * section.sh_entsize);
            const unsigned binding = symbol.st_info >> 4;
            if (binding == STB_LOCAL) continue;
            const std::string name = text(section, header, symbol.st_name);
            if (symbol.st_shndx != SHN_UNDEF) {
                exported.insert(name);
                if ((symbol.st_info & 0x0F) == STT_FUNC) exported_functions.insert(name);
            } else if (binding == STB_WEAK) {
                imported_if_there.insert(name);
            } else {
                imported.insert(name);
            }
        }
    }

    void read_local_symbols(const ElfW(Shdr) & section, const ElfW(Ehdr) & header) {
        for (std::uint64_t i = 1; i < section.sh_size / section.sh_entsize; ++i) {
            const auto symbol = at<ElfW(Sym)>(section.sh_offset + i * section.sh_entsize);
            if (symbol.st_info >> 4 == STB_LOCAL) {
                local.insert(text(section, header, symbol.st_name));
            }
        }
    }

    void read_dynamic(const ElfW(Shdr) & section, const ElfW(Ehdr) & header) {
        for (std::uint64_t i = 0; i < section.sh_size / section.sh_entsize; ++i) {
            const auto entry = at<ElfW(Dyn)>(section.sh_offset + i * section.sh_entsize);
            if (entry.d_tag == DT_NEEDED) needed.push_back(text(section, header, entry.d_un.d_val));
        }
    }

    std::string image_;
};

}  // namespace mc_test
