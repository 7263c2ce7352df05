// What a running node tells monitoring: families that begin with mc_, whatever driver it runs on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "node/driver/frame_fate.h"
#include "node/metrics/exposition.h"
#include "node/report/core_report.h"

namespace metrics {

struct PortNumbers {
    std::string name;       // "port0", "uplink"
    std::string interface;  // empty where there is none
    std::uint64_t igmp;
    std::uint64_t mld;
    std::uint64_t sent;
    std::uint64_t send_failed;
    driver::FateCounts fates;
};

struct NodeNumbers {
    std::vector<PortNumbers> ports;
    report::Drops drops;
    report::CoreReport core;
    Histogram entry_latency;  // from a report's arrival to the entry that it makes
};

[[nodiscard]] std::string families(const NodeNumbers& numbers);

}  // namespace metrics
