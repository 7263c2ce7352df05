// The diagnostics on standard output: categories, the report of a failing call, and the hex dump
// that frames and records share.
//
// Each side has its own mask, mc_debug and mld_debug. A message tests its category first and stands
// whole behind the test, so that nothing is evaluated for a message that is switched off and every
// line seen on a console can be found with grep:
//
//     if (igmp_says(kErrors)) std::printf("\r\n[MC_DBG_ERR]: usLength  = %d\r\n", len);
//
// Lines with arguments go out by printf; of the fixed ones some go out by puts, which ends the
// line.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>

#include "common/masks.h"

namespace mc {

enum Category : std::uint32_t {
    kFlow = MC_DEBUG_FLOW,
    kErrors = MC_DEBUG_ERRORS,
    kTransmitDump = MC_DEBUG_TRANSMIT_DUMP,
    kReceiveDump = MC_DEBUG_RECEIVE_DUMP,
    kConfig = MC_DEBUG_CONFIG,
};

// A system in service is silent, so the compiler lays the messages out of the way. Inlined whatever
// it thinks of it: in position-independent code for MIPS a call takes more than the test.
[[gnu::always_inline]] inline bool igmp_says(Category category) {
    return __builtin_expect((mc_debug & category) != 0, false);
}
[[gnu::always_inline]] inline bool mld_says(Category category) {
    return __builtin_expect((mld_debug & category) != 0, false);
}

// A call and the one text of its failure: the status of the call, handed on. Any but 0 prints the
// text under the error category of the side.
//
//     return igmp_checked(igmp_vlan_add(old), "\r\n[MC_DBG_ERR]: \n ERROR!igmp_vlan_add Fail");
//
// The first prints the text as it stands, by printf; the second as a line, by puts; the third puts
// the status into the one %d of its text.
std::int32_t igmp_checked(std::int32_t status, const char* text);
std::int32_t igmp_checked_line(std::int32_t status, const char* text);
std::int32_t igmp_checked_ret(std::int32_t status, const char* text)
    __attribute__((format(printf, 2, 0)));
std::int32_t mld_checked_line(std::int32_t status, const char* text);

// Prints the first `wanted` bytes between two separator lines, sixteen a line. What lies behind the
// bytes at hand prints as 00.
void dump_hex(std::span<const std::uint8_t> bytes, std::uint32_t wanted);

}  // namespace mc
