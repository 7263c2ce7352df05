#include "common/diagnostics.h"

namespace mc {

namespace {

void print_separator() { std::puts("\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r"); }

}  // namespace

void dump_hex(std::span<const std::uint8_t> bytes, std::uint32_t wanted) {
    print_separator();
    for (std::uint32_t i = 0; i < wanted; ++i) {
        std::printf("%02x ", i < bytes.size() ? bytes[i] : 0);
        if (i % 16 == 15 && i + 1 != wanted) std::puts("\r");
    }
    print_separator();
}

}  // namespace mc
