// The routers behind the user ports. A router is known by its queries and by its advertisements
// (RFC 4286); what it sends marks its port as a router port until it has not been heard for too
// long (RFC 4541, 2.1.1). Streams and the reports of other user ports go to router ports.
//
// The user ports are separate segments behind one node, and so are the VLANs of a port: each
// elects its own querier, the lowest address (RFC 3376, 6.6.2; RFC 3810, 7.6.2). The node takes
// part where it asks, in proxy mode.
#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>

#include "node/core/state.h"
#include "node/core/trace.h"

namespace mcore {

struct RouterQuery;

// Nothing, or why the router is not taken in.
[[nodiscard]] std::optional<Drop> hear_querier(const Place& place, const Address& address,
                                               const RouterQuery& query);
[[nodiscard]] std::optional<Drop> hear_advertisement(const Place& place, const Address& address,
                                                     std::uint8_t interval_s);
void hear_termination(const Place& place, const Address& address);

// Another router asks there.
[[nodiscard]] bool is_outvoted(const Place& segment);

// What the querier of a segment says of itself, which is what its hosts are to be judged by
// (RFC 3376, 4.1.6 and 4.1.7; RFC 3810, 5.1.8 and 5.1.9). Of what it does not say, and where no
// other router asks, the node's own settings.
struct QuerierValues {
    std::uint32_t robustness;
    std::uint32_t query_interval;  // in seconds
};
[[nodiscard]] QuerierValues querier_values(const Place& segment);

[[nodiscard]] bool is_router_port(const Place& segment);

void forget_routers_if(const std::function<bool(const RouterKey&)>& unwanted);

// Tells who watches the router ports, if they have changed. Whatever changes the table calls it.
void tell_router_ports();

}  // namespace mcore
