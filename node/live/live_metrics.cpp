#include "node/live/live_metrics.h"

#include <cstddef>

#include "node/driver/ports.h"
#include "node/live/core_clock.h"
#include "node/live/live_summary.h"
#include "node/metrics/node_metrics.h"

namespace live {

std::string metric_families(LiveDriver& driver) {
    const Report report = driver.counts();
    metrics::NodeNumbers numbers{
        {}, drops_of(report), report::core_report(CoreClock::now_us()), report.entry_latency};
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        const PortCounters& port = report.ports[slot];
        if (port.interface.empty()) continue;
        numbers.ports.push_back({driver::name_of_slot(slot), port.interface, port.igmp, port.mld,
                                 port.sent, port.send_failed, port.fates});
    }
    return metrics::families(numbers);
}

}  // namespace live
