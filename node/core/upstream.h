// What all user ports together want of a VLAN, by the rules of RFC 3376, 3.2, of each family in
// proxy mode. Changes of it are reported to the router (host_reports.h), and its queries are
// answered with it (host_answers.h), as RFC 4605 has it.
#pragma once

#include <cstdint>

#include "node/core/state.h"

namespace mcore {

// Null unless in proxy mode.
[[nodiscard]] Upstream* find_upstream(const UpstreamKey& key);

// Counts what a host wants, or with a sign what all hosts of a port do.
void add_votes(Upstream& upstream, const Address& source, const Votes& more);
void add_tally(Upstream& upstream, const Tally& tally, std::int32_t sign);

// To be called when a port becomes a member or is none any more, before anything is counted or when
// nothing is counted any more, and when its membership has changed; all do nothing unless in proxy
// mode. The last one reports.
void upstream_joined(const GroupKey& key);
void upstream_left(const GroupKey& key);
void upstream_changed(const GroupKey& key);

// Reports all memberships, or forgets what was reported, when proxy mode is entered or left.
void start_upstream(Family family);
void stop_upstream(Family family);

}  // namespace mcore
