// The VLAN operations against a small model of the tables, in random sequences.
//
// The model is written for itself, with records and algorithms of its own that are as plain as can
// be, and shares nothing with the library. After each operation the rules of both sides, the
// counts, the lists and their mirrors, the flags, the request, the result and the neighbour calls
// must be the same, and the tables packed.
//
//     MC_MODEL_SEQUENCES=100000 ./vlan_model_test    runs more sequences than usual
//     MC_MODEL_FIRST=1234 MC_MODEL_SEQUENCES=1 ...   runs the sequence with that seed
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "settings/settings.h"
#include "tests/support/vlan_rules.h"

namespace {

using namespace mc_test;

// ---- The model ---------------------------------------------------------------------------

constexpr int kNone = 0xFFFF;

// The fields of a rule in their order, as numbers; an unused slot is what a default one is.
struct Slot {
    int port = 255;
    int up_mode = 4;
    int in_up = kNone;
    int out_up = kNone;
    int dn_mode = 4;
    int in_dn = kNone;
    int out_dn = kNone;
    int data_mode = 4;
    int in_data = kNone;
    int out_data = kNone;
    int flag = 0;

    bool operator==(const Slot&) const = default;
};

struct Port {
    std::array<Slot, 10> slots;
    int count = 0;

    bool operator==(const Port&) const = default;
};

struct SideState {
    std::array<Port, 7> ports;
    std::array<int, 10> list{};
    std::array<int, 10> mirror{};
    int used = 0;
    int default_vlan = 4088;

    bool operator==(const SideState&) const = default;
};

struct State {
    SideState igmp;
    SideState mld;
    int learning = 0;
    int flag = 0;
    int mld_flag = 0;
    int default_vlan = 4088;  // reception's own

    bool operator==(const State&) const = default;
};

int logical_of(int port) {
    if (port >= 0 && port <= 5) return port;
    return port == 29 ? 6 : -1;
}

void pack(std::array<Slot, 10>& slots) {
    std::vector<Slot> used;
    for (const Slot& slot : slots) {
        if (slot.in_up < kNone) used.push_back(slot);
    }
    used.resize(10);
    std::copy(used.begin(), used.end(), slots.begin());
}

void pack(std::array<int, 10>& list) {
    std::vector<int> used;
    for (const int vlan : list) {
        if (vlan != 0) used.push_back(vlan);
    }
    used.resize(10);
    std::copy(used.begin(), used.end(), list.begin());
}

class Model {
 public:
    State state;
    int onu_id = 255;
    std::vector<std::string> calls;
    std::map<std::string, std::set<unsigned>> refused;  // which calls of the core fail
    std::map<std::string, int> seen;                    // how often the rarer things happened

    int set_igmp(Slot& rule) {
        SideState& side = state.igmp;
        calls.push_back("L2_multicast_get_onu_id()");
        int pending = 0;
        if (onu_id == 255) {
            state.learning = 1;
            pending = core("igmp_vlan_learning_set", 1);
        }
        if (state.flag == 0) by_tag_mode(rule);
        const int logical = logical_of(rule.port);
        if (logical < 0) return refuse("unknown port");
        without_upstream(rule);
        Port& port = side.ports[at(logical)];
        if (port.count >= 10) return refuse("eleventh rule");
        if (port.slots[at(port.count)].in_data != kNone) return refuse("busy slot");
        const bool known = listed(side, rule.in_data);
        if (!known && side.used >= 10) return refuse("eleventh VLAN");
        store(port, rule);
        if (known) {
            ++seen["known VLAN"];
            if (pending != 0) ++seen["known VLAN, learning refused"];
            return pending;
        }
        enter(side, rule.in_data);
        core("igmp_vlan_add", rule.in_data % 4096);
        return set_mld(rule);
    }

    int set_mld(Slot& rule) {
        SideState& side = state.mld;
        if (state.mld_flag == 0) by_tag_mode(rule);
        const int logical = logical_of(rule.port);
        if (logical < 0) return -1;
        without_upstream(rule);
        Port& port = side.ports[at(logical)];
        if (port.count >= 10) return refuse("eleventh MLD rule");
        if (port.slots[at(port.count)].in_data != kNone) return refuse("busy MLD slot");
        store(port, rule);
        if (listed(side, rule.in_data)) return 0;
        if (side.used >= 10) return refuse("no place for an MLD VLAN");
        enter(side, rule.in_data);
        return 0;
    }

