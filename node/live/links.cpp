#include "node/live/links.h"

#include <libmnl/libmnl.h>
#include <linux/if.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

#include <algorithm>
#include <functional>
#include <string_view>

namespace live {
namespace {

// ---- Reading ------------------------------------------------------------------------------------

struct SettingAttribute {
    std::uint16_t type;
    bool is_wide;  // 64 bits, else 8
};

constexpr std::array<SettingAttribute, kBridgeSettings> kSettingAttributes{{
    {IFLA_BR_MCAST_SNOOPING, false},
    {IFLA_BR_MCAST_IGMP_VERSION, false},
    {IFLA_BR_MCAST_MLD_VERSION, false},
    {IFLA_BR_MCAST_QUERY_RESPONSE_INTVL, true},
    {IFLA_BR_MCAST_QUERIER, false},
}};

void read_bridge(const nlattr& data, Link& link) {
    BridgeSettings settings{};
    each_nested(data, [&](const nlattr& one) {
        const std::uint16_t type = mnl_attr_get_type(&one);
        if (type == IFLA_BR_MCAST_HASH_MAX) link.hash_max = mnl_attr_get_u32(&one);
        if (type == IFLA_BR_VLAN_FILTERING) link.filters_vlans = mnl_attr_get_u8(&one) != 0;
        for (std::size_t i = 0; i < kBridgeSettings; ++i) {
            if (kSettingAttributes[i].type != type) continue;
            settings[i] =
                kSettingAttributes[i].is_wide ? mnl_attr_get_u64(&one) : mnl_attr_get_u8(&one);
        }
    });
    link.bridged = settings;
}

PortSettings read_port(const nlattr& data) {
    PortSettings settings;
    each_nested(data, [&](const nlattr& one) {
        switch (mnl_attr_get_type(&one)) {
            case IFLA_BRPORT_MULTICAST_ROUTER:
                settings.multicast_router = mnl_attr_get_u8(&one);
                break;
            case IFLA_BRPORT_ISOLATED:
                settings.isolated = mnl_attr_get_u8(&one) != 0;
                break;
            default:
                break;
        }
    });
    return settings;
}

bool says_bridge(const nlattr& kind) {
    return std::string_view(mnl_attr_get_str(&kind)) == "bridge";
}

// The kind stands before the data that it explains.
void read_kinds(const nlattr& info, Link& link) {
    bool is_bridge = false;
    bool is_port = false;
    each_nested(info, [&](const nlattr& one) {
        switch (mnl_attr_get_type(&one)) {
            case IFLA_INFO_KIND:
                is_bridge = says_bridge(one);
                break;
            case IFLA_INFO_SLAVE_KIND:
                is_port = says_bridge(one);
                break;
            case IFLA_INFO_DATA:
                if (is_bridge) read_bridge(one, link);
                break;
            case IFLA_INFO_SLAVE_DATA:
                if (is_port) link.port = read_port(one);
                break;
            default:
                break;
        }
    });
}

Link read_link(const nlmsghdr& message) {
    const auto& header = *static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(&message));
    Link link;
    link.index = header.ifi_index;
    link.on = (header.ifi_flags & IFF_UP) != 0;
    link.up = link.on && (header.ifi_flags & IFF_LOWER_UP) != 0;
    each_attribute(message, sizeof(ifinfomsg), [&](const nlattr& one) {
        switch (mnl_attr_get_type(&one)) {
            case IFLA_MASTER:
                link.bridge = static_cast<int>(mnl_attr_get_u32(&one));
                break;
            case IFLA_ADDRESS:
                if (mnl_attr_get_payload_len(&one) == link.mac.size()) {
                    const auto* const from =
                        static_cast<const std::uint8_t*>(mnl_attr_get_payload(&one));
                    std::copy_n(from, link.mac.size(), link.mac.begin());
                }
                break;
            case IFLA_LINKINFO:
                read_kinds(one, link);
                break;
            default:
                break;
        }
    });
    // Another master, a bond for one, is none of ours.
    if (!link.port) link.bridge = 0;
    return link;
}

// ---- Changing -----------------------------------------------------------------------------------

// Changes one attribute of a bridge (data: IFLA_INFO_DATA) or of a port of one.
int change(Netlink& netlink, int index, std::uint16_t kind, std::uint16_t data,
           const std::function<void(nlmsghdr*)>& put) {
    Request request(RTM_NEWLINK, 0, sizeof(ifinfomsg));
    request.body<ifinfomsg>().ifi_index = index;
    nlattr* const info = mnl_attr_nest_start(request.header(), IFLA_LINKINFO);
    mnl_attr_put_str(request.header(), kind, "bridge");
    nlattr* const values = mnl_attr_nest_start(request.header(), data);
    put(request.header());
    mnl_attr_nest_end(request.header(), values);
    mnl_attr_nest_end(request.header(), info);
    return netlink.ask(request);
}

}  // namespace

std::optional<Link> find_link(Netlink& netlink, const std::string& name) {
    Request request(RTM_GETLINK, 0, sizeof(ifinfomsg));
    mnl_attr_put_strz(request.header(), IFLA_IFNAME, name.c_str());
    std::optional<Link> found;
    const int error =
        netlink.ask(request, [&found](const nlmsghdr& message) { found = read_link(message); });
    return error == 0 ? found : std::nullopt;
}

int set_multicast_router(Netlink& netlink, int index, std::uint8_t mode) {
    return change(netlink, index, IFLA_INFO_SLAVE_KIND, IFLA_INFO_SLAVE_DATA, [mode](nlmsghdr* to) {
        mnl_attr_put_u8(to, IFLA_BRPORT_MULTICAST_ROUTER, mode);
    });
}

int set_bridge(Netlink& netlink, int bridge, BridgeSetting setting, std::uint64_t value) {
    const SettingAttribute attribute = kSettingAttributes[static_cast<std::size_t>(setting)];
    return change(netlink, bridge, IFLA_INFO_KIND, IFLA_INFO_DATA, [&](nlmsghdr* to) {
        if (attribute.is_wide) {
            mnl_attr_put_u64(to, attribute.type, value);
        } else {
            mnl_attr_put_u8(to, attribute.type, static_cast<std::uint8_t>(value));
        }
    });
}

}  // namespace live
