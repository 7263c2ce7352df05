#include "node/live/own_address.h"

#include <utility>

#include "adapt/records.h"
#include "common/bytes.h"
#include "mld/record.h"
#include "node/core/multicast_core.h"
#include "node/live/addresses.h"
#include "node/live/links.h"

namespace live {
namespace {

std::string text_of(std::uint32_t address) {
    mcore::Address bytes{};
    mc::store_be32(bytes.data(), address);
    return mcore::text(mcore::Family::kIpv4, bytes);
}

}  // namespace

OwnAddress::OwnAddress(std::string bridge, std::string uplink, Say say)
    : bridge_(std::move(bridge)), uplink_(std::move(uplink)), say_(std::move(say)) {}

void OwnAddress::begin() {
    taken_ = find();
    static_cast<void>(mcore::replace_proxy_ip(mcore::proxy_ip(), taken_.address));
    globle_parm.proxy_ip = taken_.address;
    mldInitParams.proxy_ip = taken_.address;
    use_link_local();
    say_when_none();
}

void OwnAddress::look() {
    // A bridge that is gone has been said, and comes back with its address.
    if (!find_link(netlink_, bridge_)) return;
    use_link_local();
    Found now = find();
    if (now == taken_) return;
    // One that a command has set meanwhile is none of ours.
    if (!mcore::replace_proxy_ip(taken_.address, now.address)) return;
    taken_ = std::move(now);
    globle_parm.proxy_ip = taken_.address;
    mldInitParams.proxy_ip = taken_.address;
    if (taken_.address != 0) say_("IGMP messages leave from " + text() + " now");
    say_when_none();
}

std::string OwnAddress::text() const {
    const std::string address = text_of(taken_.address);
    return taken_.interface.empty() ? address : address + " (" + taken_.interface + ")";
}

OwnAddress::Found OwnAddress::find() {
    for (const std::string& name : {bridge_, uplink_}) {
        const auto link = name.empty() ? std::nullopt : find_link(netlink_, name);
        if (!link) continue;
        if (const auto address = ipv4_address(netlink_, link->index)) return {*address, name};
    }
    return {};
}

// Routers take MLD messages from any link-local address: the bridge's own tells nodes apart.
void OwnAddress::use_link_local() {
    const auto bridge = find_link(netlink_, bridge_);
    if (!bridge) return;
    if (const auto own = link_local_address(netlink_, bridge->index)) mcore::set_link_local(*own);
}

void OwnAddress::say_when_none() const {
    if (taken_.address != 0) return;
    const std::string where = uplink_.empty()
                                  ? bridge_ + " has no"
                                  : "neither " + bridge_ + " nor " + uplink_ + " has an";
    // Routers must take such reports (RFC 3376, 4.2.13), and not all do.
    say_(where +
         " IPv4 address: IGMP messages leave from 0.0.0.0, which some routers drop, and a "
         "querier with it gives way to any other; mcctl proxy-address sets one");
}

}  // namespace live