    int delete_igmp(Slot& rule) { return delete_rule(state.igmp, state.flag != 0, rule); }
    int delete_mld(Slot& rule) { return delete_rule(state.mld, state.mld_flag != 0, rule); }

    int set_web(Slot& rule) {
        SideState& side = state.igmp;
        if (rule.port >= 7) return refuse("web port");
        state.learning = 1;
        core("igmp_vlan_learning_set", 1);
        Port& emptied = side.ports[at(rule.port)];
        if (rule.in_data != side.default_vlan) {
            core("igmp_vlan_del", emptied.slots[0].in_data % 4096);
        }
        for (int i = 0; i < 7 && i < side.used; ++i) {
            if (side.list[at(i)] != side.ports[at(i)].slots[0].in_data) continue;
            ++seen["entry dropped by position"];
            side.list[at(i)] = 0;
            side.mirror[at(i)] = 0;
            --side.used;
            break;
        }
        pack(side.list);
        pack(side.mirror);
        emptied = Port{};
        const int logical = logical_of(rule.port);
        if (logical < 0) return refuse("web set of the uplink");

        rule.up_mode = rule.dn_mode;
        rule.out_up = rule.in_dn;
        rule.in_up = rule.out_dn;
        if (rule.dn_mode == 1) rule.in_up = rule.out_dn = 0;
        if (rule.dn_mode == 0) rule.in_up = rule.out_dn = rule.in_dn;
        if (rule.data_mode == 1) rule.out_data = 0;
        if (rule.data_mode == 0) rule.out_data = rule.in_data;

        if (side.used >= 10) return refuse("web set without room");
        store(side.ports[at(logical)], rule);
        enter(side, rule.in_data);
        return core("igmp_vlan_add", rule.in_data % 4096);
    }

    int set_by_mode(int port, int mode, int vlan, int vlan2) {
        state.flag = 1;
        Slot rule = from_mode(port, mode, vlan, vlan2);
        set_igmp(rule);
        return set_mld(rule);
    }

    int delete_by_mode(int port, int mode, int vlan, int vlan2) {
        Slot rule = from_mode(port, mode, vlan, vlan2);
        delete_igmp(rule);
        return delete_mld(rule);
    }

    int set_default_vlan(int vlan) {
        const int old = state.igmp.default_vlan;
        bool found = false;
        for (int i = 0; i < state.igmp.used; ++i) {
            if (state.igmp.list[at(i)] % 4096 == old) found = true;
        }
        state.igmp.default_vlan = state.mld.default_vlan = state.default_vlan = vlan;
        core("mld_api_set_default_vlan", vlan);
        const int status = core("igmp_default_vid_set", vlan);
        return found ? core("igmp_vlan_add", old) : status;
    }

    void mld_frame_from(int port) { state.mld.used = port; }

 private:
    static std::size_t at(int index) { return static_cast<std::size_t>(index); }

    int refuse(const std::string& reason) {
        ++seen[reason];
        return -1;
    }

    int core(const std::string& function, int argument) {
        calls.push_back(function + "(" + std::to_string(argument) + ")");
        const auto nth = std::count_if(calls.begin(), calls.end(), [&function](const auto& call) {
            return call.compare(0, function.size() + 1, function + "(") == 0;
        });
        if (refused[function].count(static_cast<unsigned>(nth)) == 0) return 0;
        ++seen["refused " + function];
        return kFailure;
    }

    static void by_tag_mode(Slot& rule) {
        if (rule.in_up != kNone) return;
        if (rule.up_mode == 0) {
            rule.in_up = rule.in_dn;
            rule.out_up = rule.out_dn;
        }
        if (rule.up_mode == 2 || rule.up_mode == 3) rule.in_up = rule.out_dn;
    }

    static void without_upstream(Slot& rule) {
        if (rule.in_up == 0 || rule.in_up == kNone) rule.in_up = rule.out_dn = rule.out_data = 0;
    }

    static void store(Port& port, const Slot& rule) {
        Slot& slot = port.slots[at(port.count++)];
        const int flag = slot.flag;
        slot = rule;
        slot.flag = flag;
    }

