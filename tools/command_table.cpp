// The commands, a block each. Fields of the record that no value here fills, and bytes between the
// fields, are sent as 0.
#include "tools/command_table.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "adapt/records.h"
#include "command/config_commands.h"
#include "command/debug_commands.h"

namespace commands {
namespace {

constexpr std::uint32_t kAnyByte = 0xFF;
constexpr std::uint32_t kAny16 = 0xFFFF;
constexpr std::uint32_t kAny32 = 0xFFFFFFFF;

// ---- Words that stand for numbers ---------------------------------------------------------------

constexpr std::array<Choice, 2> kOnOff{{{"on", 1}, {"off", 0}}};
constexpr std::array<Choice, 3> kModes{{{"snooping", 1}, {"control", 3}, {"proxy", 100}}};
// The receiver compares with 2 only, and shows other processes the number as it is.
constexpr std::array<Choice, 2> kLeaveModes{{{"on", 2}, {"off", 1}}};
constexpr std::array<Choice, 3> kTagModes{{{"untag", 0}, {"tag", 1}, {"translate", 2}}};
constexpr std::array<Choice, 3> kPortSettings{
    {{"leave-mode", 0}, {"uplink-tags", 1}, {"group-limit", 2}}};
constexpr std::array<Choice, 3> kListActions{{{"add", 0}, {"delete", 1}, {"clear", 2}}};
// OAM counts the other way round, see omci_set_port_to_control_multicast_list_table.
constexpr std::array<Choice, 3> kOamActions{{{"delete", 0}, {"add", 1}, {"clear", 2}}};
constexpr std::array<Choice, 6> kCategories{
    {{"flow", 1}, {"errors", 3}, {"tx", 4}, {"rx", 5}, {"config", 6}, {"all", 7}}};
constexpr std::array<Choice, 1> kAdaptSelector{{{"adapt", 0x61}}};
constexpr std::array<Choice, 2> kSubSelectors{{{"none", 0}, {"igmp", 0x69}}};
constexpr std::array<Choice, 1> kEverything{{{"everything", 65535}}};

constexpr std::array<Choice, 1> kUplink{{{"uplink", 29}}};
constexpr std::array<Choice, 1> kLogicalUplink{{{"uplink", 6}}};
constexpr std::array<Choice, 2> kUplinkOrAll{{{"uplink", 29}, {"all", 255}}};
constexpr std::array<Choice, 3> kDebugPorts{{{"uplink", 29}, {"all", 255}, {"none", 65534}}};
constexpr std::array<Choice, 2> kTestUplinks{{{"uplink", 29}, {"none", 65534}}};

constexpr std::array<Choice, 1> kNone{{{"none", 65535}}};
constexpr std::array<Choice, 2> kNoneOrUntagged{{{"none", 65535}, {"untagged", 0}}};
constexpr std::array<Choice, 1> kUntagged{{{"untagged", 0}}};
constexpr std::array<Choice, 1> kAllVlans{{{"all", 0}}};
constexpr std::array<Choice, 1> kNoVlan{{{"none", 0}}};
constexpr std::array<Choice, 1> kNoAddress{{{"none", 0}}};

// ---- Fields -------------------------------------------------------------------------------------

Field number(std::string_view name, mc::FieldPlace at, std::uint32_t least, std::uint32_t most,
             std::string_view help, std::span<const Choice> words = {}) {
    return {name, at, Kind::kNumber, least, most, words, help};
}

// The numbers of a choice count as its words; a wider range is given by the caller.
Field choice(std::string_view name, mc::FieldPlace at, std::span<const Choice> words,
             std::string_view help) {
    return {name, at, Kind::kChoice, 1, 0, words, help};
}

Field on_off(std::string_view name, mc::FieldPlace at, std::string_view help,
             std::span<const Choice> words = kOnOff) {
    return {name, at, Kind::kSwitch, 1, 0, words, help};
}

// A user port, and what the words add.
Field port(mc::FieldPlace at, std::span<const Choice> words = {},
           std::string_view help = "the port", std::string_view name = "--port") {
    return {name, at, Kind::kPort, 0, 5, words, help};
}

Field vlan(std::string_view name, mc::FieldPlace at, std::string_view help,
           std::span<const Choice> words = {}) {
    return {name, at, Kind::kVlan, 1, 4094, words, help};
}

Field group(std::string_view name, mc::FieldPlace at, std::string_view help,
            std::span<const Choice> words = {}) {
    return {name, at, Kind::kGroup, 0xE0000000, 0xEFFFFFFF, words, help};
}

Field word(std::string_view name, mc::FieldPlace at, std::string_view help) {
    return {name, at, Kind::kWord, 0, kAny32, {}, help, 0};
}

Field tag_mode(std::string_view name, mc::FieldPlace at, std::string_view help,
               std::string_view like = {}) {
    return {name, at, Kind::kChoice, 0, 3, kTagModes, help, std::nullopt, like};
}

Field with_default(Field field, std::uint32_t value) {
    field.fallback = value;
    return field;
}

Field same_as(Field field, std::string_view other) {
    field.like = other;
    return field;
}

// The receiver counts from 1.
Field from_one(Field field) {
    field.added = 1;
    return field;
}

// ---- Records that several commands share --------------------------------------------------------

std::vector<Field> rule_to_add() {
    return {
        port(mc::VlanRule::port, kUplink, "the port that gets the rule"),
        tag_mode("--mode", mc::VlanRule::up_mode, "tag mode of what goes up"),
        tag_mode("--down-mode", mc::VlanRule::down_mode, "tag mode of IGMP that goes down",
                 "--mode"),
        tag_mode("--data-mode", mc::VlanRule::data_mode, "tag mode of data that goes down",
                 "--mode"),
        with_default(vlan("--up-in", mc::VlanRule::in_up, "VLAN of IGMP as the port receives it",
                          kNoneOrUntagged),
                     kAny16),
        with_default(vlan("--up-out", mc::VlanRule::out_up, "VLAN of IGMP as the uplink sends it",
                          kNoneOrUntagged),
                     kAny16),
        with_default(vlan("--down-in", mc::VlanRule::in_down,
                          "VLAN of IGMP as the uplink receives it", kNoneOrUntagged),
                     kAny16),
        with_default(vlan("--down-out", mc::VlanRule::out_down, "VLAN of IGMP as the port sends it",
                          kNoneOrUntagged),
                     kAny16),
        vlan("--data-in", mc::VlanRule::in_data, "VLAN of the data as the uplink receives it",
             kUntagged),
        with_default(vlan("--data-out", mc::VlanRule::out_data,
                          "VLAN of the data as the port sends it", kNoneOrUntagged),
                     kAny16),
    };
}

std::vector<Field> rule_to_delete() {
    return {
        port(mc::VlanRule::port, kUplink, "the port that has the rule"),
        vlan("--up-in", mc::VlanRule::in_up, "the rule to delete is the first one with this VLAN",
             kNoneOrUntagged),
        vlan("--data-in", mc::VlanRule::in_data,
             "leaves the core's list when no other rule needs it", kUntagged),
        with_default(tag_mode("--mode", mc::VlanRule::up_mode,
                              "decides what fills --up-in none, as in vlan add"),
                     1),
        with_default(vlan("--down-in", mc::VlanRule::in_down, "fills --up-in none in mode untag",
                          kNoneOrUntagged),
                     kAny16),
        with_default(vlan("--down-out", mc::VlanRule::out_down,
                          "fills --up-in none in mode translate", kNoneOrUntagged),
                     kAny16),
    };
}

std::vector<Field> rule_of_web() {
    return {
        port(mc::VlanRule::port, {}, "the port whose rules are replaced"),
        tag_mode("--mode", mc::VlanRule::down_mode, "tag mode of IGMP"),
        tag_mode("--data-mode", mc::VlanRule::data_mode, "tag mode of data that goes down",
                 "--mode"),
        vlan("--down-in", mc::VlanRule::in_down,
             "VLAN of IGMP at the uplink; not none in mode untag", kNoneOrUntagged),
        same_as(
            vlan("--down-out", mc::VlanRule::out_down,
                 "VLAN of IGMP at the port; not none in modes translate and 3", kNoneOrUntagged),
            "--down-in"),
        vlan("--data-in", mc::VlanRule::in_data, "VLAN of the data as the uplink receives it",
             kUntagged),
        same_as(vlan("--data-out", mc::VlanRule::out_data,
                     "VLAN of the data as the port sends it, in mode translate", kNoneOrUntagged),
                "--data-in"),
    };
}

// The rule's upstream VLAN is the one at the uplink in mode untag and the one at the port in mode
// translate. A rule without one counts as none: a delete would then take another rule of the port.
constexpr std::array<Choice, 1> kUpFromDownIn{{{"untag", 0}}};
constexpr std::array<Choice, 2> kUpFromDownOut{{{"translate", 2}, {"3", 3}}};
constexpr std::string_view kCountsAsNone =
    "the rule would count as none, and the next delete would take another rule of the port";

std::vector<Exclusion> excluded_of_web() {
    return {{"--down-in", MC_NO_VLAN, "--mode", kUpFromDownIn, kCountsAsNone},
            {"--down-out", MC_NO_VLAN, "--mode", kUpFromDownOut, kCountsAsNone}};
}

std::vector<Field> service_port() {
    return {
        port(mc::ServicePort::port, kUplink),
        {"--mode", mc::ServicePort::mode, Kind::kChoice, 0, 3, kTagModes,
         "tag mode of the rule; 3 acts as untag"},
        vlan("--vlan", mc::ServicePort::vlan,
             "VLAN at the uplink; in mode translate, VLAN at the port"),
        same_as(
            vlan("--second-vlan", mc::ServicePort::vlan2, "VLAN at the uplink, in mode translate"),
            "--vlan"),
    };
}

std::vector<Field> group_range() {
    return {
        port(mc::GroupRange::port, kUplink),
        group("--start", mc::GroupRange::start, "first group"),
        same_as(group("--end", mc::GroupRange::end, "last group"), "--start"),
        with_default(number("--bandwidth", mc::GroupRange::bandwidth, 0, kAny32,
                            "imputed bandwidth, bytes per second"),
                     0),
        vlan("--vlan", mc::GroupRange::vlan, "VLAN of the groups"),
    };
}

std::vector<Field> private_group() {
    return {
        group("GROUP", mc::PrivateGroup::group, "the group"),
        vlan("--vlan", mc::PrivateGroup::vlan, "VLAN of the group"),
        with_default(
            number("--extra", mc::PrivateGroup::extra, 0, kAnyByte, "not used by the receiver"), 0),
    };
}

std::vector<Field> vlan_display() {
    return {
        with_default(vlan("--vlan", mc::VlanDisplay::vlan, "the VLAN", kAllVlans), 0),
        with_default(port(mc::VlanDisplay::port, kUplinkOrAll), 255),
        with_default(
            number("--flag", mc::VlanDisplay::flag, 0, kAny16, "handed to the core as it is"), 0),
    };
}

std::vector<Field> port_test() {
    return {port(mc::PortTest::port),
            with_default(vlan("--vlan", mc::PortTest::vlan, "the VLAN", kNoVlan), 0)};
}

std::vector<Field> vlan_debug() {
    return {
        vlan("VLAN", mc::VlanDebug::vlan, "the VLAN"),
        number("SELECTOR", mc::VlanDebug::selector, 1, 7, "what to trace, by the core's numbers")};
}

Field interval(mc::FieldPlace at, std::string_view help) {
    return number("VALUE", at, 1, kAny16, help);
}

template <class Record>
RecordLayout record_of() {
    return {Record::code, Record::fields};
}

// ---- The table ----------------------------------------------------------------------------------

// Rows, not statements: NOLINTBEGIN(readability-function-size)

std::vector<Command> commands_of_ports_and_mode() {
    return {
        {{"mode"},
         record_of<mc::SetMode>(),
         "Multicast mode.",
         "snooping",
         {choice("MODE", mc::SetMode::mode, kModes, "the mode")}},
        {{"mode", "standard"},
         record_of<mc::SetStandardMode>(),
         "Multicast mode by the standard's number: the node refuses 1 and 2, every other number "
         "selects snooping.",
         "0",
         {number("NUMBER", mc::SetStandardMode::mode, 0, kAnyByte, "the standard's number")}},
        {{"fast-leave"},
         record_of<mc::SetPortLeaveMode>(),
         "Fast leave of one port.",
         "--port 2 on",
         {port(mc::SetPortLeaveMode::port, kUplink),
          on_off("STATE", mc::SetPortLeaveMode::mode, "whether a leave takes effect at once")}},
        {{"fast-leave", "all"},
         record_of<mc::SetFastLeaveMode>(),
         "Fast leave of the six user ports; the mode is shown to other processes.",
         "on",
         {on_off("STATE", mc::SetFastLeaveMode::mode, "whether a leave takes effect at once",
                 kLeaveModes)}},
        {{"fast-leave", "global"},
         record_of<mc::SetLeaveMode>(),
         "The core's global fast leave, kept for all seven ports.",
         "off",
         {on_off("STATE", mc::SetLeaveMode::mode, "whether a leave takes effect at once")}},
        {{"group-limit"},
         record_of<mc::SetGroupLimit>(),
         "How many groups a port may join.",
         "--port 1 32",
         {port(mc::SetGroupLimit::port),
          number("LIMIT", mc::SetGroupLimit::limit, 0, kAny16, "number of groups; 0: no limit")}},
        {{"group-limit", "standard"},
         record_of<mc::SetStandardGroupLimit>(),
         "The same by the standard's request.",
         "--port 1 32",
         {port(mc::SetStandardGroupLimit::port),
          number("LIMIT", mc::SetStandardGroupLimit::limit, 0, kAny16,
                 "number of groups; 0: no limit")}},
        {{"bandwidth-limit"},
         record_of<mc::SetBandwidthLimit>(),
         "How much multicast traffic a port may ask for.",
         "--port 1 250000",
         {port(mc::SetBandwidthLimit::port, kUplink),
          number("BANDWIDTH", mc::SetBandwidthLimit::bandwidth, 0, kAny32, "the limit"),
          with_default(on_off("--enable", mc::SetBandwidthLimit::enable, "whether the limit holds"),
                       1),
          with_default(number("--extra", mc::SetBandwidthLimit::extra, 0, kAny16,
                              "handed to the core as it is"),
                       0)}},
        {{"clear", "port"},
         record_of<mc::ClearPortParameters>(),
         "Puts one setting of a port back to its default.",
         "--port 2 group-limit",
         {port(mc::ClearPortParameters::port),
          choice("SETTING", mc::ClearPortParameters::type, kPortSettings, "the setting")}},
        {{"clear", "all"},
         record_of<mc::ClearAllParameters>(),
         "Puts the IGMP side back to its start-up defaults.",
         ""},
    };
}

std::vector<Command> commands_of_vlans() {
    return {
        {{"default-vlan"},
         record_of<mc::SetDefaultVlan>(),
         "Default multicast VLAN of IGMP and MLD.",
         "4000",
         {vlan("VLAN", mc::SetDefaultVlan::vlan, "the VLAN")}},
        {{"learning"},
         record_of<mc::SetVlanLearning>(),
         "VLAN learning.",
         "on",
         {on_off("STATE", mc::SetVlanLearning::enable, "whether VLANs are learnt")}},
        {{"signalling-vlan"},
         record_of<mc::SetSignallingVlan>(),
         "Signalling VLANs of a port, used instead of the rules in snooping mode.",
         "--port 1 --outer 46 --inner none --down 46",
         {port(mc::SetSignallingVlan::port, kLogicalUplink),
          with_default(
              number("--outer-tci", mc::SetSignallingVlan::outer_tci, 0, kAny16, "only traced"), 0),
          vlan("--outer", mc::SetSignallingVlan::outer_vid, "VLAN of IGMP that goes up", kNone),
          with_default(
              number("--inner-tci", mc::SetSignallingVlan::inner_tci, 0, kAny16, "only traced"), 0),
          with_default(vlan("--inner", mc::SetSignallingVlan::inner_vid,
                            "second VLAN, stored with the first", kNone),
                       kAny16),
          with_default(vlan("--down", mc::SetSignallingVlan::down_vid,
                            "VLAN of IGMP that goes down", kNoneOrUntagged),
                       kAny16)}},
        {{"vlan", "add"},
         record_of<mc::SetRule>(),
         "Adds a multicast VLAN rule to a port.",
         "--port 1 --mode translate --up-in 100 --up-out 4000 --down-in 4000 --down-out 100 "
         "--data-in 4000 --data-out 100",
         rule_to_add()},
        {{"vlan", "delete"},
         record_of<mc::DeleteRule>(),
         "Deletes a multicast VLAN rule of a port, on the IGMP side only.",
         "--port 1 --up-in 100 --data-in 4000",
         rule_to_delete()},
        {{"vlan", "web-set"},
         record_of<mc::SetWebRule>(),
         "Replaces all rules of a port by one; what goes up follows from what goes down.",
         "--port 1 --mode untag --down-in 4000 --data-in 4000",
         rule_of_web(),
         {},
         excluded_of_web()},
        {{"vlan", "service-set"},
         record_of<mc::SetPortVlanMode>(),
         "Builds a rule from a tag mode and VLANs and adds it to IGMP and MLD.",
         "--port 1 --mode translate --vlan 100 --second-vlan 4000",
         service_port()},
        {{"vlan", "service-remove"},
         record_of<mc::RemoveServicePort>(),
         "Builds a rule as service-set does and deletes it from IGMP and MLD.",
         "--port 1 --mode translate --vlan 100 --second-vlan 4000",
         service_port()},
        {{"core-vlan", "add"},
         record_of<mc::AddVlans>(),
         "Adds a VLAN, or a range of them, to the core's list.",
         "100 110",
         {vlan("FIRST", mc::AddVlans::first, "the first VLAN"),
          with_default(vlan("LAST", mc::AddVlans::last, "the last VLAN; left out: only the first"),
                       0)},
         {{"FIRST", "LAST"}}},
        {{"core-vlan", "delete"},
         record_of<mc::DeleteVlan>(),
         "Deletes a VLAN from the core's list.",
         "100",
         {vlan("VLAN", mc::DeleteVlan::vlan, "the VLAN")}},
        {{"core-vlan", "delete-all"},
         record_of<mc::DeleteAllVlans>(),
         "Empties the core's list of VLANs.",
         ""},
    };
}

std::vector<Command> commands_of_the_protocol() {
    return {
        {{"parameters"},
         record_of<mc::SetGlobalParameters>(),
         "The protocol's parameters, all five at once. Times are in the core's unit.",
         "--robustness 2 --query-interval 125 --response-interval 10 --last-member-interval 1 "
         "--last-member-count 2",
         {number("--robustness", mc::SetGlobalParameters::robustness, 1, kAnyByte,
                 "robustness variable"),
          number("--query-interval", mc::SetGlobalParameters::query_interval, 1, kAny16,
                 "between two general queries"),
          number("--response-interval", mc::SetGlobalParameters::max_resp_time, 1, kAny16,
                 "longest time to answer a query"),
          number("--last-member-interval", mc::SetGlobalParameters::last_member_interval, 1, kAny16,
                 "between two queries after a leave"),
          number("--last-member-count", mc::SetGlobalParameters::last_member_count, 1, kAny16,
                 "number of queries after a leave")}},
        {{"robustness"},
         record_of<mc::SetRobustness>(),
         "Robustness variable.",
         "2",
         {number("VALUE", mc::SetRobustness::robustness, 1, kAnyByte, "robustness variable")}},
        {{"query-interval"},
         record_of<mc::SetQueryInterval>(),
         "Time between two general queries.",
         "125",
         {interval(mc::SetQueryInterval::interval, "in the core's unit")}},
        {{"response-interval"},
         record_of<mc::SetResponseInterval>(),
         "Longest time to answer a query.",
         "10",
         {interval(mc::SetResponseInterval::interval, "in the core's unit")}},
        {{"last-member-interval"},
         record_of<mc::SetLastMemberInterval>(),
         "Time between two queries after a leave.",
         "1",
         {interval(mc::SetLastMemberInterval::interval, "in the core's unit")}},
        {{"last-member-count"},
         record_of<mc::SetLastMemberCount>(),
         "Number of queries after a leave.",
         "2",
         {interval(mc::SetLastMemberCount::count, "number of queries")}},
        {{"ageing"},
         record_of<mc::SetAgeing>(),
         "Ageing of IGMP memberships.",
         "on",
         {on_off("STATE", mc::SetAgeing::enable, "whether memberships age")}},
        {{"ageing-interval"},
         record_of<mc::SetAgeingInterval>(),
         "Ageing interval; all parameters go to the core again.",
         "260",
         {number("VALUE", mc::SetAgeingInterval::interval, 0, kAny32,
                 "in the core's unit; 0: no ageing")}},
        {{"version"},
         record_of<mc::SetVersion>(),
         "IGMP version.",
         "3",
         {number("VERSION", mc::SetVersion::version, 1, 3, "the version")}},
        {{"proxy-address"},
         record_of<mc::SetProxyAddress>(),
         "Source address of what the proxy sends.",
         "10.0.0.1",
         {{"ADDRESS",
           mc::SetProxyAddress::address,
           Kind::kAddress,
           0,
           0xDFFFFFFF,
           {},
           "no multicast address"}}},
        {{"ssm", "range"},
         record_of<mc::SetSsmRange>(),
         "Groups of source-specific multicast.",
         "232.0.0.0 232.255.255.255",
         {group("START", mc::SetSsmRange::start, "first group", kNoAddress),
          group("END", mc::SetSsmRange::end, "last group", kNoAddress)},
         {{"START", "END"}}},
        {{"ssm", "map"},
         record_of<mc::SetSsmMap>(),
         "Mapping of groups to sources: words whose meaning is the core's. The sixth word of the "
         "record is not used.",
         "--word0 232.1.1.1 --word1 10.0.0.1",
         {word("--word0", mc::SetSsmMap::word0, "first word"),
          word("--word1", mc::SetSsmMap::word1, "second word"),
          word("--word2", mc::SetSsmMap::word2, "third word"),
          word("--word3", mc::SetSsmMap::word3, "fourth word"),
          word("--word4", mc::SetSsmMap::word4, "fifth word")}},
        {{"table-return"},
         record_of<mc::SetTableReturn>(),
         "Whether the switch table's failures are reported to the core.",
         "on",
         {on_off("STATE", mc::SetTableReturn::value, "whether failures are reported")}},
        {{"mld", "ageing"},
         record_of<mc::SetMldAgeing>(),
         "Ageing of MLD memberships.",
         "on",
         {on_off("STATE", mc::SetMldAgeing::enable, "whether memberships age")}},
        {{"mld", "debug"},
         record_of<mc::SetMldDebug>(),
         "The core's traces of MLD.",
         "on --port 1",
         {on_off("STATE", mc::SetMldDebug::value, "whether to trace"),
          with_default(port(mc::SetMldDebug::port, kUplinkOrAll), 255)}},
        {{"mld", "debug-ports"},
         record_of<mc::SetMldPortDebug>(),
         "The core's traces of MLD packets, on all ports or none.",
         "on",
         {on_off("STATE", mc::SetMldPortDebug::value, "whether to trace")}},
    };
}

std::vector<Command> commands_of_authorisation() {
    return {
        {{"auth", "add"},
         record_of<mc::AddStandardGroups>(),
         "Adds a range of groups that a port may join and switches range authorisation on.",
         "--port 1 --start 239.1.1.0 --end 239.1.1.255 --vlan 4000",
         group_range(),
         {{"--start", "--end"}}},
        {{"auth", "add-only"},
         record_of<mc::AddGroups>(),
         "Adds a range of groups and leaves range authorisation as it is.",
         "--port 1 --start 239.1.1.0 --end 239.1.1.255 --vlan 4000",
         group_range(),
         {{"--start", "--end"}}},
        {{"auth", "delete"},
         record_of<mc::DeleteStandardGroups>(),
         "Deletes a range of groups of a port.",
         "--port 1 --start 239.1.1.0 --end 239.1.1.255 --vlan 4000",
         group_range(),
         {{"--start", "--end"}}},
        {{"auth", "clear"},
         record_of<mc::ClearStandardGroups>(),
         "Deletes all ranges of a port.",
         "--port 1",
         {port(mc::ClearStandardGroups::port, kUplink)}},
        {{"auth", "range"},
         record_of<mc::SetRangeAuthorisation>(),
         "Range authorisation of a port.",
         "--port 1 off",
         {port(mc::SetRangeAuthorisation::port, kUplink),
          on_off("STATE", mc::SetRangeAuthorisation::enable,
                 "whether only authorised groups are joined")}},
        {{"auth", "private", "add"},
         record_of<mc::AddPrivateGroup>(),
         "Adds a group to the table without ports.",
         "239.1.1.1 --vlan 4000",
         private_group()},
        {{"auth", "private", "delete"},
         record_of<mc::DeletePrivateGroup>(),
         "Deletes a group from the table without ports.",
         "239.1.1.1 --vlan 4000",
         private_group()},
        {{"auth", "private", "clear"},
         record_of<mc::ClearPrivateGroups>(),
         "Empties the table without ports.",
         ""},
        {{"control-list"},
         record_of<mc::SetControlList>(),
         "Changes the control list of a port, address by address: long ranges keep the node busy.",
         "add --port 1 --start 239.1.1.0 --end 239.1.1.15 --vlan 4000",
         {choice("ACTION", mc::SetControlList::add_delete, kListActions,
                 "what to do with each address"),
          port(mc::SetControlList::port),
          group("--start", mc::SetControlList::start, "first group"),
          same_as(group("--end", mc::SetControlList::end, "last group"), "--start"),
          vlan("--vlan", mc::SetControlList::vlan, "VLAN of the groups")},
         {{"--start", "--end"}}},
        {{"oam-control"},
         record_of<mc::SetOamControl>(),
         "Changes the control list of a port as OAM does; the record counts ports from 1.",
         "add --port 1 --vlan 4000 --group 239.1.1.1",
         {choice("ACTION", mc::SetOamControl::add_delete, kOamActions, "what to do"),
          from_one(port(mc::SetOamControl::port)),
          vlan("--vlan", mc::SetOamControl::vlan, "VLAN of the group"),
          group("--group", mc::SetOamControl::word, "the group"),
          with_default(
              number("--first-byte", mc::SetOamControl::byte_a, 0, kAnyByte, "handed to the core"),
              0),
          with_default(
              number("--second-byte", mc::SetOamControl::byte_b, 0, kAnyByte, "handed to the core"),
              0)}},
    };
}

std::vector<Command> commands_of_diagnostics() {
    Field category = choice("CATEGORY", mc::SwitchDebugMask::offset, kCategories, "what to print");
    category.least = 1;
    category.most = 7;
    return {
        {{"debug"},
         record_of<mc::SwitchDebugMask>(),
         "Diagnostics of the library. On switches a category that is on already off.",
         "errors",
         {category,
          with_default(on_off("STATE", mc::SwitchDebugMask::enable, "on toggles, off switches off"),
                       1)}},
        {{"debug", "cli"},
         record_of<mc::DebugFromCli>(),
         "Report level of the library (selector adapt: 0 silent, 1 everything; without a "
         "sub-selector ageing goes off too), or switches of the core (sub-selector igmp).",
         "1 --selector adapt --sub-selector 1",
         {number("VALUE", mc::DebugFromCli::value, 0, kAny32, "the value"),
          number("--selector", mc::DebugFromCli::selector, 0, kAnyByte, "which switch",
                 kAdaptSelector),
          with_default(number("--sub-selector", mc::DebugFromCli::sub_selector, 0, kAnyByte,
                              "whose switch", kSubSelectors),
                       0)}},
        {{"debug", "warnings"},
         record_of<mc::SetWarnings>(),
         "Warnings of the core.",
         "on",
         {on_off("STATE", mc::SetWarnings::enable, "whether to print them")}},
        {{"debug", "vlan"},
         record_of<mc::SetVlanDebug>(),
         "Traces a VLAN in the core.",
         "4000 1",
         vlan_debug()},
        {{"debug", "no-vlan"},
         record_of<mc::UnsetVlanDebug>(),
         "Stops tracing a VLAN in the core.",
         "4000 1",
         vlan_debug()},
        {{"debug", "level"},
         record_of<mc::SetDebugLevel>(),
         "Switches a trace level of the core on.",
         "3",
         {number("LEVEL", mc::SetDebugLevel::level, 0, kAny32, "the level")}},
        {{"debug", "no-level"},
         record_of<mc::UnsetDebugLevel>(),
         "Switches a trace level of the core off.",
         "3",
         {number("LEVEL", mc::UnsetDebugLevel::level, 0, kAny32, "the level")}},
        {{"debug", "packets"},
         record_of<mc::SetPacketDebug>(),
         "Traces the packets of a port in the core.",
         "0x1 --port 2",
         {number("SWITCHES", mc::SetPacketDebug::which, 0, kAny32, "switches of the core"),
          with_default(port(mc::SetPacketDebug::port, kDebugPorts), 255)}},
        {{"debug", "other"},
         record_of<mc::SetOtherDebug>(),
         "Switches further traces of the core on.",
         "0x10",
         {number("SWITCHES", mc::SetOtherDebug::which, 0, kAny32, "switches of the core")}},
        {{"debug", "stop"},
         record_of<mc::UnsetDebug>(),
         "Switches traces of the core off, those of packets always.",
         "everything",
         {with_default(number("SWITCHES", mc::UnsetDebug::which, 0, kAny32, "switches of the core",
                              kEverything),
                       65535)}},
        {{"memory", "reset"},
         record_of<mc::ResetMemoryStatistics>(),
         "Resets the memory statistics.",
         ""},
        {{"memory", "range"},
         record_of<mc::SetMemoryTypeRange>(),
         "Which memory types show memory prints.",
         "0 4",
         {number("FIRST", mc::SetMemoryTypeRange::first, 0, kAny32, "the first type"),
          number("LAST", mc::SetMemoryTypeRange::last, 0, kAny32, "the last type")},
         {{"FIRST", "LAST"}}},
    };
}

std::vector<Command> commands_that_show() {
    return {
        {{"show", "config"},
         record_of<mc::ShowConfiguration>(),
         "Configuration and version of the library.",
         ""},
        {{"show", "groups"}, record_of<mc::ShowAllGroups>(), "All groups.", ""},
        {{"show", "group"},
         record_of<mc::ShowGroup>(),
         "One group.",
         "239.1.1.1",
         {group("GROUP", mc::ShowGroup::group, "the group")}},
        {{"show", "proxy-groups"},
         record_of<mc::ShowProxyGroups>(),
         "All groups of the proxy.",
         ""},
        {{"show", "proxy-group"},
         record_of<mc::ShowProxyGroup>(),
         "One group of the proxy.",
         "239.1.1.1",
         {group("GROUP", mc::ShowProxyGroup::group, "the group")}},
        {{"show", "vlan"},
         record_of<mc::ShowVlan>(),
         "VLANs and their groups.",
         "--vlan 4000 --port 1",
         vlan_display()},
        {{"show", "standard-vlan"},
         record_of<mc::ShowStandardVlan>(),
         "The same by the standard's request.",
         "--vlan 4000 --port 1",
         vlan_display()},
        {{"show", "vlan-instances"},
         record_of<mc::ShowVlanInstances>(),
         "VLAN instances of the core.",
         ""},
        {{"show", "igmpv3"}, record_of<mc::ShowIgmpv3Globals>(), "Globals of IGMPv3.", ""},
        {{"show", "statistics"}, record_of<mc::ShowPacketStatistics>(), "Packet statistics.", ""},
        {{"show", "interfaces"}, record_of<mc::ShowInterfaces>(), "The list of interfaces.", ""},
        {{"show", "timers"}, record_of<mc::ShowTimers>(), "Timers of the core.", ""},
        {{"show", "auth-groups"}, record_of<mc::ShowAuthorisedGroups>(), "Authorised groups.", ""},
        {{"show", "auth-group"},
         record_of<mc::ShowPortAuthorisedGroup>(),
         "One authorised group of a port.",
         "239.1.1.1 --port 1",
         {group("GROUP", mc::ShowPortAuthorisedGroup::group, "the group"),
          port(mc::ShowPortAuthorisedGroup::port, kUplink)}},
        {{"show", "port-config"},
         record_of<mc::ShowPortConfiguration>(),
         "Configuration of a port.",
         "--port 1",
         {port(mc::ShowPortConfiguration::port, kUplink)}},
        {{"show", "port-status"},
         record_of<mc::ShowPortStatus>(),
         "Status of a port.",
         "--port 1",
         {port(mc::ShowPortStatus::port, kUplink)}},
        {{"show", "mld"}, record_of<mc::ShowMld>(), "State and interfaces of MLD.", ""},
        {{"show", "memory"}, record_of<mc::ShowMemory>(), "Memory by type.", ""},
        {{"show", "memory-type"},
         record_of<mc::ShowMemoryType>(),
         "Memory of one type.",
         "2",
         {number("TYPE", mc::ShowMemoryType::type, 0, kAny32, "the type")}},
        {{"export", "status"},
         record_of<mc::ExportPortStatus>(),
         "Exports the status of a port to shared memory.",
         "--port 1",
         {port(mc::ExportPortStatus::port, kUplink)}},
        {{"export", "groups"},
         record_of<mc::ExportGroups>(),
         "Exports the groups of all ports to shared memory.",
         ""},
        {{"test", "frame"},
         record_of<mc::InjectTestFrame>(),
         "Handles the built-in report as if it had come in on the port.",
         "--port 1",
         {port(mc::InjectTestFrame::port, kUplink)}},
        {{"test", "report"},
         record_of<mc::TestReport>(),
         "Sends a test report.",
         "--port 1 --vlan 4000",
         port_test()},
        {{"test", "leave"},
         record_of<mc::TestLeave>(),
         "Sends a test leave.",
         "--port 1 --vlan 4000",
         port_test()},
        {{"test", "uplink"},
         record_of<mc::SetTestUplink>(),
         "Treats a user port as the uplink.",
         "2",
         {port(mc::SetTestUplink::port, kTestUplinks, "the port", "PORT")}},
    };
}

// NOLINTEND(readability-function-size)

std::vector<Command> all_commands() {
    std::vector<Command> all;
    for (auto* part : {commands_of_ports_and_mode, commands_of_vlans, commands_of_the_protocol,
                       commands_of_authorisation, commands_of_diagnostics, commands_that_show}) {
        std::ranges::move(part(), std::back_inserter(all));
    }
    return all;
}

}  // namespace

std::uint32_t Command::record_size() const {
    if (record.fields.empty()) return mc::kRecordHeader;
    const mc::FieldPlace& last = record.fields.back();
    return last.offset + last.width;
}

const std::vector<Command>& table() {
    static const std::vector<Command> commands = all_commands();
    return commands;
}

}  // namespace commands
