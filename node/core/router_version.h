// What the host side learns of the router of a VLAN from its queries: the version in which it is to
// be spoken to, its robustness and its query interval.
//
//   what comes or ends                        what happens
//   an IGMPv1 query                           version 1 until older_present(1) ends
//   a general IGMPv2 query                    version 2, if not 1, until older_present(2) ends
//   an MLDv1 query                            version 1 until older_present(1) ends
//   a query of the newest version             its robustness and query interval hold from now on
//   another version is to be spoken           pending reports and answers are dropped
//
// RFC 3376, 7.2.1 and 4.1.6 and 4.1.7; RFC 3810, 8.2.1 and 5.1.8 and 5.1.9. A router of an older
// version cannot read what was pending; one of the newest asks again. The version set is the newest
// one that is spoken, whatever queries come. MLD has no such setting.
#pragma once

#include <cstdint>

#include "node/core/state.h"

namespace mcore {

struct RouterQuery;

// To be called before the query is answered.
void learn_router(const RouterQuery& query);

[[nodiscard]] std::uint8_t host_version(const RouterLink& link);
// Whether that version has records, with which sources and filter modes can be told.
[[nodiscard]] bool speaks_records(const RouterLink& link);
// How often a change is reported: the router's robustness once it is known, else the setting.
[[nodiscard]] std::uint8_t host_robustness(const RouterLink& link);

// The version set was another one before.
void host_version_was_set(std::uint8_t before);

// Forgets all that is known of a family's routers, and all that is pending.
void forget_routers(Family family);

}  // namespace mcore
