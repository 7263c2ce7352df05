#include "node/live/rule_news.h"

#include <libmnl/libmnl.h>
#include <linux/netfilter/nf_tables.h>
#include <linux/netfilter/nfnetlink.h>

#include <cstdint>
#include <string_view>

#include "node/live/guard.h"

namespace live {
namespace {

// Tables, chains, rules and all else name their table in the first attribute.
constexpr std::uint16_t kNameOfTable = NFTA_TABLE_NAME;
static_assert(kNameOfTable == NFTA_CHAIN_TABLE && kNameOfTable == NFTA_RULE_TABLE &&
              kNameOfTable == NFTA_SET_TABLE);

bool names_own_table(const nlmsghdr& message) {
    // The end of a transaction is of no table.
    if (message.nlmsg_type == (NFNL_SUBSYS_NFTABLES << 8 | NFT_MSG_NEWGEN)) return false;
    bool is_own = false;
    each_attribute(message, sizeof(nfgenmsg), [&is_own](const nlattr& one) {
        if (mnl_attr_get_type(&one) != kNameOfTable) return;
        is_own = std::string_view(mnl_attr_get_str(&one)) == kTableName;
    });
    return is_own;
}

}  // namespace

RuleNews::RuleNews() : socket_(open_netlink(NETLINK_NETFILTER, 1U << (NFNLGRP_NFTABLES - 1))) {}

int RuleNews::descriptor() const { return mnl_socket_get_fd(socket_.get()); }

bool RuleNews::take() {
    bool is_own = false;
    const bool is_whole = take_news(descriptor(), [&is_own](const nlmsghdr& message) {
        is_own = is_own || names_own_table(message);
    });
    return is_own || !is_whole;
}

}  // namespace live
