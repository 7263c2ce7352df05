// The host side of proxy mode: what all user ports together want of a VLAN is reported on the
// uplink in the version set, once at each change and again when a query asks.
//
//   version  first member            filter changes             last member
//   3        TO_EX, or ALLOW         TO_EX, TO_IN, ALLOW, BLOCK  TO_IN of nothing
//   2        report                  nothing                     leave to 224.0.0.2
//   1        report                  nothing                     nothing
//
// Messages carry the outer uplink tag if one was set: the VID and the PCP of its first field, which
// is a TCI. Otherwise they carry the group's VLAN. The inner tag is only kept: the call-back takes
// one tag.
#pragma once

#include <cstdint>
#include <vector>

#include "node/core/state.h"

namespace devcore {

// Null unless in proxy mode.
[[nodiscard]] Upstream* find_upstream(std::uint16_t vlan, std::uint32_t group);

// Counts what a host wants, or with a sign what all hosts of a port do.
void add_votes(Upstream& upstream, const Address& source, const Votes& more);
void add_tally(Upstream& upstream, const Tally& tally, std::int32_t sign);

// To be called when a port becomes a member or is none any more, before anything is counted or when
// nothing is counted any more, and when its membership has changed; all do nothing unless in proxy
// mode. The last one reports.
void upstream_joined(std::uint16_t vlan, std::uint32_t group);
void upstream_left(std::uint16_t vlan, std::uint32_t group);
void upstream_changed(std::uint16_t vlan, std::uint32_t group);

// Reports all memberships, or forgets what was reported, when proxy mode is entered or left.
void start_upstream();
void stop_upstream();

struct UpstreamQuery {
    std::uint16_t vlan;
    std::uint32_t group;  // 0: general
    std::vector<Address> sources;
    std::uint64_t response_us;
};

// Answers in the middle of the response time; that is no random delay, so that replays are equal.
void answer_query(const UpstreamQuery& query);

}  // namespace devcore