    static bool listed(const SideState& side, int vlan) {
        const auto* const end = side.list.begin() + std::min(side.used, 10);
        return std::find(side.list.begin(), end, vlan) != end;
    }

    static void enter(SideState& side, int vlan) {
        side.list[at(side.used)] = vlan;
        side.mirror[at(side.used)] = vlan;
        ++side.used;
    }

    int delete_rule(SideState& side, bool as_given, Slot& rule) {
        if (!as_given) by_tag_mode(rule);
        const int logical = logical_of(rule.port);
        if (logical < 0) return refuse("delete on an unknown port");
        Port& port = side.ports[at(logical)];
        if (port.count == 0) return refuse("delete on a port without rules");
        without_upstream(rule);
        int found = 0;
        while (found < 10 && port.slots[at(found)].in_up != rule.in_up) ++found;
        if (found == 10) {
            ++seen["delete of an absent rule"];
            return 0;
        }
        port.slots[at(found)] = Slot{};
        --port.count;
        pack(port.slots);
        for (const Port& other : side.ports) {
            for (int j = 0; j < other.count && j < 10; ++j) {
                if (other.slots[at(j)].in_data % 4096 != rule.in_data) continue;
                ++seen["VLAN still in use"];
                return 0;
            }
        }
        if (rule.in_data == side.default_vlan) {
            ++seen["default VLAN stays"];
            return 0;
        }
        const int status = core("igmp_vlan_del", rule.in_data % 4096);
        for (int i = 0; i < side.used && i < 10; ++i) {
            if (side.list[at(i)] != rule.in_data) continue;
            side.list[at(i)] = 0;
            side.mirror[at(i)] = 0;
            --side.used;
            ++seen["VLAN withdrawn"];
            break;
        }
        pack(side.list);
        pack(side.mirror);
        return status;
    }

