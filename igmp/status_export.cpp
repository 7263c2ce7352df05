// The export of port and group status to the shared status segment.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "adapt/port_lookup.h"
#include "adapt/records.h"
#include "adapt/status_segment.h"
#include "adapt/views.h"
#include "common/diagnostics.h"
#include "igmp/igmp.h"
#include "platform/group_dump.h"
#include "platform/protocol_core.h"

namespace {

using mc::igmp_says;
using mc::kFlow;
using mc::kNoPort;

constexpr std::uint32_t kStatusBytes = MC_STATUS_PORT_SIZE;

constexpr std::uint32_t kDumpRecord = IGMP_GROUP_RECORD_SIZE;
constexpr std::uint32_t kDumpBytes = IGMP_GROUP_DUMP_RECORDS + mc::kStatusGroups * kDumpRecord;

// What the core fills. Far too large for the stack of the task that asks, and so static: one export
// runs at a time.
constinit std::uint8_t dump_buffer[15000]{};
static_assert(sizeof(dump_buffer) >= kDumpBytes);

// The core's words are in native order wherever they stand.
std::uint32_t native_word(const std::uint8_t* p) {
    std::uint32_t word = 0;
    std::memcpy(&word, p, sizeof(word));
    return word;
}

// Spreads a packed record of the core to where the words of a segment record are aligned.
void export_record(std::uint32_t index, const std::uint8_t* record) {
    std::uint8_t spread[mc::kStatusGroupSize] = {};
    std::memcpy(spread + MC_STATUS_GROUP_PAIR, record + IGMP_GROUP_RECORD_PAIR, 2);
    std::memcpy(spread + MC_STATUS_GROUP_WORDS, record + IGMP_GROUP_RECORD_WORDS, 20);
    std::memcpy(spread + MC_STATUS_GROUP_REST, record + IGMP_GROUP_RECORD_REST, 3);
    mc::status_store_bytes(mc::kStatusGroupTable + index * mc::kStatusGroupSize, spread);
}

}  // namespace

std::int32_t igmp_hal_sync_if_status(std::uint32_t port) {
    port &= 0xFF;
    const int logical = mc::accept_port<mc::IgmpView>(port);
    if (logical == kNoPort) return -1;
    std::uint8_t buffer[kStatusBytes] = {};
    if (igmp_if_gather_if_status(port, kStatusBytes, buffer) <= 0) return -1;
    if (!mc::status_attached()) return -1;
    const std::uint32_t record =
        mc::kStatusPorts + static_cast<std::uint32_t>(logical) * kStatusBytes;
    for (std::uint32_t i = 0; i < kStatusBytes; i += 4) {
        mc::status_store_word(record + i, native_word(buffer + i));
    }
    return 0;
}

std::int32_t igmp_hal_sync_grp_infor(std::uint32_t port) {
    constexpr std::uint32_t kAllPorts = 255;
    port &= 0xFF;
    if (port != kAllPorts && mc::accept_port<mc::IgmpView>(port) == kNoPort) return -1;
    std::ranges::fill(dump_buffer, std::uint8_t{0});  // a core that delivers less leaves no records
    if (igmp_says(kFlow)) {
        std::printf("\r\n[MC_DBG_DBG]:  in igmp_gather_grp_info phy_port = %d data_len = %d\r\n",
                    port, kDumpBytes);
    }
    if (igmp_gather_grp_info(port, kDumpBytes, dump_buffer) < 1) return -1;
    if (!mc::status_attached()) return -1;
    const std::uint32_t count = std::min(native_word(dump_buffer), mc::kStatusGroups);
    // The count goes first, and records behind it stay: a reader may see a table half written.
    mc::status_store_word(mc::kStatusGroupCount, count);
    const std::uint8_t* record = dump_buffer + IGMP_GROUP_DUMP_RECORDS;
    for (std::uint32_t i = 0; i < count; ++i, record += kDumpRecord) export_record(i, record);
    return 0;
}
