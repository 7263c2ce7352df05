// What the links of the ports tell the core.
#include "node/core/event_watch.h"
#include "node/core/multicast_core.h"
#include "node/core/querier.h"

namespace mcore {

// Whoever is behind the port now has not been asked yet (RFC 4541, 2.1.1).
void link_up(std::uint32_t port) {
    const Lock lock;
    const Port* const found = find_port(port);
    if (found == nullptr) return;
    tell_event({{}, port, 0}, [] { return LinkChanged{true}; });
    ask_port(*found);
}

}  // namespace mcore
