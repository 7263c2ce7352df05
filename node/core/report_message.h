// The messages of the host side: their bytes, and the way to the router.
//
//   family   version    a report                        a leave
//   IGMP     3          records to 224.0.0.22           records
//            2          to the group                    to 224.0.0.2
//            1          to the group                    none
//   MLD      2          records to ff02::16             records
//            1          to the group                    done, to ff02::2
//
// IGMP carries the outer uplink tag if one was set: the VID and the PCP of its first field, which
// is a TCI. Otherwise messages carry the group's VLAN. The inner tag is only kept: the call-back
// takes one tag.
#pragma once

#include <cstdint>
#include <vector>

#include "node/core/membership.h"
#include "node/core/state.h"

namespace mcore {

// In as many reports as it takes to keep packets well below an Ethernet frame.
void send_records(const RouterLink& link, const std::vector<Record>& records);

// Of a version that has no records.
void send_report(const UpstreamKey& key, std::uint8_t version);
void send_leave(const UpstreamKey& key, std::uint8_t version);

}  // namespace mcore
