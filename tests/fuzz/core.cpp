// Fuzzing of the multicast core, for libFuzzer: packets of all versions from all ports, settings,
// limits and time in any order, its neighbours failing at random. After each step what it keeps as
// counts and merges is made up anew (core_checks.h).
//
// Each byte of an input is a chance: which step comes, and what is in it.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <numeric>
#include <optional>
#include <span>
#include <vector>

#include "common/bytes.h"
#include "node/core/address.h"
#include "node/core/bounds.h"
#include "node/core/membership.h"
#include "node/core/state.h"
#include "platform/pal.h"
#include "platform/protocol_core.h"
#include "tests/fuzz/core_checks.h"
#include "tests/fuzz/core_packets.h"
#include "tests/fuzz/draw.h"

namespace {

using fuzz::below;
using fuzz::Bytes;
using fuzz::one_in;
using fuzz::one_of;
using fuzz::some16;
using fuzz::some32;
using mcore::Address;
using mcore::Family;
using mcore::GroupKey;
using mcore::kSecond;

constexpr std::uint32_t kLongestPacket = 1978;  // what the core reads at most

fuzz::Switch table;
mcore::Bounds most;        // the largest that held since the core was empty
std::uint32_t ssm_map[5];  // read in place by the core

// ---- The other side of the call-backs -----------------------------------------------------------

// They may ask the core for something.
void ask() {
    std::uint8_t words[16];
    switch (below(8)) {
        case 5:
            static_cast<void>(mcore::memberships());
            break;
        case 6:
            static_cast<void>(igmp_if_gather_if_status(below(7), sizeof words, words));
            break;
        case 7:
            static_cast<void>(mcore::next_timer());
            break;
        default:
            break;
    }
}

std::int32_t change(bool add, std::uint16_t port, std::uint16_t vlan, std::uint32_t tail) {
    const auto owner = mcore::entry_in_hand();
    must(owner.has_value(), "a call for an entry of no group");
    const std::uint32_t group =
        mc::load_be32(&owner->group[owner->family == Family::kIpv4 ? 0 : 12]);
    must(owner->port == port && owner->vlan == vlan && group == tail, "a call for another entry");
    const GroupKey key{owner->port, owner->vlan, owner->family, owner->group};
    must(table.entries.contains(key) != add,
         add ? "an entry is added twice" : "an entry is removed that is not there");
    ask();
    const bool done = !one_in(6);
    if (add) {
        if (done) table.entries.insert(key);
        ++(done ? table.added : table.add_failures);
    } else {
        table.entries.erase(key);  // or forgotten
        ++(done ? table.removed : table.remove_failures);
    }
    return done ? 0 : 1;
}

void check_sent_igmp(std::uint16_t port, std::span<const std::uint8_t> packet) {
    constexpr std::size_t kHeader = 24;
    must(packet.size() >= kHeader + 8 && packet.size() <= 1500, "the length of a packet sent");
    must(packet[0] == 0x46 && packet[8] == 1 && packet[9] == 2, "the header of a packet sent");
    must(mc::load_be16(&packet[2]) == packet.size(), "the length that a packet sent claims");
    must(fuzz::checksum(packet.first(kHeader)) == 0, "the header's checksum of a packet sent");
    const auto message = packet.subspan(kHeader);
    must(fuzz::checksum(message) == 0, "the checksum of a message sent");
    const bool is_upstream = port == mcore::kCoreUplink;
    must(message[0] != 0x11 || !is_upstream, "where a query is sent");
    // On user ports it is the report of a host, for a router, with what may stand behind it.
    if (message[0] != 0x22 || !is_upstream) return;
    std::size_t at = 8;
    for (unsigned records = mc::load_be16(&message[6]); records > 0; --records) {
        must(at + 8 <= message.size(), "a record sent that is not there");
        at += 8 + std::size_t{4} * mc::load_be16(&message[at + 2]);
    }
    must(at == message.size(), "the records of a report sent");
}

void check_sent_mld(std::uint16_t port, std::span<const std::uint8_t> packet) {
    constexpr std::size_t kHeaders = 48;
    // The shortest is a host's report without records, for a router.
    must(packet.size() >= kHeaders + 8 && packet[0] == 0x60, "an MLD packet sent");
    must(mc::load_be16(&packet[4]) + std::size_t{40} == packet.size(), "the length it claims");
    const auto message = packet.subspan(kHeaders);
    const auto length = static_cast<std::uint32_t>(message.size());
    const std::uint32_t addresses = fuzz::sum(packet.subspan(8, 32));
    must(fuzz::checksum(message, addresses + length + 58) == 0,
         "the checksum of an MLD message sent");
    must(message[0] != 130 || port != mcore::kCoreUplink, "where an MLD query is sent");
}

extern "C" {

std::int32_t add_entry(IgmpGroupEntry* group) {
    return change(true, group->port, group->vlan, group->group);
}
std::int32_t remove_entry(IgmpGroupEntry* group) {
    return change(false, group->port, group->vlan, group->group);
}
std::int32_t add_mld_entry(MldGroupEntry* group) {
    return change(true, group->port, group->vlan, mc::load_be32(group->group_tail));
}
std::int32_t remove_mld_entry(MldGroupEntry* group) {
    return change(false, group->port, group->vlan, mc::load_be32(group->group_tail));
}

void send_igmp(std::uint16_t port, std::uint8_t* packet, IgmpVlanTag* tag, std::uint16_t length) {
    must(tag->tpid == 0x8100 && tag->priority <= 7, "the tag of a packet sent");
    check_sent_igmp(port, {packet, length});
    if (one_in(4)) tag->vid = some16();  // translated
    ask();
}

void send_mld(std::uint8_t* packet, std::uint16_t port, void* /*tag*/, std::uint16_t length) {
    check_sent_mld(port, {packet, length});
    ask();
}
}

// ---- Values that meet each other often ----------------------------------------------------------

std::uint32_t some_port() {
    static constexpr std::uint32_t kPorts[] = {0, 1, 2, 3, 4, 5, 29, 0xFFFF, 6, 255, 0x10000};
    return one_in(16) ? one_of(kPorts) : below(3);
}

// As the functions take it that have a byte for it.
std::uint8_t some_port8() { return static_cast<std::uint8_t>(some_port()); }

std::uint16_t some_vlan() {
    static constexpr std::uint16_t kVlans[] = {4088, 4088, 4088, 100, 0, 1, 4094, 4095, 0xFFFF};
    return one_in(32) ? some16() : one_of(kVlans);
}

std::uint32_t some_group() {
    static constexpr std::uint32_t kGroups[] = {0xEF010101, 0xEF010102, 0xEF010103, 0xE8000001,
                                                0xE0000005, 0xE0000100, 0xEFFFFFFF, 0,
                                                0xDFFFFFFF, 0xF0000000};
    return one_in(32) ? some32() : one_of(kGroups);
}

std::uint32_t some_seconds() {
    static constexpr std::uint32_t kSeconds[] = {1, 2, 10, 125, 0, 7, 255, 256, 65535, 0xFFFFFFFF};
    return one_of(kSeconds);
}

std::uint32_t some_word() { return one_in(2) ? some_group() : below(300); }
std::uint8_t some_flag() { return static_cast<std::uint8_t>(below(2)); }

// ---- Packets ------------------------------------------------------------------------------------

struct Counts {
    std::uint64_t received;
    std::uint64_t drops;
};

Counts counts() {
    const mcore::Counters now = mcore::counters();
    return {std::accumulate(now.received.begin(), now.received.end(), std::uint64_t{0}),
            std::accumulate(now.drops.begin(), now.drops.end(), std::uint64_t{0})};
}

// Hands over a packet that is as long as it claims, on the heap and no byte longer. A claim beyond
// what the core may read is one, with a buffer of a byte.
void hand_over(Family family, const Bytes& packet) {
    const bool is_claim = one_in(64);
    const std::size_t room = is_claim ? 1 : packet.size();
    const std::unique_ptr<std::uint8_t[]> bytes(new std::uint8_t[room]);
    std::copy_n(packet.begin(), std::min(room, packet.size()), bytes.get());
    const std::uint32_t length =
        is_claim ? kLongestPacket + 1 + below(60000) : static_cast<std::uint32_t>(room);
    const Counts before = counts();
    const std::uint32_t port = some_port();
    const std::uint32_t vlan = some_vlan();
    const std::int32_t status =
        family == Family::kIpv4
            ? igmp_pkt_recv(bytes.get(), static_cast<std::uint16_t>(length), port, vlan, nullptr)
            : mld_pkt_recv(bytes.get(), length, port, vlan, nullptr);
    const Counts after = counts();
    must(status == 0 || status == 1, "the status of a packet");
    must(status == 0 || after.drops == before.drops + 1, "a packet dropped and not counted");
    must(status == 1 || after.received == before.received + 1, "a packet taken and not counted");
}

void igmp_comes() {
    if (one_in(64)) must(igmp_pkt_recv(nullptr, 40, 0, 0, nullptr) == 1, "no packet is taken");
    hand_over(Family::kIpv4, fuzz::some_igmp_packet(some_group()));
}

void mld_comes() {
    if (one_in(64)) must(mld_pkt_recv(nullptr, 40, 0, 0, nullptr) == 1, "no packet is taken");
    hand_over(Family::kIpv6, fuzz::some_mld_packet());
}

// ---- Time ---------------------------------------------------------------------------------------

void time_passes() {
    static constexpr std::uint64_t kSteps[] = {
        kSecond, 0, 1, 2 * kSecond, 10 * kSecond, 125 * kSecond, 260 * kSecond};
    std::uint64_t now = mcore::core().now_us + one_of(kSteps);
    const auto next = mcore::next_timer();
    if (next && one_in(2) && *next < now + 1000 * kSecond) now = *next;
    const std::uint64_t reached = std::max(now, mcore::core().now_us);
    mcore::set_clock(now);
    must(mcore::core().now_us == reached, "the clock");
    must(!mcore::next_timer() || *mcore::next_timer() > now, "a timer that was due");
    std::uint32_t told = 0;
    must(igmp_time_now(&told) == 0 && told == static_cast<std::uint32_t>(reached / kSecond),
         "the time told");
}

// ---- Settings -----------------------------------------------------------------------------------

using Step = void (*)();

// The result is 0 or 1 throughout.
void status(std::int32_t result) { must(result == 0 || result == 1, "a status"); }

constexpr Step kGlobalSettings[] = {
    [] { status(igmp_mode_switch_globle(below(5))); },
    [] { status(igmp_version_globle_set(static_cast<std::uint8_t>(below(5)))); },
    [] {
        status(igmp_para_globle_set(static_cast<std::uint8_t>(some_seconds()), some_seconds(),
                                    some_seconds(), some_seconds(), some_seconds(),
                                    some_seconds()));
    },
    [] { status(igmp_para_rv_globle_set(static_cast<std::uint8_t>(some_seconds()))); },
    [] { status(igmp_para_qi_globle_set(static_cast<std::uint16_t>(some_seconds()))); },
    [] { status(igmp_para_qri_globle_set(static_cast<std::uint16_t>(some_seconds()))); },
    [] { status(igmp_para_lmqi_globle_set(static_cast<std::uint16_t>(some_seconds()))); },
    [] { status(igmp_para_lmqc_globle_set(static_cast<std::uint16_t>(some_seconds()))); },
    [] { status(igmp_ssm_ip_globle_set(some_group(), some_group())); },
    [] {
        for (std::uint32_t& word : ssm_map) word = some_word();
        status(igmp_ssm_map_change(one_in(8) ? nullptr : ssm_map));
    },
    [] { status(igmp_vlan_learning_set(some_flag())); },
    [] { status(igmp_fast_leave_enable_globle(some_flag())); },
    [] { status(igmp_default_vid_set(some_vlan())); },
    [] { status(igmp_globle_proxyip_set(some32())); },
    [] { status(igmp_aging_function_set(some_flag())); },
    [] { status(igmp_del_all_group()); },
    [] { status(mld_api_set_default_vlan(some_vlan())); },
    [] { status(mld_proxy_snoop_set_globle(static_cast<std::uint16_t>(below(5)))); },
    [] { status(mld_pack_set_age_switch(some_flag())); },
    [] { status(igmp_vlan_add(some_vlan())); },
    [] { status(igmp_vlan_del(some_vlan())); },
    [] { status(igmp_vlan_del_all()); },
    [] { status(add_to_auth_group_api(some_group(), some_vlan())); },
    [] { status(auth_group_delete_api(some_group(), some_vlan())); },
    [] { status(auth_group_delete_all_api()); },
};

// What a control list holds is the same whether it is kept as ranges or group by group.
void change_control_list(bool oam) {
    const std::uint32_t port = below(3);
    const std::uint32_t action = one_in(8) ? below(4) : below(2);
    const std::uint16_t vlan = one_in(4) ? some_vlan() : std::uint16_t{4088};
    const std::uint32_t group = 0xEF010100 + below(8);
    const mcore::ControlList& list = mcore::find_port(port)->control_list;
    std::set<mcore::VlanGroup> expected;
    for (const auto& [first, last] : list) {
        for (std::uint32_t at = first.second; at <= last; ++at) expected.insert({first.first, at});
    }
    IgmpOamControl rest{group, next_byte(), next_byte()};
    const std::int32_t result =
        oam ? igmp_oam_control_2(static_cast<std::uint8_t>(action),
                                 static_cast<std::uint16_t>(port), vlan, &rest)
            : igmp_set_multicast_control(static_cast<std::uint16_t>(port), action,
                                         static_cast<std::int16_t>(vlan), group);
    if (result == 0) {
        if (action == 0) expected.erase({vlan, group});
        if (action == 1) expected.insert({vlan, group});
        if (action == 2) expected.clear();
    }
    std::size_t held = 0;
    for (const auto& [first, last] : list) held += last - first.second + 1;
    must(held == expected.size(), "how many groups are on a control list");
    for (const auto& each : expected)
        must(mcore::is_on_list(list, each), "a group is lost off its list");
}

constexpr Step kPortSettings[] = {
    [] { status(igmp_port_add_all_vlan(some_port())); },
    [] { status(mld_port_conf_set(some_port(), below(4))); },
    [] { status(igmp_if_fast_leave_enable(some_port8(), some_flag())); },
    [] { status(igmp_if_max_group_num_set(some_port8(), static_cast<std::uint16_t>(below(5)))); },
    [] {
        status(igmp_if_max_bandwidth_set(some_port8(), some_flag(), one_in(4) ? some32() : below(9),
                                         some16()));
    },
    [] {
        IgmpUplinkTag outer{some16(), some16(), next_byte()};
        IgmpUplinkTag inner{some16(), some16(), next_byte()};
        status(igmp_if_snp_uplinkvlan_set(one_in(2) ? some_port8() : std::uint8_t{29}, &outer,
                                          one_in(8) ? nullptr : &inner));
    },
    [] {
        status(igmp_if_add_auth_group_cfg(some_port8(), some_group(), some_group(),
                                          one_in(4) ? some32() : below(5), some_vlan()));
    },
    [] {
        status(igmp_if_delete_auth_group_cfg(some_port8(), some_group(), some_group(), 0,
                                             some_vlan()));
    },
    [] { status(igmp_if_delete_auth_group_cfg_all(some_port8(), some_vlan())); },
    [] { status(igmp_if_grp_range_auth_enable(some_port8(), some_flag())); },
    [] { change_control_list(false); },
    [] { change_control_list(true); },
    [] {
        status(igmp_set_multicast_control(static_cast<std::uint16_t>(some_port()), below(4),
                                          static_cast<std::int16_t>(some_vlan()), some_group()));
    },
};

// ---- Bounds -------------------------------------------------------------------------------------

std::uint32_t some_bound() { return one_in(8) ? 1 + below(4096) : 1 + below(6); }

void raise(std::uint32_t& highest, std::uint32_t bound) { highest = std::max(highest, bound); }

// What is there stays, whatever the bound is then.
void bounds_change() {
    const mcore::Bounds bounds{
        some_bound(), some_bound(), some_bound(), some_bound(), some_bound() + below(20),
        some_bound()};
    mcore::set_bounds(bounds);
    raise(most.sources_per_host, bounds.sources_per_host);
    raise(most.sources_per_group, bounds.sources_per_group);
    raise(most.hosts_per_group, bounds.hosts_per_group);
    raise(most.groups_per_port, bounds.groups_per_port);
    raise(most.addresses_per_port, bounds.addresses_per_port);
    raise(most.control_list_ranges, bounds.control_list_ranges);
}

// ---- Displays, switches, tests ------------------------------------------------------------------

constexpr Step kDisplays[] = {
    [] { status(igmp_display_all_group()); },
    [] { status(igmp_display_special_group(some_group())); },
    [] { status(igmp_show_vlan_config(some_port(), some_vlan(), some16())); },
    [] { status(show_igmp_all_proxy_group()); },
    [] { status(show_igmp_special_proxy_group(some_group())); },
    [] { status(igmp_show_vlan_instance()); },
    [] { status(show_igmpv3_globle()); },
    [] { status(show_igmp_packet_statistic()); },
    [] { status(show_igmp_if_list()); },
    [] { status(igmp_timer_show_api()); },
    [] { status(igmp_auth_group_show_api()); },
    [] { status(igmp_if_show_if_cfg(some_port8())); },
    [] { status(igmp_if_show_if_status(some_port8())); },
    [] { status(igmp_if_show_auth_group_cfg(some_port8(), some_group())); },
    [] { status(mld_unpack_show_mld_sys(below(3))); },
    [] { status(mld_unpack_show_mld_thread(below(3))); },
    [] { status(mld_unpack_show_vlan_global(below(3))); },
    [] { status(mld_show_if_list()); },
    [] { status(pal_mem_show()); },
    [] { status(pal_mem_reset()); },
    [] { status(pal_mtype_show(below(16))); },
    [] { status(pal_mrecord_range_set(below(12), below(12))); },
};

constexpr Step kDebugSwitches[] = {
    [] { status(igmp_warn_printf_set(some_flag())); },
    [] { status(igmp_dbg_set(some_vlan(), static_cast<std::uint8_t>(below(10)))); },
    [] { status(igmp_dbg_unset(some_vlan(), static_cast<std::uint8_t>(below(10)))); },
    [] { status(igmp_set_debug_level(below(40), below(2))); },
    [] { status(igmp_set_debug_pkt_port(static_cast<std::uint16_t>(some_port()))); },
    [] { status(igmp_set_debug_switch(some16(), below(2))); },
    [] { status(igmp_no_debug_all()); },
    [] { status(mld_set_mld_debug_port(some_port())); },
    [] { status(mld_set_mld_debug(below(64), some_port())); },
    [] { igmpv3_rcv = below(2); },
    [] { igmpv3_snd = below(2); },
    [] { mcore::link_down(some_port()); },
    [] { status(test_igmp_report_v2_l3(static_cast<std::uint16_t>(some_port()), some_vlan())); },
    [] { status(test_igmp_leave_v2_l3(static_cast<std::uint16_t>(some_port()), some_vlan())); },
};

// ---- Status -------------------------------------------------------------------------------------

// Into room of just the size said.
void status_is_gathered() {
    const std::uint32_t size = one_in(4) ? 512 * 25 + 4 : below(120);
    const std::unique_ptr<std::uint8_t[]> room(new std::uint8_t[size]);
    const std::uint32_t port = one_in(2) ? mcore::kAllPorts : some_port();
    std::int32_t length = igmp_gather_grp_info(port, size, room.get());
    must(length >= 0 && static_cast<std::uint32_t>(length) <= size, "the length of a group dump");
    if (length > 0) {
        std::uint32_t records = 0;
        std::memcpy(&records, room.get(), sizeof records);
        must(static_cast<std::uint32_t>(length) == 4 + records * 25, "the records of a group dump");
    }
    length = igmp_if_gather_if_status(port, size, room.get());
    must(length == 0 || length == 16, "the length of a port's status");
    must(static_cast<std::uint32_t>(length) <= size, "a status beyond its room");
}

// The tables as others see them.
void memberships_are_listed() {
    const auto all = mcore::memberships();
    must(all.size() == mcore::core().groups.size(), "how many memberships are listed");
    auto held = mcore::core().groups.begin();
    for (const mcore::Membership& one : all) {
        const auto& [key, group] = *held++;
        must(key == GroupKey{one.port, one.vlan, one.family, one.group}, "a membership listed");
        must(one.reporters.size() == group.hosts.size(), "the reporters listed");
        must(one.programmed == group.programmed, "the entry listed");
        must(!group.last_members || !group.hosts.empty() || *one.expires_us >= mcore::core().now_us,
             "a leave that ended in the past");
    }
}

// ---- Start --------------------------------------------------------------------------------------

void register_call_backs() {
    must(igmp_register_switch_send_pkt(nullptr) == 1, "no call-back is taken");
    igmp_register_switch_send_pkt(send_igmp);
    igmp_register_switch_add_table(add_entry);
    igmp_register_switch_del_table(remove_entry);
    mld_register_switch_send_pkt(send_mld);
    mld_register_switch_add_table(add_mld_entry);
    mld_register_switch_del_table(remove_mld_entry);
}

void declare_ports() {
    for (std::uint32_t port = 0; port < 6; ++port) {
        igmp_port_add_all_vlan(port);
        mld_port_conf_set(port, 2);
    }
    igmp_port_add_all_vlan(mcore::kCoreUplink);
    mld_port_conf_set(mcore::kUplinkNumber, 1);
}

// At times nobody registers: the core then asks for no entry, and sends nothing.
void begin_anew() {
    status(igmp_data_init());
    table = {};
    most = mcore::bounds();
    table.was_asked = !one_in(16);
    if (!table.was_asked) return;
    register_call_backs();
    declare_ports();
}

void begin_mld_anew() {
    status(mld_data_init());
    std::erase_if(table.entries, [](const GroupKey& key) { return key.family == Family::kIpv6; });
    if (one_in(2)) {
        table.was_asked = false;
        return;
    }
    register_call_backs();
    declare_ports();
}

void any_start() {
    status(igmp_task_init(50, 51));
    status(mld_task_init(50));
    one_in(2) ? begin_anew() : begin_mld_anew();
}

// As after loading.
void start_over() {
    igmp_data_init();
    mcore::reset();
    mcore::set_bounds({});
    static_cast<void>(pal_mrecord_range_set(0, UINT32_MAX));
    std::ranges::fill(ssm_map, 0);
    begin_anew();
    mcore::set_clock(1000 * kSecond);
    if (one_in(2)) bounds_change();
    most = mcore::bounds();
}

template <class Steps>
void one_step(const Steps& steps) {
    one_of(steps)();
}

void step() {
    switch (below(16)) {
        default:
            igmp_comes();
            break;
        case 6:
        case 7:
        case 8:
            mld_comes();
            break;
        case 9:
        case 10:
            time_passes();
            break;
        case 11:
            one_step(kGlobalSettings);
            break;
        case 12:
            one_step(kPortSettings);
            break;
        case 13:
            one_in(3) ? status_is_gathered() : one_step(kDisplays);
            break;
        case 14:
            one_in(2) ? one_step(kDebugSwitches) : memberships_are_listed();
            break;
        case 15:
            one_in(4) ? any_start() : bounds_change();
            break;
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    begin_chances(data, size);
    start_over();
    while (chances_left() != 0) {
        step();
        fuzz::check_core(&table, most);
    }
    return 0;
}
