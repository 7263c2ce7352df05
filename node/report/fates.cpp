#include "node/report/fates.h"

#include <cstddef>

#include "node/report/table.h"
#include "node/report/values.h"

namespace report {

std::string fates_text(const std::vector<PortFates>& ports) {
    Table table("Frames taken", {{"port", Align::kLeft},
                                 {"total"},
                                 {"core and sent on"},
                                 {"core only"},
                                 {"sent on only"},
                                 {"dropped"}});
    const auto add = [&table](const std::string& port, const driver::FateCounts& counts) {
        table.add({port, number(counts.total()), number(counts.core_and_sent),
                   number(counts.core_only), number(counts.sent_only), number(counts.dropped())});
    };
    driver::FateCounts sum;
    for (const PortFates& port : ports) {
        add(port.port, port.counts);
        sum += port.counts;
    }
    add("all", sum);
    if (sum.sent_only == 0) return table.text();
    return table.text() +
           "  sent on only: in snooping and control mode the library keeps from the core what comes "
           "in by the uplink\n";
}

Json fates_json(const driver::FateCounts& counts) {
    return Json::object({{"core_and_sent", counts.core_and_sent},
                         {"core_only", counts.core_only},
                         {"sent_only", counts.sent_only},
                         {"dropped", counts.dropped()}});
}

std::vector<Count> library_drops(const driver::FateCounts& counts) {
    std::vector<Count> drops;
    for (std::size_t i = 0; i < driver::kLibraryDrops; ++i) {
        drops.push_back({driver::name(static_cast<driver::LibraryDrop>(i)), counts.drops[i]});
    }
    return drops;
}

}  // namespace report