    static Slot from_mode(int port, int mode, int vlan, int vlan2) {
        const int first = vlan & 0xFFFF;
        const int second = vlan2 & 0xFFFF;
        int stored_mode = static_cast<std::int8_t>(mode & 0xFF);
        int a = first;
        int b = second;
        if (mode == 1) {
            a = kNone;
            b = first;
        }
        if (mode == 0 || mode == 3) {
            stored_mode = 0;
            b = first;
        }
        return {port & 0xFF, stored_mode, a, b, stored_mode, b, a, stored_mode, b, a, 0};
    }
};

// ---- The library, seen as the model sees itself ------------------------------------------

Slot slot_of(const Rule& rule) {
    return {static_cast<std::uint8_t>(rule.portNO),
            rule.prouptagmode,
            rule.in_up_vlan,
            rule.out_up_vlan,
            rule.prodntagmode,
            rule.in_dn_vlan,
            rule.out_dn_vlan,
            rule.datedntagmode,
            rule.in_data_vlan,
            rule.out_data_vlan,
            rule.rule_flag};
}

Rule rule_of(const Slot& slot) {
    const auto vlan = [](int value) { return static_cast<std::uint16_t>(value); };
    return rule(slot.port, {slot.up_mode, slot.dn_mode, slot.data_mode},
                {vlan(slot.in_up), vlan(slot.out_up)}, {vlan(slot.in_dn), vlan(slot.out_dn)},
                {vlan(slot.in_data), vlan(slot.out_data)});
}

template <class Side>
SideState side_of_library() {
    SideState side;
    for (std::size_t p = 0; p < 7; ++p) {
        for (std::size_t i = 0; i < 10; ++i) side.ports[p].slots[i] = slot_of(Side::rules()[p][i]);
        side.ports[p].count = Side::rule_counts()[p];
    }
    std::copy(std::begin(Side::list()), std::end(Side::list()), side.list.begin());
    std::copy(std::begin(Side::mirror()), std::end(Side::mirror()), side.mirror.begin());
    side.used = Side::used();
    side.default_vlan = Side::stored_default_vlan();
    return side;
}

State library() {
    return {side_of_library<Igmp>(),
            side_of_library<Mld>(),
            globle_parm.learningMode,
            static_cast<int>(flag_omci_version),
            static_cast<int>(mldInitParams.mld_flag_omci_version),
            defaultVlan};
}

// ---- Operations --------------------------------------------------------------------------

struct Operation {
    enum Kind {
        kSet,
        kDelete,
        kWebSet,
        kSetByMode,
        kDeleteByMode,
        kSetMld,
        kDeleteMld,
        kMldFrame,
        kDefaultVlan,
    };
    Kind kind = kSet;
    Slot rule;  // of the requests that have one
    int port = 0;
    int mode = 0;
    int vlan = 0;
    int vlan2 = 0;
    int onu_id = 255;
    std::map<std::string, std::set<unsigned>> refused;
};

std::string text(const Operation& op) {
    static const char* const kNames[] = {
        "set",     "delete",     "web set",   "set by port and mode", "delete by port and mode",
        "MLD set", "MLD delete", "MLD frame", "default VLAN"};
    std::string all = kNames[op.kind];
    switch (op.kind) {
        case Operation::kSetByMode:
        case Operation::kDeleteByMode:
            all += ": port " + std::to_string(op.port) + ", mode " + std::to_string(op.mode) +
                   ", VLANs " + std::to_string(op.vlan) + ", " + std::to_string(op.vlan2);
            break;
        case Operation::kMldFrame:
            all += ": port " + std::to_string(op.port);
            break;
        case Operation::kDefaultVlan:
            all += ": " + std::to_string(op.vlan);
            break;
        default:
            all += ": " + mc_test::text(rule_of(op.rule));
            break;
    }
    all += " (ONU id " + std::to_string(op.onu_id);
    for (const auto& [function, calls] : op.refused) {
        for (const unsigned nth : calls) {
            all += ", call " + std::to_string(nth) + " of " + function + " refused";
        }
    }
    return all + ")";
}

int run(Model& model, const Operation& op, Slot& request) {
    switch (op.kind) {
        case Operation::kSet:
            return model.set_igmp(request);
        case Operation::kDelete:
            return model.delete_igmp(request);
        case Operation::kWebSet:
            return model.set_web(request);
        case Operation::kSetByMode:
            return model.set_by_mode(op.port, op.mode, op.vlan, op.vlan2);
        case Operation::kDeleteByMode:
            return model.delete_by_mode(op.port, op.mode, op.vlan, op.vlan2);
        case Operation::kSetMld:
            return model.set_mld(request);
        case Operation::kDeleteMld:
            return model.delete_mld(request);
        case Operation::kMldFrame:
            model.mld_frame_from(op.port);
            return 0;
        case Operation::kDefaultVlan:
            return model.set_default_vlan(op.vlan);
    }
    return 0;
}

int run_library(const Operation& op, Rule& request) {
    switch (op.kind) {
        case Operation::kSet:
            return onu_std_omci_set_multicast_vlan(&request);
        case Operation::kDelete:
            return onu_std_omci_delete_multicast_vlan(&request);
        case Operation::kWebSet:
            return onu_std_omci_web_set_vlan(&request);
        case Operation::kSetByMode:
            return igmp_port_vlan_and_mode_set(op.port, op.mode, op.vlan, op.vlan2);
        case Operation::kDeleteByMode:
            return igmp_service_remove_port_config(op.port, op.mode, op.vlan, op.vlan2);
        case Operation::kSetMld:
            return mld_onu_std_omci_set_multicast_vlan(&request);
        case Operation::kDeleteMld:
            return mld_onu_std_omci_delete_multicast_vlan(&request);
        case Operation::kMldFrame:
            mldInitParams.srcPortNum = static_cast<std::uint8_t>(op.port);
            return 0;
        case Operation::kDefaultVlan:
            return omci_set_igmp_default_vlan(static_cast<std::uint32_t>(op.vlan));
    }
    return 0;
}

// What a sequence draws from: few ports and VLANs, so that they meet, or enough to fill the lists.
class Drawing {
 public:
    explicit Drawing(unsigned seed) : random_(seed) {
        static const std::vector<int> kFewVlans = {100, 200, 0x1064, 4088};
        static const std::vector<int> kManyVlans = {100, 101, 102, 103, 104, 105, 106,    107,
                                                    108, 109, 110, 111, 112, 113, 0x1064, 4088};
        vlans_ = chance(2) ? kFewVlans : kManyVlans;
        if (chance(2)) vlans_.insert(vlans_.end(), {0, kNone, 0xFFFE});
        ports_ = chance(2) ? std::vector<int>{1, 29} : std::vector<int>{0, 1, 2, 3, 4, 5, 29};
        deletes_rarely_ = chance(2);
        has_odd_operations_ = chance(2);
    }

