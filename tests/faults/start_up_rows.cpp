// Start-up, as a whole and in its steps.
#include <cstdint>

#include "adapt/adapt.h"
#include "mld/mld.h"
#include "settings/settings.h"
#include "tests/faults/row.h"

namespace mc_test {

namespace {

// A node without the segment still does all the rest.
Fault no_segment(const char* resumes) {
    return {.stored = Stored::kAllButTheSegment,
            .then = Then::kResume,
            .said = Said::kAlways,
            .resumes = resumes};
}

NeighbourCalls segment() {
    return {{"shmget", no_segment("igmp_vlan_del_all")},
            {"shmat", no_segment("igmp_vlan_del_all")}};
}

NeighbourCalls defaults() {
    return {{"igmp_vlan_del_all", kIgnored},
            {"igmp_default_vid_set", kIgnored},
            {"igmp_para_globle_set", kIgnored},
            {"igmp_mode_switch_globle", kIgnored},
            {"igmp_fast_leave_enable_globle", kIgnored},
            {"igmp_vlan_learning_set", kIgnored}};
}

// The ports end at the first one that is refused; what stands behind them is `port_fault`'s.
NeighbourCalls igmp_registration(Fault port_fault) {
    return {{"igmp_register_switch_send_pkt", kIgnored},
            {"igmp_register_switch_add_table", kIgnored},
            {"igmp_register_switch_del_table", kIgnored},
            {"igmp_port_add_all_vlan", 7, port_fault}};
}

NeighbourCalls mld_registration(Fault mode_fault) {
    return {{"mld_register_switch_send_pkt", kIgnored},
            {"mld_register_switch_add_table", kIgnored},
            {"mld_register_switch_del_table", kIgnored},
            {"mld_port_conf_set", 7, ends_walk_before("mld_proxy_snoop_set_globle")},
            {"mld_proxy_snoop_set_globle", mode_fault}};
}

NeighbourCalls all_but_the_driver() {
    return segment() + defaults() +
           igmp_registration(ends_walk_before("mld_register_switch_send_pkt")) +
           mld_registration(kIgnored);
}

}  // namespace

Rows start_up_rows() {
    return {
        // No step stops the ones behind it, but for the driver, which ends adapt_init.
        {.operation = "IgmpInit",
         .stores = true,
         .run = IgmpInit,
         .calls =
             NeighbourCalls{{"igmp_data_init", kUnseen},
                            {"igmp_task_init", kUnseen},
                            {"mld_data_init", kUnseen},
                            {"mld_task_init", kUnseen}} +
             all_but_the_driver() +
             NeighbourCalls{{"L2_multicast_init", ends_walk_before("pal_task_create")},
                            {"L2_multicast_set_filter_method", ends_walk_before("pal_task_create")},
                            {"igmp_mode_switch_globle", kIgnored},
                            {"igmp_globle_proxyip_set", kIgnored},
                            // without the packet task there is no command task
                            {"pal_task_create", {.then = Then::kNone}},
                            {"pal_task_create", kIgnored}},
         .from = From::kLoaded},
        {.operation = "adapt_init",
         .stores = true,
         .run = adapt_init,
         .calls = all_but_the_driver() + NeighbourCalls{{"L2_multicast_init", kEnds},
                                                        {"L2_multicast_set_filter_method", kEnds},
                                                        {"igmp_mode_switch_globle", kIgnored},
                                                        {"igmp_globle_proxyip_set", kReturned}},
         .from = From::kLoaded},
        // Once more, over a segment that is in use: where none is created it stays as it is.
        {.operation = "mc_hal_init_share_memory",
         .stores = true,
         .run = mc_hal_init_share_memory,
         .calls = {{"shmget", said_always({.status = Status::kMinusOne,
                                           .stored = Stored::kNothing,
                                           .then = Then::kNone})},
                   {"shmat", said_always({.status = Status::kMinusOne,
                                          .stored = Stored::kAllButTheSegment,
                                          .then = Then::kNone})}},
         .given = [] { omci_set_port_igmpgroup_limit(3, 50); }},
        {.operation = "igmp_adapt_init",
         .run = igmp_adapt_init,
         .calls = igmp_registration(kRefused)},
        {.operation = "igmp_adapt_port_conf_set",
         .run = igmp_adapt_port_conf_set,
         .calls = {{"igmp_port_add_all_vlan", 7, kRefused}}},
        {.operation = "igmp_adapt_task_init",
         .run = igmp_adapt_task_init,
         .calls = {{"pal_task_create", 2, kRefused}}},
        {.operation = "mld_adapt_init",
         .run = mld_adapt_init,
         .calls = mld_registration(kReturned)},
        {.operation = "mld_adapt_port_conf_set",
         .run = mld_adapt_port_conf_set,
         .calls = {{"mld_port_conf_set", 7, kRefused}}},
    };
}

}  // namespace mc_test
