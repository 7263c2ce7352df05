// The commands, a block each. Fields stand in the order of the reference; offsets are those at
// which the dispatcher reads. Bytes between the fields are sent as 0.
#include "tools/command_table.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace commands {
namespace {

constexpr std::uint32_t kAnyByte = 0xFF;
constexpr std::uint32_t kAny16 = 0xFFFF;
constexpr std::uint32_t kAny32 = 0xFFFFFFFF;
constexpr std::uint32_t kHeader = 8;

// ---- Words that stand for numbers ---------------------------------------------------------------

constexpr std::array<Choice, 2> kOnOff{{{"on", 1}, {"off", 0}}};
constexpr std::array<Choice, 3> kModes{{{"snooping", 1}, {"control", 3}, {"proxy", 100}}};
// The receiver compares with 2 only; 1 is what the shared status holds from the start.
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

constexpr std::array<Choice, 2> kNoneOrUntagged{{{"none", 65535}, {"untagged", 0}}};
constexpr std::array<Choice, 1> kUntagged{{{"untagged", 0}}};
constexpr std::array<Choice, 1> kAllVlans{{{"all", 0}}};
constexpr std::array<Choice, 1> kNoVlan{{{"none", 0}}};
constexpr std::array<Choice, 1> kNoAddress{{{"none", 0}}};

// ---- Fields -------------------------------------------------------------------------------------

Field number(std::string_view name, std::uint32_t offset, std::uint32_t width, std::uint32_t least,
             std::uint32_t most, std::string_view help, std::span<const Choice> words = {}) {
    return {name, offset, width, Kind::kNumber, least, most, words, help};
}

// The numbers of a choice count as its words; a wider range is given by the caller.
Field choice(std::string_view name, std::uint32_t offset, std::uint32_t width,
             std::span<const Choice> words, std::string_view help) {
    return {name, offset, width, Kind::kChoice, 1, 0, words, help};
}

Field on_off(std::string_view name, std::uint32_t offset, std::uint32_t width,
             std::string_view help, std::span<const Choice> words = kOnOff) {
    return {name, offset, width, Kind::kSwitch, 1, 0, words, help};
}

// A user port, and what the words add.
Field port(std::uint32_t offset, std::uint32_t width, std::span<const Choice> words = {},
           std::string_view help = "the port", std::string_view name = "--port") {
    return {name, offset, width, Kind::kPort, 0, 5, words, help};
}

Field vlan(std::string_view name, std::uint32_t offset, std::string_view help,
           std::span<const Choice> words = {}, std::uint32_t width = 2) {
    return {name, offset, width, Kind::kVlan, 1, 4094, words, help};
}

Field group(std::string_view name, std::uint32_t offset, std::string_view help,
            std::span<const Choice> words = {}) {
    return {name, offset, 4, Kind::kGroup, 0xE0000000, 0xEFFFFFFF, words, help};
}

Field word(std::string_view name, std::uint32_t offset, std::string_view help) {
    return {name, offset, 4, Kind::kWord, 0, kAny32, {}, help, 0};
}

Field tag_mode(std::string_view name, std::uint32_t offset, std::string_view help,
               std::string_view like = {}) {
    return {name, offset, 1, Kind::kChoice, 0, 3, kTagModes, help, std::nullopt, like};
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

constexpr std::uint32_t kRuleSize = 28;

std::vector<Field> rule_to_add() {
    return {
        port(8, 1, kUplink, "the port that gets the rule"),
        tag_mode("--mode", 9, "tag mode of what goes up"),
        tag_mode("--down-mode", 14, "tag mode of IGMP that goes down", "--mode"),
        tag_mode("--data-mode", 20, "tag mode of data that goes down", "--mode"),
        with_default(vlan("--up-in", 10, "VLAN of IGMP as the port receives it", kNoneOrUntagged),
                     kAny16),
        with_default(vlan("--up-out", 12, "VLAN of IGMP as the uplink sends it", kNoneOrUntagged),
                     kAny16),
        with_default(
            vlan("--down-in", 16, "VLAN of IGMP as the uplink receives it", kNoneOrUntagged),
            kAny16),
        with_default(vlan("--down-out", 18, "VLAN of IGMP as the port sends it", kNoneOrUntagged),
                     kAny16),
        vlan("--data-in", 22, "VLAN of the data as the uplink receives it", kUntagged),
        with_default(
            vlan("--data-out", 24, "VLAN of the data as the port sends it", kNoneOrUntagged),
            kAny16),
    };
}

std::vector<Field> rule_to_delete() {
    return {
        port(8, 1, kUplink, "the port that has the rule"),
        vlan("--up-in", 10, "the rule to delete is the first one with this VLAN", kNoneOrUntagged),
        vlan("--data-in", 22, "leaves the core's list when no other rule needs it", kUntagged),
        with_default(tag_mode("--mode", 9, "decides what fills --up-in none, as in vlan add"), 1),
        with_default(vlan("--down-in", 16, "fills --up-in none in mode untag", kNoneOrUntagged),
                     kAny16),
        with_default(
            vlan("--down-out", 18, "fills --up-in none in mode translate", kNoneOrUntagged),
            kAny16),
    };
}

std::vector<Field> rule_of_web() {
    return {
        port(8, 1, {}, "the port whose rules are replaced"),
        tag_mode("--mode", 14, "tag mode of IGMP"),
        tag_mode("--data-mode", 20, "tag mode of data that goes down", "--mode"),
        vlan("--down-in", 16, "VLAN of IGMP at the uplink", kNoneOrUntagged),
        same_as(vlan("--down-out", 18, "VLAN of IGMP at the port", kNoneOrUntagged), "--down-in"),
        vlan("--data-in", 22, "VLAN of the data as the uplink receives it", kUntagged),
        same_as(vlan("--data-out", 24, "VLAN of the data as the port sends it, in mode translate",
                     kNoneOrUntagged),
                "--data-in"),
    };
}

std::vector<Field> service_port() {
    return {
        port(8, 4, kUplink),
        {"--mode", 12, 4, Kind::kChoice, 0, 3, kTagModes, "tag mode of the rule; 3 acts as untag"},
        vlan("--vlan", 16, "VLAN at the uplink; in mode translate, VLAN at the port", {}, 4),
        same_as(vlan("--second-vlan", 20, "VLAN at the uplink, in mode translate", {}, 4),
                "--vlan"),
    };
}

std::vector<Field> group_range() {
    return {
        port(8, 1, kUplink),
        group("--start", 9, "first group"),
        same_as(group("--end", 13, "last group"), "--start"),
        with_default(number("--bandwidth", 17, 4, 0, kAny32, "imputed bandwidth, bytes per second"),
                     0),
        vlan("--vlan", 21, "VLAN of the groups"),
    };
}

std::vector<Field> private_group() {
    return {
        group("GROUP", 8, "the group"),
        vlan("--vlan", 12, "VLAN of the group"),
        with_default(number("--extra", 14, 1, 0, kAnyByte, "not used by the receiver"), 0),
    };
}

std::vector<Field> vlan_display() {
    return {
        with_default(vlan("--vlan", 8, "the VLAN", kAllVlans), 0),
        with_default(port(10, 4, kUplinkOrAll), 255),
        with_default(number("--flag", 14, 2, 0, kAny16, "handed to the core as it is"), 0),
    };
}

std::vector<Field> port_test() {
    return {port(8, 4), with_default(vlan("--vlan", 12, "the VLAN", kNoVlan), 0)};
}

std::vector<Field> vlan_debug() {
    return {vlan("VLAN", 8, "the VLAN"),
            number("SELECTOR", 10, 1, 1, 7, "what to trace, by the core's numbers")};
}

Field interval(std::string_view help) { return number("VALUE", 8, 2, 1, kAny16, help); }

const std::vector<Order> kStartToEnd = {{"--start", "--end"}};

// ---- The table ----------------------------------------------------------------------------------

std::vector<Command> commands_of_ports_and_mode() {
    return {
        {{"mode"}, 1, "Multicast mode.", "snooping", {choice("MODE", 8, 1, kModes, "the mode")}},
        {{"mode", "standard"},
         52,
         "Multicast mode by the standard's number: the node refuses 1 and 2, every other number "
         "selects snooping.",
         "0",
         {number("NUMBER", 8, 1, 0, kAnyByte, "the standard's number")}},
        {{"fast-leave"},
         2,
         "Fast leave of one port.",
         "--port 2 on",
         {port(8, 1, kUplink), on_off("STATE", 9, 1, "whether a leave takes effect at once")}},
        {{"fast-leave", "all"},
         83,
         "Fast leave of the six user ports; the mode is shown to other processes.",
         "on",
         {on_off("STATE", 8, 4, "whether a leave takes effect at once", kLeaveModes)}},
        {{"fast-leave", "global"},
         20,
         "The core's global fast leave, kept for all seven ports.",
         "off",
         {on_off("STATE", 8, 1, "whether a leave takes effect at once")}},
        {{"group-limit"},
         3,
         "How many groups a port may join.",
         "--port 1 32",
         {port(8, 1), number("LIMIT", 9, 2, 0, kAny16, "number of groups; 0: no limit")}},
        {{"group-limit", "standard"},
         56,
         "The same by the standard's request.",
         "--port 1 32",
         {port(8, 1), number("LIMIT", 9, 2, 0, kAny16, "number of groups; 0: no limit")}},
        {{"bandwidth-limit"},
         57,
         "How much multicast traffic a port may ask for.",
         "--port 1 250000",
         {port(8, 1, kUplink), number("BANDWIDTH", 10, 4, 0, kAny32, "the limit"),
          with_default(on_off("--enable", 9, 1, "whether the limit holds"), 1),
          with_default(number("--extra", 14, 2, 0, kAny16, "handed to the core as it is"), 0)}},
        {{"clear", "port"},
         12,
         "Puts one setting of a port back to its default.",
         "--port 2 group-limit",
         {port(8, 1), choice("SETTING", 9, 1, kPortSettings, "the setting")}},
        {{"clear", "all"}, 64, "Puts the IGMP side back to its start-up defaults.", ""},
    };
}

std::vector<Command> commands_of_vlans() {
    return {
        {{"default-vlan"},
         4,
         "Default multicast VLAN of IGMP and MLD.",
         "4000",
         {vlan("VLAN", 8, "the VLAN")}},
        {{"learning"},
         5,
         "VLAN learning.",
         "on",
         {on_off("STATE", 8, 1, "whether VLANs are learnt")}},
        {{"signalling-vlan"},
         13,
         "Signalling VLANs of a port, used instead of the rules in snooping mode.",
         "--port 1 --outer 46 --inner none --down 46",
         {port(8, 1, kLogicalUplink),
          with_default(number("--outer-tci", 9, 2, 0, kAny16, "only traced"), 0),
          vlan("--outer", 11, "VLAN of IGMP that goes up", kNoneOrUntagged),
          with_default(number("--inner-tci", 13, 2, 0, kAny16, "only traced"), 0),
          with_default(vlan("--inner", 15, "second VLAN, stored with the first", kNoneOrUntagged),
                       kAny16),
          with_default(vlan("--down", 17, "VLAN of IGMP that goes down", kNoneOrUntagged),
                       kAny16)}},
        {{"vlan", "add"},
         50,
         "Adds a multicast VLAN rule to a port.",
         "--port 1 --mode translate --up-in 100 --up-out 4000 --down-in 4000 --down-out 100 "
         "--data-in 4000 --data-out 100",
         rule_to_add(),
         {},
         kRuleSize},
        {{"vlan", "delete"},
         51,
         "Deletes a multicast VLAN rule of a port, on the IGMP side only.",
         "--port 1 --up-in 100 --data-in 4000",
         rule_to_delete(),
         {},
         kRuleSize},
        {{"vlan", "web-set"},
         110,
         "Replaces all rules of a port by one; what goes up follows from what goes down.",
         "--port 1 --mode untag --down-in 4000 --data-in 4000",
         rule_of_web(),
         {},
         kRuleSize},
        {{"vlan", "service-set"},
         17,
         "Builds a rule from a tag mode and VLANs and adds it to IGMP and MLD.",
         "--port 1 --mode translate --vlan 100 --second-vlan 4000",
         service_port()},
        {{"vlan", "service-remove"},
         16,
         "Builds a rule as service-set does and deletes it from IGMP and MLD.",
         "--port 1 --mode translate --vlan 100 --second-vlan 4000",
         service_port()},
        {{"core-vlan", "add"},
         32,
         "Adds a VLAN, or a range of them, to the core's list.",
         "100 110",
         {vlan("FIRST", 8, "the first VLAN"),
          with_default(vlan("LAST", 10, "the last VLAN; left out: only the first"), 0)},
         {{"FIRST", "LAST"}}},
        {{"core-vlan", "delete"},
         33,
         "Deletes a VLAN from the core's list.",
         "100",
         {vlan("VLAN", 8, "the VLAN")}},
        {{"core-vlan", "delete-all"}, 34, "Empties the core's list of VLANs.", ""},
    };
}

std::vector<Command> commands_of_the_protocol() {
    return {
        {{"parameters"},
         14,
         "The protocol's parameters, all five at once. Times are in the core's unit.",
         "--robustness 2 --query-interval 125 --response-interval 10 --last-member-interval 1 "
         "--last-member-count 2",
         {number("--robustness", 9, 1, 1, kAnyByte, "robustness variable"),
          number("--query-interval", 16, 2, 1, kAny16, "between two general queries"),
          number("--response-interval", 10, 2, 1, kAny16, "longest time to answer a query"),
          number("--last-member-interval", 12, 2, 1, kAny16, "between two queries after a leave"),
          number("--last-member-count", 14, 2, 1, kAny16, "number of queries after a leave")}},
        {{"robustness"},
         97,
         "Robustness variable.",
         "2",
         {number("VALUE", 8, 1, 1, kAnyByte, "robustness variable")}},
        {{"query-interval"},
         98,
         "Time between two general queries.",
         "125",
         {interval("in the core's unit")}},
        {{"response-interval"},
         99,
         "Longest time to answer a query.",
         "10",
         {interval("in the core's unit")}},
        {{"last-member-interval"},
         100,
         "Time between two queries after a leave.",
         "1",
         {interval("in the core's unit")}},
        {{"last-member-count"},
         101,
         "Number of queries after a leave.",
         "2",
         {interval("number of queries")}},
        {{"ageing"},
         102,
         "Ageing of IGMP memberships.",
         "on",
         {on_off("STATE", 8, 1, "whether memberships age")}},
        {{"ageing-interval"},
         22,
         "Ageing interval; all parameters go to the core again.",
         "260",
         {number("VALUE", 8, 4, 0, kAny32, "in the core's unit; 0: no ageing")}},
        {{"version"}, 27, "IGMP version.", "3", {number("VERSION", 8, 1, 1, 3, "the version")}},
        {{"proxy-address"},
         28,
         "Source address of what the proxy sends.",
         "10.0.0.1",
         {{"ADDRESS", 8, 4, Kind::kAddress, 0, 0xDFFFFFFF, {}, "no multicast address"}}},
        {{"ssm", "range"},
         29,
         "Groups of source-specific multicast.",
         "232.0.0.0 232.255.255.255",
         {group("START", 8, "first group", kNoAddress), group("END", 12, "last group", kNoAddress)},
         {{"START", "END"}}},
        {{"ssm", "map"},
         30,
         "Mapping of groups to sources: words whose meaning is the core's. The sixth word of the "
         "record is not used.",
         "--word0 232.1.1.1 --word1 10.0.0.1",
         {word("--word0", 8, "first word"), word("--word1", 12, "second word"),
          word("--word2", 16, "third word"), word("--word3", 20, "fourth word"),
          word("--word4", 24, "fifth word")},
         {},
         32},
        {{"table-return"},
         114,
         "Whether the switch table's failures are reported to the core.",
         "on",
         {on_off("STATE", 8, 4, "whether failures are reported")}},
        {{"mld", "ageing"},
         115,
         "Ageing of MLD memberships.",
         "on",
         {on_off("STATE", 8, 1, "whether memberships age")}},
        {{"mld", "debug"},
         113,
         "The core's traces of MLD.",
         "on --port 1",
         {on_off("STATE", 8, 4, "whether to trace"), with_default(port(12, 4, kUplinkOrAll), 255)}},
        {{"mld", "debug-ports"},
         112,
         "The core's traces of MLD packets, on all ports or none.",
         "on",
         {on_off("STATE", 8, 4, "whether to trace")}},
    };
}

std::vector<Command> commands_of_authorisation() {
    return {
        {{"auth", "add"},
         53,
         "Adds a range of groups that a port may join and switches range authorisation on.",
         "--port 1 --start 239.1.1.0 --end 239.1.1.255 --vlan 4000",
         group_range(),
         kStartToEnd},
        {{"auth", "add-only"},
         88,
         "Adds a range of groups and leaves range authorisation as it is.",
         "--port 1 --start 239.1.1.0 --end 239.1.1.255 --vlan 4000",
         group_range(),
         kStartToEnd},
        {{"auth", "delete"},
         54,
         "Deletes a range of groups of a port.",
         "--port 1 --start 239.1.1.0 --end 239.1.1.255 --vlan 4000",
         group_range(),
         kStartToEnd},
        {{"auth", "clear"}, 55, "Deletes all ranges of a port.", "--port 1", {port(8, 1, kUplink)}},
        {{"auth", "range"},
         87,
         "Range authorisation of a port.",
         "--port 1 off",
         {port(8, 2, kUplink),
          on_off("STATE", 10, 1, "whether only authorised groups are joined")}},
        {{"auth", "private", "add"},
         6,
         "Adds a group to the table without ports.",
         "239.1.1.1 --vlan 4000",
         private_group()},
        {{"auth", "private", "delete"},
         7,
         "Deletes a group from the table without ports.",
         "239.1.1.1 --vlan 4000",
         private_group()},
        {{"auth", "private", "clear"}, 8, "Empties the table without ports.", ""},
        {{"control-list"},
         9,
         "Changes the control list of a port, address by address: long ranges keep the node busy.",
         "add --port 1 --start 239.1.1.0 --end 239.1.1.15 --vlan 4000",
         {choice("ACTION", 10, 1, kListActions, "what to do with each address"), port(8, 2),
          group("--start", 13, "first group"), same_as(group("--end", 17, "last group"), "--start"),
          vlan("--vlan", 11, "VLAN of the groups")},
         kStartToEnd},
        {{"oam-control"},
         84,
         "Changes the control list of a port as OAM does; the record counts ports from 1.",
         "add --port 1 --vlan 4000 --group 239.1.1.1",
         {choice("ACTION", 8, 1, kOamActions, "what to do"), from_one(port(9, 2)),
          vlan("--vlan", 11, "VLAN of the group"), group("--group", 13, "the group"),
          with_default(number("--first-byte", 17, 1, 0, kAnyByte, "handed to the core"), 0),
          with_default(number("--second-byte", 18, 1, 0, kAnyByte, "handed to the core"), 0)}},
    };
}

std::vector<Command> commands_of_diagnostics() {
    Field category = choice("CATEGORY", 8, 4, kCategories, "what to print");
    category.least = 1;
    category.most = 7;
    return {
        {{"debug"},
         86,
         "Diagnostics of the library. On switches a category that is on already off.",
         "errors",
         {category, with_default(on_off("STATE", 12, 4, "on toggles, off switches off"), 1)}},
        {{"debug", "cli"},
         37,
         "Report level of the library (selector adapt: 0 silent, 1 everything; without a "
         "sub-selector ageing goes off too), or switches of the core (sub-selector igmp).",
         "1 --selector adapt --sub-selector 1",
         {number("VALUE", 8, 4, 0, kAny32, "the value"),
          number("--selector", 12, 1, 0, kAnyByte, "which switch", kAdaptSelector),
          with_default(number("--sub-selector", 13, 1, 0, kAnyByte, "whose switch", kSubSelectors),
                       0)}},
        {{"debug", "warnings"},
         75,
         "Warnings of the core.",
         "on",
         {on_off("STATE", 8, 1, "whether to print them")}},
        {{"debug", "vlan"}, 89, "Traces a VLAN in the core.", "4000 1", vlan_debug()},
        {{"debug", "no-vlan"}, 90, "Stops tracing a VLAN in the core.", "4000 1", vlan_debug()},
        {{"debug", "level"},
         91,
         "Switches a trace level of the core on.",
         "3",
         {number("LEVEL", 8, 4, 0, kAny32, "the level")}},
        {{"debug", "no-level"},
         92,
         "Switches a trace level of the core off.",
         "3",
         {number("LEVEL", 8, 4, 0, kAny32, "the level")}},
        {{"debug", "packets"},
         93,
         "Traces the packets of a port in the core.",
         "0x1 --port 2",
         {number("SWITCHES", 8, 4, 0, kAny32, "switches of the core"),
          with_default(port(12, 2, kDebugPorts), 255)}},
        {{"debug", "other"},
         94,
         "Switches further traces of the core on.",
         "0x10",
         {number("SWITCHES", 8, 4, 0, kAny32, "switches of the core")}},
        {{"debug", "stop"},
         95,
         "Switches traces of the core off, those of packets always.",
         "everything",
         {with_default(number("SWITCHES", 8, 4, 0, kAny32, "switches of the core", kEverything),
                       65535)}},
        {{"memory", "reset"}, 104, "Resets the memory statistics.", ""},
        {{"memory", "range"},
         106,
         "Which memory types show memory prints.",
         "0 4",
         {number("FIRST", 8, 4, 0, kAny32, "the first type"),
          number("LAST", 12, 4, 0, kAny32, "the last type")},
         {{"FIRST", "LAST"}}},
    };
}

std::vector<Command> commands_that_show() {
    return {
        {{"show", "config"}, 39, "Configuration and version of the library.", ""},
        {{"show", "groups"}, 35, "All groups.", ""},
        {{"show", "group"}, 36, "One group.", "239.1.1.1", {group("GROUP", 8, "the group")}},
        {{"show", "proxy-groups"}, 67, "All groups of the proxy.", ""},
        {{"show", "proxy-group"},
         68,
         "One group of the proxy.",
         "239.1.1.1",
         {group("GROUP", 8, "the group")}},
        {{"show", "vlan"}, 96, "VLANs and their groups.", "--vlan 4000 --port 1", vlan_display()},
        {{"show", "standard-vlan"},
         66,
         "The same by the standard's request.",
         "--vlan 4000 --port 1",
         vlan_display()},
        {{"show", "vlan-instances"}, 69, "VLAN instances of the core.", ""},
        {{"show", "igmpv3"}, 70, "Globals of IGMPv3.", ""},
        {{"show", "statistics"}, 71, "Packet statistics.", ""},
        {{"show", "interfaces"}, 72, "The list of interfaces.", ""},
        {{"show", "timers"}, 73, "Timers of the core.", ""},
        {{"show", "auth-groups"}, 74, "Authorised groups.", ""},
        {{"show", "auth-group"},
         82,
         "One authorised group of a port.",
         "239.1.1.1 --port 1",
         {group("GROUP", 9, "the group"), port(8, 1, kUplink)}},
        {{"show", "port-config"},
         80,
         "Configuration of a port.",
         "--port 1",
         {port(8, 1, kUplink)}},
        {{"show", "port-status"}, 81, "Status of a port.", "--port 1", {port(8, 1, kUplink)}},
        {{"show", "mld"}, 111, "State and interfaces of MLD.", ""},
        {{"show", "memory"}, 103, "Memory by type.", ""},
        {{"show", "memory-type"},
         105,
         "Memory of one type.",
         "2",
         {number("TYPE", 8, 4, 0, kAny32, "the type")}},
        {{"export", "status"},
         78,
         "Exports the status of a port to shared memory.",
         "--port 1",
         {port(8, 1, kUplink)}},
        {{"export", "groups"}, 79, "Exports the groups of all ports to shared memory.", ""},
        {{"test", "frame"},
         40,
         "Handles the built-in report as if it had come in on the port.",
         "--port 1",
         {port(8, 1, kUplink)}},
        {{"test", "report"}, 76, "Sends a test report.", "--port 1 --vlan 4000", port_test()},
        {{"test", "leave"}, 77, "Sends a test leave.", "--port 1 --vlan 4000", port_test()},
        {{"test", "uplink"},
         85,
         "Treats a user port as the uplink.",
         "2",
         {port(8, 4, kTestUplinks, "the port", "PORT")}},
    };
}

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
    std::uint32_t end = std::max(size, kHeader);
    for (const Field& field : fields) end = std::max(end, field.offset + field.width);
    return end;
}

const std::vector<Command>& table() {
    static const std::vector<Command> commands = all_commands();
    return commands;
}

}  // namespace commands