    unsigned length() { return 20 + below(21); }

    Operation operation() {
        Operation op;
        op.kind = kind();
        op.port = port();
        op.mode = one_of({0, 1, 1, 2, 3, 4, 5, -1, 0x100, 0x101});
        op.vlan = vlan();
        op.vlan2 = vlan();
        if (chance(8)) op.vlan |= 0x10000;  // of which 16 bits count
        if (op.kind == Operation::kMldFrame) op.port = one_of({0, 1, 2, 3, 4, 5, 29});
        if (op.kind == Operation::kDefaultVlan) op.vlan = vlan();
        op.rule = {port(), tag_mode(), vlan(), vlan(), tag_mode(), vlan(),
                   vlan(), tag_mode(), vlan(), vlan(), 0};
        if (chance(8)) op.rule.in_up = kNone;
        if (op.kind == Operation::kWebSet && chance(2))
            op.rule.port = one_of({0, 1, 2, 3, 4, 5, 6, 7});
        op.onu_id = chance(3) ? 255 : one_of({0, 1, 127, 254});
        for (const char* const function :
             {"igmp_vlan_add", "igmp_vlan_del", "igmp_vlan_learning_set", "igmp_default_vid_set"}) {
            if (chance(8)) op.refused[function].insert(1 + below(2));
        }
        if (chance(8)) op.refused["mld_api_set_default_vlan"].insert(1);
        return op;
    }

 private:
    // The library's distributions differ from machine to machine.
    unsigned below(std::size_t limit) { return static_cast<unsigned>(random_() % limit); }
    bool chance(unsigned one_in) { return below(one_in) == 0; }
    int one_of(const std::vector<int>& values) { return values[below(values.size())]; }
    int vlan() { return one_of(vlans_); }
    int tag_mode() { return one_of({0, 1, 2, 3, 4, -1}); }
    int port() { return chance(16) ? one_of({6, 30, 128, 200, 255}) : one_of(ports_); }

    Operation::Kind kind() {
        const unsigned drawn = below(100);
        if (drawn < 35) return Operation::kSet;
        if (drawn < 55) return deletes_rarely_ ? Operation::kSet : Operation::kDelete;
        if (drawn < 63) return Operation::kSetByMode;
        if (drawn < 73) return deletes_rarely_ ? Operation::kSetMld : Operation::kDeleteByMode;
        if (drawn < 80) return Operation::kDelete;
        if (drawn < 84) return Operation::kSetMld;
        if (drawn < 88) return Operation::kDeleteMld;
        if (drawn < 91) return Operation::kDefaultVlan;
        if (!has_odd_operations_) return Operation::kDeleteByMode;
        return drawn < 97 ? Operation::kWebSet : Operation::kMldFrame;
    }

    std::mt19937 random_;
    std::vector<int> vlans_;
    std::vector<int> ports_;
    bool deletes_rarely_;
    bool has_odd_operations_;
};

// ---- Differences -------------------------------------------------------------------------

std::string joined(const std::vector<std::string>& parts) {
    std::string all;
    for (const std::string& part : parts) all += (all.empty() ? "" : ", ") + part;
    return all;
}

std::string joined(const std::array<int, 10>& numbers) {
    std::vector<std::string> parts;
    for (const int number : numbers) parts.push_back(std::to_string(number));
    return joined(parts);
}

template <class Value>
void compare(std::string& all, const std::string& what, const Value& model, const Value& library) {
    if (model == library) return;
    const auto shown = [](const auto& value) -> std::string {
        using Shown = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<Shown, int>) {
            return std::to_string(value);
        } else if constexpr (std::is_same_v<Shown, Slot>) {
            return mc_test::text(rule_of(value)) + ", stored flag " + std::to_string(value.flag);
        } else {
            return joined(value);
        }
    };
    all +=
        "  " + what + "\n    model:   " + shown(model) + "\n    library: " + shown(library) + "\n";
}

