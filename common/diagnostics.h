// The diagnostics on standard output: categories, and the hex dump that frames and records share.
//
// Each side has its own mask, mc_debug and mld_debug, both 0 at load: a default system is silent. A
// message tests its category first and stands whole behind the test, so that nothing is evaluated
// for a message that is switched off and every line seen on a console can be found with grep:
//
//     if (igmp_says(kErrors)) std::printf("\r\n[MC_DBG_ERR]: usLength  = %d\r\n", len);
//
// Lines with arguments go out by printf; of the fixed ones some go out by puts, which ends the
// line.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>

#include "adapt/records.h"

namespace mc {

enum Category : std::uint32_t {
    kFlow = 0x01,          // "[MC_DBG_DBG]: "
    kErrors = 0x04,        // "[MC_DBG_ERR]: "
    kTransmitDump = 0x08,  // every frame sent, in hex
    kReceiveDump = 0x10,   // every frame received, in hex
    kConfig = 0x20,        // "[MC_DBG_CFG]: "
};

inline bool igmp_says(Category category) { return (mc_debug & category) != 0; }
inline bool mld_says(Category category) { return (mld_debug & category) != 0; }

// Prints the first `wanted` bytes between two separator lines, sixteen a line. What lies behind the
// bytes at hand prints as 00.
void dump_hex(std::span<const std::uint8_t> bytes, std::uint32_t wanted);

}  // namespace mc
