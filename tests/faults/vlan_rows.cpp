// The multicast VLAN rules of both sides. Whatever the core says, the tables hold what was asked
// for: a refusal is reported, and only where the core's call is the last is it the result.
#include <cstdint>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "settings/settings.h"
#include "tests/faults/row.h"
#include "tests/support/rules.h"
#include "vlan/vlan.h"

namespace mc_test {

namespace {

constexpr std::uint8_t kOmci = 1;
constexpr std::uint8_t kEpon = 255;

std::int32_t set(Rule request) { return onu_std_omci_set_multicast_vlan(&request); }
std::int32_t remove(Rule request) { return onu_std_omci_delete_multicast_vlan(&request); }
std::int32_t set_on_mld(Rule request) { return mld_onu_std_omci_set_multicast_vlan(&request); }
std::int32_t remove_on_mld(Rule request) {
    return mld_onu_std_omci_delete_multicast_vlan(&request);
}
std::int32_t set_web(Rule request) { return onu_std_omci_web_set_vlan(&request); }

Rule request(int mode = kTag) { return rule(1, mode, {100, 101}, {102, 103}, {300, 301}); }
Rule other_port() { return simple_rule(2, 200, 300); }

std::function<void()> on_onu(std::uint8_t id, std::function<void()> given = {}) {
    return [id, given] {
        set_onu_id(id);
        if (given) given();
    };
}

// ---- Set ---------------------------------------------------------------------------------------

Rows set_rows() {
    Rows rows;
    for (const int mode : {kUntag, kTag, kTranslate, kTranslateToo}) {
        // The answer to the question for the ONU id is not looked at, only the id is.
        rows.push_back(
            {.operation = "onu_std_omci_set_multicast_vlan",
             .when = "new VLAN, tag mode " + std::to_string(mode),
             .stores = true,
             .run = [mode] { return set(request(mode)); },
             .calls = {{"L2_multicast_get_onu_id", kUnseen}, {"igmp_vlan_add", kIgnored}},
             .given = on_onu(kOmci)});
    }
    rows.push_back({.operation = "onu_std_omci_set_multicast_vlan",
                    .when = "known VLAN",
                    .stores = true,
                    .run = [] { return set(request()); },
                    .calls = {{"L2_multicast_get_onu_id", kUnseen}},
                    .given = on_onu(kOmci, [] { set(other_port()); })});
    rows.push_back({.operation = "onu_std_omci_set_multicast_vlan",
                    .when = "new VLAN in EPON mode",
                    .stores = true,
                    .run = [] { return set(request()); },
                    .calls = {{"L2_multicast_get_onu_id", kUnseen},
                              {"igmp_vlan_learning_set", kIgnored},
                              {"igmp_vlan_add", kIgnored}},
                    .given = on_onu(kEpon)});
    // Nothing else has a say in the result then.
    rows.push_back(
        {.operation = "onu_std_omci_set_multicast_vlan",
         .when = "known VLAN in EPON mode",
         .stores = true,
         .run = [] { return set(request()); },
         .calls = {{"L2_multicast_get_onu_id", kUnseen}, {"igmp_vlan_learning_set", kReturned}},
         .given = on_onu(kEpon, [] { set(other_port()); })});
    // Learning is on in EPON mode even when the request is refused.
    rows.push_back(
        {.operation = "onu_std_omci_set_multicast_vlan",
         .when = "unknown port in EPON mode",
         .stores = true,
         .run = [] { return set(simple_rule(12, 100, 300)); },
         .calls = {{"L2_multicast_get_onu_id", kUnseen}, {"igmp_vlan_learning_set", kIgnored}},
         .given = on_onu(kEpon)});
    rows.push_back({.operation = "mld_onu_std_omci_set_multicast_vlan", .stores = true, .run = [] {
                        return set_on_mld(request());
                    }});
    return rows;
}

// The MLD side has the last word, and it asks nobody.
Rows set_by_mode_rows() {
    Rows rows;
    for (const int mode : {0, 1, 2, 3}) {
        rows.push_back(
            {.operation = "igmp_port_vlan_and_mode_set",
             .when = "new VLAN, mode " + std::to_string(mode),
             .stores = true,
             .run = [mode] { return igmp_port_vlan_and_mode_set(1, mode, 300, 400); },
             .calls = {{"L2_multicast_get_onu_id", kUnseen}, {"igmp_vlan_add", kIgnored}},
             .given = on_onu(kOmci)});
    }
    rows.push_back(
        {.operation = "igmp_port_vlan_and_mode_set",
         .when = "known VLAN in EPON mode",
         .stores = true,
         .run = [] { return igmp_port_vlan_and_mode_set(1, 0, 300, 0); },
         .calls = {{"L2_multicast_get_onu_id", kUnseen}, {"igmp_vlan_learning_set", kIgnored}},
         .given = on_onu(kEpon, [] { set(other_port()); })});
    return rows;
}

// ---- Delete ------------------------------------------------------------------------------------

Rows delete_rows() {
    Rows rows = {
        // The rule and the list entry are gone although the core keeps the VLAN.
        {.operation = "onu_std_omci_delete_multicast_vlan",
         .when = "last rule of its VLAN",
         .stores = true,
         .run = [] { return remove(request()); },
         .calls = {{"igmp_vlan_del", kReturned}},
         .given = on_onu(kOmci, [] { set(request()); })},
        {.operation = "onu_std_omci_delete_multicast_vlan",
         .when = "VLAN still in use",
         .stores = true,
         .run = [] { return remove(request()); },
         .given = on_onu(kOmci,
                         [] {
                             set(request());
                             set(other_port());
                         })},
        {.operation = "mld_onu_std_omci_delete_multicast_vlan",
         .stores = true,
         .run = [] { return remove_on_mld(request()); },
         .calls = {{"igmp_vlan_del", kReturned}},
         .given = [] { set_on_mld(request()); }},
    };
    // The core is asked for both sides, and the MLD side's answer decides.
    for (const int mode : {0, 1, 2, 3}) {
        rows.push_back(
            {.operation = "igmp_service_remove_port_config",
             .when = "mode " + std::to_string(mode),
             .stores = true,
             .run = [mode] { return igmp_service_remove_port_config(1, mode, 300, 400); },
             .calls = {{"igmp_vlan_del", kIgnored}, {"igmp_vlan_del", kReturned}},
             .given = [mode] { given_rule_by_mode(mode); }});
    }
    return rows;
}

// ---- Web set -----------------------------------------------------------------------------------

Rows web_rows() {
    Rows rows;
    for (const int mode : {kUntag, kTag, kTranslate}) {
        rows.push_back({.operation = "onu_std_omci_web_set_vlan",
                        .when = "tag mode " + std::to_string(mode),
                        .stores = true,
                        .run = [mode] { return set_web(request(mode)); },
                        .calls = {{"igmp_vlan_learning_set", kIgnored},
                                  {"igmp_vlan_del", kIgnored},
                                  {"igmp_vlan_add", kReturned}}});
    }
    rows.push_back({.operation = "onu_std_omci_web_set_vlan",
                    .when = "in place of a rule",
                    .stores = true,
                    .run = [] { return set_web(request()); },
                    .calls = {{"igmp_vlan_learning_set", kIgnored},
                              {"igmp_vlan_del", kIgnored},
                              {"igmp_vlan_add", kReturned}},
                    .given = [] { set_web(simple_rule(1, 200, 400)); }});
    rows.push_back({.operation = "onu_std_omci_web_set_vlan",
                    .when = "default VLAN",
                    .stores = true,
                    .run = [] { return set_web(simple_rule(1, 200, MC_DEFAULT_VLAN)); },
                    .calls = {{"igmp_vlan_learning_set", kIgnored}, {"igmp_vlan_add", kReturned}}});
    // Not atomic: the port is empty when it turns out to have no number.
    rows.push_back({.operation = "onu_std_omci_web_set_vlan",
                    .when = "logical port of the uplink",
                    .stores = true,
                    .run = [] { return set_web(simple_rule(6, 200, 300)); },
                    .calls = {{"igmp_vlan_learning_set", kIgnored}, {"igmp_vlan_del", kIgnored}}});
    return rows;
}

}  // namespace

void given_rule_by_mode(int mode) {
    set_onu_id(kOmci);
    igmp_port_vlan_and_mode_set(1, mode, 300, 400);
    // It has been given to the MLD side twice.
    mldInitParams.mldPortVlanCfg[1][1] = empty_rule();
    mldInitParams.vlancfgnum[1] = 1;
}

Rows vlan_rows() { return set_rows() + set_by_mode_rows() + delete_rows() + web_rows(); }

}  // namespace mc_test