std::string differences(const std::string& name, const SideState& model, const SideState& library) {
    std::string all;
    for (std::size_t p = 0; p < 7; ++p) {
        const std::string port = name + " logical port " + std::to_string(p);
        compare(all, port + " count", model.ports[p].count, library.ports[p].count);
        for (std::size_t i = 0; i < 10; ++i) {
            compare(all, port + " rule " + std::to_string(i), model.ports[p].slots[i],
                    library.ports[p].slots[i]);
        }
    }
    compare(all, name + " list", model.list, library.list);
    compare(all, name + " mirror", model.mirror, library.mirror);
    compare(all, name + " list count", model.used, library.used);
    compare(all, name + " default VLAN", model.default_vlan, library.default_vlan);
    return all;
}

std::string differences(const State& model, const State& library) {
    std::string all = differences("IGMP", model.igmp, library.igmp);
    all += differences("MLD", model.mld, library.mld);
    compare(all, "learning mode", model.learning, library.learning);
    compare(all, "normalisation flag", model.flag, library.flag);
    compare(all, "MLD normalisation flag", model.mld_flag, library.mld_flag);
    compare(all, "default VLAN of reception", model.default_vlan, library.default_vlan);
    return all;
}

// ---- Invariants --------------------------------------------------------------------------

// What holds of the library's tables by themselves, except where an operation is known to leave
// them otherwise: a web set can store a rule that counts as none, data VLAN 0 is an empty entry of
// the list, and a frame moves the MLD side's count.
struct Excused {
    bool igmp_rules = false;
    bool igmp_list = false;
    bool mld_list = false;

    void note(const Operation& op, const State& after) {
        for (const Port& port : after.igmp.ports) {
            for (int i = 0; i < port.count && i < 10; ++i) {
                igmp_rules |= port.slots[static_cast<std::size_t>(i)].in_up == kNone;
            }
        }
        const auto ends_in_zero = [](const SideState& side) {
            return side.used > 0 && side.used <= 10 &&
                   side.list[static_cast<std::size_t>(side.used) - 1] == 0;
        };
        igmp_list |= can_enter_zero(op) && ends_in_zero(after.igmp);
        mld_list |=
            op.kind == Operation::kMldFrame || (can_enter_zero(op) && ends_in_zero(after.mld));
    }

 private:
    static bool can_enter_zero(const Operation& op) {
        if (op.kind != Operation::kSetByMode) return op.rule.in_data == 0;
        return op.vlan % 0x10000 == 0 || op.vlan2 == 0;
    }
};

std::string broken_rules(const std::string& name, const SideState& side) {
    std::string all;
    for (std::size_t p = 0; p < 7; ++p) {
        const Port& port = side.ports[p];
        for (int i = 0; i < 10; ++i) {
            const Slot& slot = port.slots[static_cast<std::size_t>(i)];
            if (i < port.count ? slot.in_up == kNone : !(slot == Slot{})) {
                all += "  " + name + " logical port " + std::to_string(p) + " with " +
                       std::to_string(port.count) + " rules is not packed at " + std::to_string(i) +
                       "\n";
            }
        }
    }
    return all;
}

std::string broken_list(const std::string& name, const SideState& side) {
    for (int i = 0; i < 10; ++i) {
        if ((side.list[static_cast<std::size_t>(i)] != 0) != (i < side.used)) {
            return "  " + name + " list with " + std::to_string(side.used) +
                   " VLANs is not packed: " + joined(side.list) + "\n";
        }
    }
    return "";
}

std::string broken(const State& state, const Excused& excused) {
    std::string all;
    if (!excused.igmp_rules) all += broken_rules("IGMP", state.igmp);
    all += broken_rules("MLD", state.mld);
    if (!excused.igmp_list) all += broken_list("IGMP", state.igmp);
    if (!excused.mld_list) all += broken_list("MLD", state.mld);
    compare(all, "IGMP list and mirror", state.igmp.list, state.igmp.mirror);
    compare(all, "MLD list and mirror", state.mld.list, state.mld.mirror);
    return all;
}

// ---- Sequences ---------------------------------------------------------------------------

class VlanModel : public StartedTest {
 protected:
    VlanModel() : fresh_(Tables::now()) { igmp_adapt = -2; }  // no report on the console

