// The global settings. A setter keeps its value, lets it take effect at once and returns 0, or
// returns 1 and changes nothing. Times are in seconds.
//
// general_member_interval: 0 switches ageing off, 1 stands for the interval that the RFCs compute
// from the other values, and anything else is the interval itself. 1 second would be of no use, and
// 1 is what the library has as its default.
//
// A membership lives in a VLAN that is the default or is on the list, and ends with it. With VLAN
// learning, a report puts its VLAN on the list.
#include <cstdint>
#include <functional>
#include <utility>

#include "node/core/address.h"
#include "node/core/admission.h"
#include "node/core/membership.h"
#include "node/core/querier.h"
#include "node/core/router_version.h"
#include "node/core/routers.h"
#include "node/core/state.h"
#include "node/core/upstream.h"

using mcore::Family;
using mcore::GroupKey;
using mcore::Lock;
using mcore::Mode;
using mcore::Settings;

namespace {

constexpr int32_t kDone = 0;
constexpr int32_t kRefused = 1;

Settings& settings() { return mcore::core().settings; }

bool is_vid(std::uint32_t vlan) { return vlan >= 1 && vlan <= mcore::kLastVid; }

// Checks a changed copy of the settings and puts it in force.
int32_t change_times(const Settings& changed) {
    if (changed.robustness == 0 || changed.query_interval == 0 ||
        changed.query_max_resp_time == 0 || changed.last_member_query_interval == 0) {
        return kRefused;
    }
    const bool restart = changed.query_interval != settings().query_interval;
    settings() = changed;
    if (restart) mcore::restart_general_queries();
    mcore::rearm_ageing();
    return kDone;
}

// Memberships do not age for the time in which ageing was off.
void switch_ageing(mcore::AgeSwitch& ageing, bool on) {
    if (on && !ageing.on) ageing.since_us = mcore::core().now_us;
    ageing.on = on;
    mcore::rearm_ageing();
}

// In proxy mode the core is a host towards the network and the querier of the ports; in others
// neither.
void change_role(Family family) {
    mcore::stop_general_queries(family);
    mcore::stop_upstream(family);
    if (!mcore::is_proxy(family)) return;
    mcore::start_upstream(family);
    mcore::start_general_queries(family);
}

bool is_lost(Family family, std::uint16_t vlan) {
    return vlan != mcore::default_vid(family) && !settings().vlans.contains(vlan);
}

// Ends what lives in VLANs that are not there any more.
void drop_lost_vlans() {
    mcore::remove_groups_if([](const GroupKey& key) { return is_lost(key.family, key.vlan); });
    mcore::forget_routers_if(
        [](const mcore::RouterKey& key) { return is_lost(key.family, key.vlan); });
}

// Not part of the core: it stays when the core begins anew.
std::function<void(bool)>& proxy_watch() {
    static auto* const watch = new std::function<void(bool)>;
    return *watch;
}

}  // namespace

void mcore::watch_proxy_mode(std::function<void(bool)> changed) {
    const Lock lock;
    proxy_watch() = std::move(changed);
}

// ---- Mode, version and times --------------------------------------------------------------------

int32_t igmp_mode_switch_globle(uint32_t mode) {
    const Lock lock;
    if (mode < 1 || mode > 3) return kRefused;
    const auto wanted = static_cast<Mode>(mode);
    if (wanted == settings().mode) return kDone;
    const bool was_proxy = settings().mode == Mode::kProxy;
    settings().mode = wanted;
    change_role(Family::kIpv4);
    const bool is_proxy = wanted == Mode::kProxy;
    if (is_proxy != was_proxy && proxy_watch()) proxy_watch()(is_proxy);
    return kDone;
}

int32_t igmp_version_globle_set(uint8_t version) {
    const Lock lock;
    if (version < 1 || version > 3) return kRefused;
    const std::uint8_t before = std::exchange(settings().version, version);
    mcore::host_version_was_set(before);
    if (version != before) mcore::repeat_general_query(Family::kIpv4);
    return kDone;
}

int32_t igmp_para_globle_set(uint8_t robustness, uint32_t query_interval,
                             uint32_t query_max_resp_time, uint32_t last_member_query_interval,
                             uint32_t last_member_query_count, uint32_t general_member_interval) {
    const Lock lock;
    Settings changed = settings();
    changed.robustness = robustness;
    changed.query_interval = query_interval;
    changed.query_max_resp_time = query_max_resp_time;
    changed.last_member_query_interval = last_member_query_interval;
    changed.last_member_query_count = last_member_query_count;
    changed.general_member_interval = general_member_interval;
    if (settings().general_member_interval == 0) {
        changed.ageing.since_us = mcore::core().now_us;
        changed.mld_ageing.since_us = mcore::core().now_us;
    }
    return change_times(changed);
}

int32_t igmp_para_rv_globle_set(uint8_t robustness) {
    const Lock lock;
    Settings changed = settings();
    changed.robustness = robustness;
    return change_times(changed);
}

int32_t igmp_para_qi_globle_set(uint16_t query_interval) {
    const Lock lock;
    Settings changed = settings();
    changed.query_interval = query_interval;
    return change_times(changed);
}

