// Received frames in each mode, forwarding, and what the core calls back. A frame that cannot be
// sent is reported and keeps nothing from going on; what the core says of a frame is the result and
// does not keep it from being forwarded.
#include <cstdint>
#include <string>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "tests/faults/row.h"
#include "tests/support/forwarding.h"
#include "tests/support/rules.h"
#include "tests/support/sides.h"

namespace mc_test {

namespace {

// Behind what is given comes another frame, the first of all: it leaves a port behind and has asked
// for the time.
template <class Side>
std::function<void()> in_mode(std::uint8_t mode, std::function<void()> given = {}) {
    return [mode, given] {
        set_onu_id(1);
        if (given) given();
        Side::receive(Side::report({700}), 5);
        Side::set_mode(mode);
    };
}

constexpr Fault kCoreRefuses = silently(kReturned);

// ---- Reception ---------------------------------------------------------------------------------

void set_on_both_sides(Rule request) { onu_std_omci_set_multicast_vlan(&request); }

void given_rules_of_port_0() {
    set_on_both_sides(rule(0, kTag, {50, 51}, {100, 200}, {300, 301}));
    set_on_both_sides(rule(0, kTag, {60, 61}, {100, 0}, {302, 303}));
}

template <class Side>
Rows reception_rows(const char* operation) {
    const NeighbourCall core = {Side::kCore, kCoreRefuses};
    const NeighbourCall sent = {"L2_multicast_send_msg", kIgnored};
    const NeighbourCall sent_to_all = {"L2_multicast_send_msg", 6, kIgnored};
    const NeighbourCall onu_id = {"L2_multicast_get_onu_id", kUnseen};
    const auto report = [] { return Side::receive(Side::report({100}), 3); };
    const auto query = [] { return Side::receive(Side::query({100}), MC_UPLINK_PORT); };
    return {
        {.operation = operation,
         .when = "first frame",
         .stores = true,
         .run = report,
         .calls = {{"igmp_time_now", kUnseen}, core, sent}},
        {.operation = operation,
         .when = "report, snooping",
         .stores = true,
         .run = report,
         .calls = {core, sent},
         .given = in_mode<Side>(Side::kSnooping)},
        {.operation = operation,
         .when = "report, snooping, with a rule",
         .stores = true,
         .run = report,
         .calls = {core, sent},
         .given =
             in_mode<Side>(Side::kSnooping,
                           [] {
                               set_onu_id(1);
                               set_on_both_sides(rule(3, kTag, {100, 200}, {201, 202}, {300, 301}));
                           })},
        {.operation = operation,
         .when = "report, control",
         .stores = true,
         .run = report,
         .calls = {core, onu_id, sent},
         .given = in_mode<Side>(Side::kControl)},
        {.operation = operation,
         .when = "report, the core alone",
         .stores = true,
         .run = report,
         .calls = {core},
         .given = in_mode<Side>(Side::kProxy)},
        // Kept from the core: the result is -1 anyway.
        {.operation = operation,
         .when = "query, snooping",
         .stores = true,
         .run = query,
         .calls = {sent_to_all},
         .given = in_mode<Side>(Side::kSnooping)},
        // Port 0 gets it under one VLAN and untagged.
        {.operation = operation,
         .when = "query, snooping, with rules",
         .stores = true,
         .run = query,
         .calls = {{"L2_multicast_send_msg", 7, kIgnored}},
         .given = in_mode<Side>(Side::kSnooping, given_rules_of_port_0)},
        {.operation = operation,
         .when = "query, control, with rules",
         .stores = true,
         .run = query,
         .calls = {{"L2_multicast_send_msg", 7, kIgnored}},
         .given = in_mode<Side>(Side::kControl, given_rules_of_port_0)},
        {.operation = operation,
         .when = "query, control",
         .stores = true,
         .run = query,
         .calls = {sent_to_all},
         .given = in_mode<Side>(Side::kControl)},
        {.operation = operation,
         .when = "query, the core alone",
         .stores = true,
         .run = query,
         .calls = {core},
         .given = in_mode<Side>(Side::kProxy)},
        {.operation = operation,
         .when = "report that the core answers",
         .stores = true,
         .run = report,
         .calls = {core,
                   {"L2_multicast_set_port_iptv_entry", kIgnored},
                   {"L2_multicast_send_msg", kIgnored},
                   {"L2_multicast_remove_port_iptv_entry", kIgnored},
                   sent},
         .given = in_mode<Side>(Side::kSnooping,
                                [] {
                                    during(Side::kCore, [] {
                                        auto entry = Side::entry(300, 3);
                                        Side::add_entry(&entry);
                                        Bytes packet = Side::query_packet();
                                        Side::send(packet, 3, {0x8100, 300, 0});
                                        Side::delete_entry(&entry);
                                    });
                                })},
    };
}

Rows host_module_rows() {
    const auto deliver_report = [] {
        FrameBuffer frame(Igmp::report({100}));
        return MuticastReceive(frame.data(), frame.len(), 3, 1);
    };
    return {{.operation = "MuticastReceive",
             .stores = true,
             .run = deliver_report,
             .calls = {{"igmp_pkt_recv", {.status = Status::kUsualOrPrinted}},
                       {"L2_multicast_send_msg", kIgnored}},
             .given = in_mode<Igmp>(Igmp::kSnooping)},
            {.operation = "MuticastReceive", .when = "another kind", .run = [] {
                 return MuticastReceive(nullptr, 0, 3, 2);
             }}};
}

// ---- Forwarding --------------------------------------------------------------------------------

template <class Handler>
Row handler_row(const char* operation, const char* when, std::uint32_t port, NeighbourCalls calls) {
    using Side = typename Handler::Side;
    return {
        .operation = operation,
        .when = when,
        // what the MLD side sends tagged leaves its tag behind; these frames have no rule
        .stores = std::string(operation) == "mld_adapt_control_handle" && port != MC_UPLINK_PORT,
        .run =
            [port] {
                forward<Handler>(Side::report({100}), port, 100);
                return 0;
            },
        .calls = std::move(calls),
        .given = [] { set_onu_id(1); }};
}

template <class Snooping, class Control>
Rows handler_rows(const char* snooping, const char* control) {
    const NeighbourCalls down = {{"L2_multicast_send_msg", 6, kIgnored}};
    return {handler_row<Snooping>(snooping, "up", 3, {{"L2_multicast_send_msg", kIgnored}}),
            handler_row<Snooping>(snooping, "down", MC_UPLINK_PORT, down),
            handler_row<Control>(
                control, "up", 3,
                {{"L2_multicast_get_onu_id", kUnseen}, {"L2_multicast_send_msg", kIgnored}}),
            handler_row<Control>(control, "down", MC_UPLINK_PORT, down)};
}

// ---- Call-backs --------------------------------------------------------------------------------

template <class Side>
Rows send_rows(const char* operation) {
    // On the MLD side the tag is a record of the library's own, which the call fills.
    const bool stores = std::string(operation) == "send_pkt_mld";
    const auto to = [](std::uint16_t port) {
        return [port] { return Side::send(Side::query_packet(), port, {0x8100, 300, 5}); };
    };
    return {
        {.operation = operation,
         .when = "to a user port",
         .stores = stores,
         .run = to(3),
         .calls = {{"L2_multicast_send_msg", kIgnored}}},
        {.operation = operation,
         .when = "to the uplink",
         .stores = stores,
         .run = to(MC_CORE_UPLINK),
         .calls = {{"L2_multicast_send_msg", kIgnored}}},
        // One frame for each rule; the VLAN stays translated whether or not a frame was sent.
        {.operation = operation,
         .when = "translated twice",
         .stores = stores,
         .run = to(0),
         .calls = {{"L2_multicast_send_msg", 2, kIgnored}},
         .given =
             [] {
                 Side::rules()[0][0] = simple_rule(0, 100, 300);
                 Side::rules()[0][0].out_dn_vlan = 401;
                 Side::rules()[1][1] = simple_rule(0, 100, 300);
                 Side::rules()[1][1].out_dn_vlan = 402;
                 Side::rules()[0][1] = simple_rule(0, 101, 301);
                 Side::rules()[1][0] = simple_rule(1, 101, 301);
                 Side::rule_counts()[0] = 2;
                 Side::rule_counts()[1] = 2;
             }},
        {.operation = operation, .when = "to no port", .stores = stores, .run = to(30)},
    };
}

template <class Side>
Row entry_row(const char* operation, const char* when, const char* import, Fault fault,
              std::int32_t (*change)(typename Side::Entry*), std::function<void()> given = {}) {
    return {.operation = operation,
            .when = when,
            .run =
                [change] {
                    auto entry = Side::entry(300, 3);
                    return change(&entry);
                },
            .calls = {{import, fault}},
            .given = std::move(given)};
}

template <class Side>
Row transmit_row(const char* operation, Fault fault) {
    return {.operation = operation,
            .run =
                [] {
                    Bytes frame = Side::report();
                    return Side::transmit(frame.data(), static_cast<std::uint16_t>(frame.size()),
                                          3);
                },
            .calls = {{"L2_multicast_send_msg", fault}}};
}

Rows call_back_rows() {
    const char* const set = "L2_multicast_set_port_iptv_entry";
    const char* const remove = "L2_multicast_remove_port_iptv_entry";
    return {
        transmit_row<Igmp>("l2_igmp_send_pkt", kReturned),
        transmit_row<Mld>("mld_l2_igmp_send_pkt", {.status = Status::kTheirsOrPrinted}),
        // Whether the core hears of a failing switch is a switch of its own, and of IGMP alone.
        entry_row<Igmp>("igmp_add_grp", "as it is", set, {.status = Status::kOne}, igmp_add_grp),
        entry_row<Igmp>("igmp_add_grp", "failures kept from the core", set, kIgnored, igmp_add_grp,
                        [] { igmp_set_table_return(0); }),
        entry_row<Igmp>("igmp_del_grp", "", remove, kReturned, igmp_del_grp),
        entry_row<Igmp>("igmp_del_grp", "failures kept from the core", remove, kReturned,
                        igmp_del_grp, [] { igmp_set_table_return(0); }),
        entry_row<Mld>("mld_add_grp", "", set, kReturned, mld_add_grp),
        entry_row<Mld>("mld_add_grp", "failures kept from the core", set, kReturned, mld_add_grp,
                       [] { igmp_set_table_return(0); }),
        entry_row<Mld>("mld_del_grp", "", remove, kReturned, mld_del_grp),
    };
}

}  // namespace

Rows frame_rows() {
    return reception_rows<Igmp>("igmpL2PktProc") + reception_rows<Mld>("mldL2PktProc") +
           host_module_rows() +
           handler_rows<IgmpSnooping, IgmpControl>("igmp_adapt_snoop_handle",
                                                   "igmp_adapt_control_handle") +
           handler_rows<MldSnooping, MldControl>("mld_adapt_snoop_handle",
                                                 "mld_adapt_control_handle") +
           send_rows<Igmp>("send_pkt_igmp") + send_rows<Mld>("send_pkt_mld") + call_back_rows();
}

}  // namespace mc_test