    // Runs one sequence; what went wrong, or nothing.
    std::string run_sequence(unsigned seed, std::map<std::string, int>& seen) {
        fresh_.put_back();
        Model model;
        Excused excused;
        Drawing drawing(seed);
        std::vector<Operation> done;
        const unsigned length = drawing.length();
        for (unsigned step = 0; step < length; ++step) {
            const Operation& op = done.emplace_back(drawing.operation());
            std::string wrong = run_operation(model, op);
            const State now = library();
            if (model.state != now) wrong += differences(model.state, now);
            excused.note(op, model.state);
            wrong += broken(now, excused);
            if (!wrong.empty()) return report(seed, done, wrong);
            ++operations_;
            if (!excused.igmp_list && !excused.mld_list && !excused.igmp_rules) ++seen["packed"];
        }
        for (const auto& [what, times] : model.seen) seen[what] += times;
        return "";
    }

    unsigned long operations_ = 0;

 private:
    static std::string run_operation(Model& model, const Operation& op) {
        reset_neighbours();
        set_onu_id(static_cast<std::uint8_t>(op.onu_id));
        model.onu_id = op.onu_id;
        model.refused = op.refused;
        model.calls.clear();
        for (const auto& [function, refused] : op.refused) {
            for (const unsigned nth : refused) fail_call(function, nth);
        }

        Slot model_request = op.rule;
        Rule library_request = rule_of(op.rule);
        const int expected = run(model, op, model_request);
        const int result = run_library(op, library_request);

        std::string all;
        compare(all, "result", expected, result);
        compare(all, "request", model_request, slot_of(library_request));
        compare(all, "calls", model.calls, calls());
        return all;
    }

    static std::string report(unsigned seed, const std::vector<Operation>& done,
                              const std::string& wrong) {
        std::string all = "seed " + std::to_string(seed) + ", step " +
                          std::to_string(done.size() - 1) + ": " + text(done.back()) + "\n" +
                          wrong + "The sequence:\n";
        for (std::size_t step = 0; step < done.size(); ++step) {
            all += "  " + std::to_string(step) + ": " + text(done[step]) + "\n";
        }
        return all;
    }

    Tables fresh_;
};

unsigned from_environment(const char* name, unsigned otherwise) {
    const char* const value = std::getenv(name);
    return value == nullptr ? otherwise : static_cast<unsigned>(std::strtoul(value, nullptr, 10));
}

// An emulated processor takes much longer for each of them.
#ifdef __mips__
constexpr unsigned kUsualSequences = 600;
#else
constexpr unsigned kUsualSequences = 4000;
#endif

TEST_F(VlanModel, AgreesWithTheLibraryInRandomSequences) {
    const unsigned first = from_environment("MC_MODEL_FIRST", 1);
    const unsigned sequences = from_environment("MC_MODEL_SEQUENCES", kUsualSequences);
    std::map<std::string, int> seen;
    int failed = 0;
    for (unsigned i = 0; i < sequences && failed < 3; ++i) {
        const std::string wrong = run_sequence(first + i, seen);
        if (wrong.empty()) continue;
        ++failed;
        ADD_FAILURE() << wrong;
    }
    RecordProperty("operations", std::to_string(operations_));
    if (failed != 0 || sequences < 600) return;

    // The sequences are worth something only while the rarer things happen in them.
    for (const char* const what : {"unknown port",
                                   "eleventh rule",
                                   "eleventh VLAN",
                                   "known VLAN",
                                   "known VLAN, learning refused",
                                   "eleventh MLD rule",
                                   "no place for an MLD VLAN",
                                   "web port",
                                   "web set of the uplink",
                                   "web set without room",
                                   "entry dropped by position",
                                   "delete on an unknown port",
                                   "delete on a port without rules",
                                   "delete of an absent rule",
                                   "VLAN still in use",
                                   "default VLAN stays",
                                   "VLAN withdrawn",
                                   "refused igmp_vlan_add",
                                   "refused igmp_vlan_del",
                                   "refused igmp_vlan_learning_set",
                                   "refused igmp_default_vid_set",
                                   "refused mld_api_set_default_vlan",
                                   "packed"}) {
        EXPECT_GE(seen[what], 10) << what;
    }
}

}  // namespace
