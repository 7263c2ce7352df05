// Commands as the tests give them: records, what a command may change, and the texts that it
// leaves.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "adapt/status_layout.h"
#include "command/command.h"
#include "platform/protocol_core.h"
#include "settings/settings.h"
#include "tests/support/frames.h"
#include "tests/support/vlan_rules.h"

namespace mc_test {

// ---- Records -----------------------------------------------------------------------------------

// What stands behind the fields of a command must not matter.
inline constexpr std::uint8_t kBehind = 0xA5;

inline Bytes record_of(std::uint32_t code, const Bytes& payload, std::uint8_t behind = kBehind) {
    Bytes record = be32(code) + be32(0) + payload;
    record.resize(MC_RECORD_SIZE, behind);
    return record;
}

inline void run_record(const Bytes& record) { EXPECT_EQ(process_interface_msg(record.data()), 0); }
inline void run(std::uint32_t code, const Bytes& payload = {}) {
    run_record(record_of(code, payload));
}

// The dispatcher is asked, not read: a code that it does not know is complained about.
inline bool is_known(std::uint32_t code) {
    const Bytes record = record_of(code, Bytes{}, 0);
    const std::string text = said(mc_debug, kErr, [&record] { run_record(record); });
    return text.find("msgid(" + std::to_string(code) + ") is not missing!") == std::string::npos;
}
// Far behind the last code.
inline constexpr std::uint32_t kBehindAllCodes = 1000;

// A field of a record: what it is called here, where it begins, how many bytes it has, and what
// stands in it.
struct Field {
    std::string name;
    std::size_t offset;
    std::size_t width;
    std::uint32_t value;
};
using Fields = std::vector<Field>;

inline Field u8(const char* name, std::size_t offset, std::uint8_t value) {
    return {name, offset, 1, value};
}
inline Field u16(const char* name, std::size_t offset, std::uint16_t value) {
    return {name, offset, 2, value};
}
inline Field u32(const char* name, std::size_t offset, std::uint32_t value) {
    return {name, offset, 4, value};
}

inline Bytes record_of(std::uint32_t code, const Fields& fields) {
    Bytes record = record_of(code, Bytes{});
    for (const Field& field : fields) {
        for (std::size_t i = 0; i < field.width; ++i) {
            const auto shift = 8 * (field.width - 1 - i);
            record.at(field.offset + i) = static_cast<std::uint8_t>(field.value >> shift);
        }
    }
    return record;
}

// ---- All that a command may write --------------------------------------------------------------

inline constexpr std::size_t kSegment = MC_STATUS_SIZE;

// What is between the fields of a rule is nobody's.
inline void clear_padding(Rule (&block)[MC_RULES]) {
    for (Rule& rule : block) {
        const Rule fields = rule;
        std::memset(static_cast<void*>(&rule), 0, sizeof rule);
        rule.portNO = fields.portNO;
        rule.prouptagmode = fields.prouptagmode;
        rule.in_up_vlan = fields.in_up_vlan;
        rule.out_up_vlan = fields.out_up_vlan;
        rule.prodntagmode = fields.prodntagmode;
        rule.in_dn_vlan = fields.in_dn_vlan;
        rule.out_dn_vlan = fields.out_dn_vlan;
        rule.datedntagmode = fields.datedntagmode;
        rule.in_data_vlan = fields.in_data_vlan;
        rule.out_data_vlan = fields.out_data_vlan;
        rule.rule_flag = fields.rule_flag;
    }
}

struct World {
    Tables tables;
    PortStateEntry ports[MC_PORTS];
    std::uint8_t mode;
    std::uint8_t report[MC_JION_BUFFER_SIZE];
    std::int32_t test_uplink;
    std::int32_t table_return;
    std::int32_t level;
    std::uint32_t version_received;
    std::uint32_t version_sent;
    std::uint8_t segment[kSegment];

