#include "common/diagnostics.h"

constinit std::uint32_t mc_debug = 0;
constinit std::uint32_t mld_debug = 0;

namespace mc {

namespace {

void print_separator() { std::puts("\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r"); }

}  // namespace

std::int32_t igmp_checked(std::int32_t status, const char* text) {
    if (status != 0 && igmp_says(kErrors)) std::printf("%s", text);
    return status;
}

std::int32_t igmp_checked_line(std::int32_t status, const char* text) {
    if (status != 0 && igmp_says(kErrors)) std::puts(text);
    return status;
}

std::int32_t igmp_checked_ret(std::int32_t status, const char* text) {
    if (status != 0 && igmp_says(kErrors)) std::printf(text, status);
    return status;
}

std::int32_t mld_checked_line(std::int32_t status, const char* text) {
    if (status != 0 && mld_says(kErrors)) std::puts(text);
    return status;
}

void dump_hex(std::span<const std::uint8_t> bytes, std::uint32_t wanted) {
    print_separator();
    for (std::uint32_t i = 0; i < wanted; ++i) {
        std::printf("%02x ", i < bytes.size() ? bytes[i] : 0);
        if (i % 16 == 15 && i + 1 != wanted) std::puts("\r");
    }
    print_separator();
}

}  // namespace mc