int32_t igmp_para_qri_globle_set(uint16_t query_max_resp_time) {
    const Lock lock;
    Settings changed = settings();
    changed.query_max_resp_time = query_max_resp_time;
    return change_times(changed);
}

int32_t igmp_para_lmqi_globle_set(uint16_t last_member_query_interval) {
    const Lock lock;
    Settings changed = settings();
    changed.last_member_query_interval = last_member_query_interval;
    return change_times(changed);
}

// 0: no query, a leave takes effect at once.
int32_t igmp_para_lmqc_globle_set(uint16_t last_member_query_count) {
    const Lock lock;
    Settings changed = settings();
    changed.last_member_query_count = last_member_query_count;
    return change_times(changed);
}

int32_t igmp_aging_function_set(uint8_t enable) {
    const Lock lock;
    switch_ageing(settings().ageing, enable != 0);
    return kDone;
}

int32_t mld_pack_set_age_switch(uint8_t enable) {
    const Lock lock;
    switch_ageing(settings().mld_ageing, enable != 0);
    return kDone;
}

// ---- Sources and the proxy ----------------------------------------------------------------------

// 0 and 0: no SSM range, for IPv6 neither. Until it is set the RFCs' range holds (RFC 4607, 1).
int32_t igmp_ssm_ip_globle_set(uint32_t start, uint32_t end) {
    const Lock lock;
    if (start > end) return kRefused;
    settings().ssm_start = start;
    settings().ssm_end = end;
    return kDone;
}

int32_t igmp_ssm_map_change(uint32_t* five_words) {
    const Lock lock;
    if (five_words == nullptr) return kRefused;
    settings().ssm_map = five_words;
    return kDone;
}

int32_t igmp_globle_proxyip_set(uint32_t address) {
    const Lock lock;
    settings().proxy_ip = address;
    return kDone;
}

// ---- VLANs --------------------------------------------------------------------------------------

int32_t igmp_default_vid_set(uint16_t vlan) {
    const Lock lock;
    if (!is_vid(vlan)) return kRefused;
    settings().default_vid = vlan;
    drop_lost_vlans();
    return kDone;
}

int32_t mld_api_set_default_vlan(uint16_t vlan) {
    const Lock lock;
    if (!is_vid(vlan)) return kRefused;
    settings().mld_default_vid = vlan;
    drop_lost_vlans();
    return kDone;
}

int32_t igmp_vlan_learning_set(uint8_t enable) {
    const Lock lock;
    settings().vlan_learning = enable != 0;
    return kDone;
}

int32_t igmp_vlan_add(uint16_t vlan) {
    const Lock lock;
    if (!is_vid(vlan)) return kRefused;
    settings().vlans.insert(vlan);
    settings().learnt_vlans.erase(vlan);
    return kDone;
}

int32_t igmp_vlan_del(uint16_t vlan) {
    const Lock lock;
    if (settings().vlans.erase(vlan) == 0) return kRefused;
    settings().learnt_vlans.erase(vlan);
    drop_lost_vlans();
    return kDone;
}

int32_t igmp_vlan_del_all(void) {
    const Lock lock;
    settings().vlans.clear();
    settings().learnt_vlans.clear();
    drop_lost_vlans();
    return kDone;
}

// ---- Memberships of all ports -------------------------------------------------------------------

// The last word counts: a later igmp_if_fast_leave_enable makes a port differ.
int32_t igmp_fast_leave_enable_globle(uint8_t mode) {
    const Lock lock;
    for (mcore::Port& port : mcore::core().ports) port.fast_leave = mode != 0;
    return kDone;
}

int32_t igmp_del_all_group(void) {
    const Lock lock;
    mcore::remove_groups_if([](const GroupKey& key) { return key.family == Family::kIpv4; });
    return kDone;
}

// All modes learn alike. The library forwards in the modes 2 and 3; in mode 1, proxy, it hands all
// frames to the core and forwards none.
int32_t mld_proxy_snoop_set_globle(uint16_t mode) {
    const Lock lock;
    if (mode < 1 || mode > 3) return kRefused;
    if (mode == settings().mld_mode) return kDone;
    settings().mld_mode = mode;
    change_role(Family::kIpv6);
    return kDone;
}

// The private list takes away what it does not hold from the first group on that is put there.
int32_t add_to_auth_group_api(uint32_t group, uint16_t vlan) {
    const Lock lock;
    if (!mcore::is_multicast(Family::kIpv4, mcore::from_ipv4(group))) return kRefused;
    settings().private_list.insert({vlan, group});
    mcore::revoke_unauthorised();
    return kDone;
}

// A group that is not on the list is no error: the library deletes each one several times.
int32_t auth_group_delete_api(uint32_t group, uint16_t vlan) {
    const Lock lock;
    settings().private_list.erase({vlan, group});
    mcore::revoke_unauthorised();
    return kDone;
}

int32_t auth_group_delete_all_api(void) {
    const Lock lock;
    settings().private_list.clear();
    return kDone;
}
