// Programs inside a door: their output and complaints as text, their files in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

// A file of the process's own, which has the text until it is given another one.
class MemoryFile {
 public:
    MemoryFile();
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    void put(std::string_view text) const;
    [[nodiscard]] std::filesystem::path path() const;

 private:
    int descriptor_;
};

struct Ran {
    int status;
    std::string output;
    std::string complaint;
};

// Runs a program's main with these words behind its name, each in room of its own.
[[nodiscard]] Ran run_program(int (*program)(int, char**), const char* name,
                              const std::vector<std::string>& words);

// Nothing in it controls a terminal, not even a line end.
[[nodiscard]] bool is_printable(std::string_view line);

// One line of printable text, with its end.
void check_complaint(std::string_view line);

}  // namespace fuzz