    static World now() {
        World world;
        std::memset(&world, 0, sizeof world);
        const Tables tables = Tables::now();
        std::memcpy(&world.tables, &tables, sizeof tables);
        for (auto& block : world.tables.rules) clear_padding(block);
        for (auto& block : world.tables.mld.mldPortVlanCfg) clear_padding(block);
        std::memcpy(world.ports, portState, sizeof portState);
        world.mode = proxy_adapt_mode;
        std::memcpy(world.report, jion_buffer, sizeof jion_buffer);
        world.test_uplink = testuplink;
        world.table_return = tablereturn;
        world.level = igmp_adapt;
        world.version_received = igmpv3_rcv;
        world.version_sent = igmpv3_snd;
        std::memcpy(world.segment, mc_status_global, kSegment);
        return world;
    }

    void put_back() const {
        tables.put_back();
        std::memcpy(portState, ports, sizeof portState);
        proxy_adapt_mode = mode;
        std::memcpy(jion_buffer, report, sizeof jion_buffer);
        testuplink = test_uplink;
        tablereturn = table_return;
        igmp_adapt = level;
        igmpv3_rcv = version_received;
        igmpv3_snd = version_sent;
        std::memcpy(mc_status_global, segment, kSegment);
    }

    bool operator==(const World& other) const {
        return std::memcmp(this, &other, sizeof *this) == 0;
    }
};

// ---- Texts -------------------------------------------------------------------------------------

// As %d shows a word.
inline std::string number(std::uint32_t word) {
    return std::to_string(static_cast<std::int32_t>(word));
}

inline std::string fail(const std::string& name) {
    return "\r\n[MC_DBG_ERR]: \n ERROR!" + name + " Fail";
}
inline std::string error(const std::string& text) { return "\r\n[MC_DBG_ERR]: " + text; }
inline std::string config(const std::string& text) { return "\r\n[MC_DBG_CFG]: " + text; }

// While the report level, -1 from the start, is not below -1; the mask has no say in it.
inline constexpr const char* kWebReport =
    "\r\n [IGMP_ERROR]process_interface_msg(4780): \n ERROR!onu_std_omci_web_set_vlan Fail\r\n";

// The start-up configuration on the console, with this template VLAN list.
inline std::string configuration(const std::string& template_list) {
    std::string all = std::string("MC HAL Version Num: ") + globle_parm.version_str +
                      ".\r\nMC HAL Compile Data " + globle_parm.build_date + ": " +
                      globle_parm.build_time + ".\r\n";
    for (int port = 0; port < MC_PORTS; ++port) {
        const std::string n = std::to_string(port);
        all += "portNO(" + n + ") grouplimit(0) leavemod(0) max_bandwidth(0)\r\nport(" + n +
               ") svlan(" + std::to_string(globle_parm.port[port].sig_vlan) + ") svlan_s(" +
               std::to_string(globle_parm.port[port].sig_vlan_a) + ") cvlan(" +
               std::to_string(globle_parm.port[port].sig_vlan_b) + ") \r\n";
    }
    return all + template_list +
           "defaultVlan(4088), general_member_interval(1), last_member_query_count(2)\r\n"
           "last_member_query_interval(1), learningMode(0), multiMode(1)\r\n"
           "query_interval(125), query_max_resp_time(10), robustness(2), version(3)\r\n"
           "testuplink = (65534),mlddefaultVlan(4088),tablereturn = (1)\r\n";
}

// Without a template VLAN every entry ends its line.
inline std::string ten_empty_entries() {
    std::string all;
    for (int i = 0; i < 10; ++i) all += "-0-TemplateVlan(0)\t\r\n";
    return all;
}

// The stored protocol parameters, given to the core once more.
inline std::int32_t push_stored_parameters() {
    return omci_set_igmp_global_parmeter(
        globle_parm.robustness, globle_parm.query_interval, globle_parm.query_max_resp_time,
        globle_parm.last_member_query_interval, globle_parm.last_member_query_count);
}

}  // namespace mc_test
