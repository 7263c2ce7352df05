#include "node/core/source_address.h"

#include <optional>

#include "common/bytes.h"
#include "node/core/address.h"
#include "node/core/state.h"

namespace mcore {
namespace {

// Not part of the core: it stays when the core begins anew.
std::optional<Address>& link_local() {
    static std::optional<Address> address;
    return address;
}

}  // namespace

Address mld_source() {
    if (link_local()) return *link_local();
    Address source{0xFE, 0x80};
    mc::store_be32(source.data() + 12, core().settings.proxy_ip);
    return source;
}

Address querier_address(Family family) {
    return family == Family::kIpv4 ? from_ipv4(core().settings.proxy_ip) : mld_source();
}

std::uint32_t proxy_ip() {
    const Lock lock;
    return core().settings.proxy_ip;
}

bool replace_proxy_ip(std::uint32_t from, std::uint32_t to) {
    const Lock lock;
    if (core().settings.proxy_ip != from) return false;
    core().settings.proxy_ip = to;
    core().settings.own_ip = to;
    return true;
}

void set_link_local(const Address& address) {
    const Lock lock;
    link_local() = address;
}

}  // namespace mcore
