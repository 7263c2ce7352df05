// The debug, show and test commands: codes, fields of their records, handlers (debug_commands.cpp).
#pragma once

#include <cstdint>

#include "command/record.h"

namespace mc {

// ---- Records that several commands share --------------------------------------------------------

struct OnePort {
    static constexpr U8 port{8, "port"};
    static constexpr auto fields = record_of(port);
};

struct OneGroup {
    static constexpr U32 group{8, "group"};
    static constexpr auto fields = record_of(group);
};

struct VlanDisplay {
    static constexpr U16 vlan{8, "vlan"};
    static constexpr U32 port{10, "port"};
    static constexpr U16 flag{14, "flag"};
    static constexpr auto fields = record_of(vlan, port, flag);
};

struct PortTest {
    static constexpr U32 port{8, "port"};
    static constexpr U16 vlan{12, "vlan"};
    static constexpr auto fields = record_of(port, vlan);
};

struct VlanDebug {
    static constexpr U16 vlan{8, "vlan"};
    static constexpr U8 selector{10, "selector"};
    static constexpr auto fields = record_of(vlan, selector);
};

struct DebugLevel {
    static constexpr U32 level{8, "level"};
    static constexpr auto fields = record_of(level);
};

struct DebugSwitches {
    static constexpr U32 which{8, "switches"};
    static constexpr auto fields = record_of(which);
};

// ---- Tests and diagnostics of the library ------------------------------------------------------

struct DebugFromCli : Command<37> {
    static constexpr U32 value{8, "value"};
    static constexpr U8 selector{12, "selector"};
    static constexpr U8 sub_selector{13, "sub-selector"};
    static constexpr auto fields = record_of(value, selector, sub_selector);
    static std::int32_t run(CommandRecord record);
};

struct ShowConfiguration : Command<39> {
    static std::int32_t run(CommandRecord record);
};

struct InjectTestFrame : Command<40, OnePort> {
    static constexpr Failure failure = fails_line("\r\n[MC_DBG_ERR]: test igmpL2PktProc error\r");
    static std::int32_t run(CommandRecord record);
};

struct SetTestUplink : Command<85> {
    static constexpr U32 port{8, "port"};
    static constexpr auto fields = record_of(port);
    static std::int32_t run(CommandRecord record);
};

struct SwitchDebugMask : Command<86> {
    static constexpr U32 offset{8, "offset"};
    static constexpr U32 enable{12, "enable"};
    static constexpr auto fields = record_of(offset, enable);
    static std::int32_t run(CommandRecord record);
};

// ---- Status export -----------------------------------------------------------------------------

struct ExportPortStatus : Command<78, OnePort> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!igmp_hal_sync_if_status Fail");
    static std::int32_t run(CommandRecord record);
};

struct ExportGroups : Command<79> {
    static constexpr Failure failure =
        fails("\r\n[MC_DBG_ERR]: \n ERROR!igmp_hal_sync_grp_inform Fail");
    static std::int32_t run(CommandRecord record);
};

// ---- Displays of the core ----------------------------------------------------------------------

struct ShowAllGroups : Command<35> {
    static std::int32_t run(CommandRecord record);
};

struct ShowGroup : Command<36, OneGroup> {
    static std::int32_t run(CommandRecord record);
};

struct ShowStandardVlan : Command<66, VlanDisplay> {
    static std::int32_t run(CommandRecord record);
};

struct ShowProxyGroups : Command<67> {
    static std::int32_t run(CommandRecord record);
};

struct ShowProxyGroup : Command<68, OneGroup> {
    static std::int32_t run(CommandRecord record);
};

struct ShowVlanInstances : Command<69> {
    static std::int32_t run(CommandRecord record);
};

struct ShowIgmpv3Globals : Command<70> {
    static std::int32_t run(CommandRecord record);
};

struct ShowPacketStatistics : Command<71> {
    static std::int32_t run(CommandRecord record);
};

struct ShowInterfaces : Command<72> {
    static std::int32_t run(CommandRecord record);
};

struct ShowTimers : Command<73> {
    static std::int32_t run(CommandRecord record);
};

struct ShowAuthorisedGroups : Command<74> {
    static std::int32_t run(CommandRecord record);
};

struct ShowPortConfiguration : Command<80, OnePort> {
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]: test igmp_if_show_if_cfg error(%d)\r\n");
    static std::int32_t run(CommandRecord record);
};

struct ShowPortStatus : Command<81, OnePort> {
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]: test igmp_if_show_if_status error(%d)\r\n");
    static std::int32_t run(CommandRecord record);
};

struct ShowPortAuthorisedGroup : Command<82> {
    static constexpr U8 port{8, "port"};
    static constexpr U32 group{9, "group"};
    static constexpr auto fields = record_of(port, group);
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]: test igmp_if_show_auth_group_cfg error(%d)\r\n");
    static std::int32_t run(CommandRecord record);
};

struct ShowVlan : Command<96, VlanDisplay> {
    static std::int32_t run(CommandRecord record);
};

struct ShowMemory : Command<103> {
    static std::int32_t run(CommandRecord record);
};

struct ResetMemoryStatistics : Command<104> {
    static std::int32_t run(CommandRecord record);
};

struct ShowMemoryType : Command<105> {
    static constexpr U32 type{8, "type"};
    static constexpr auto fields = record_of(type);
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]:  pal_mtype_show is error ret = %d\r\n");
    static std::int32_t run(CommandRecord record);
};

struct SetMemoryTypeRange : Command<106> {
    static constexpr U32 first{8, "first"};
    static constexpr U32 last{12, "last"};
    static constexpr auto fields = record_of(first, last);
    static std::int32_t run(CommandRecord record);
};

struct ShowMld : Command<111> {
    static std::int32_t run(CommandRecord record);
};

// ---- Debug switches and tests of the core ------------------------------------------------------

struct SetWarnings : Command<75> {
    static constexpr U8 enable{8, "enable"};
    static constexpr auto fields = record_of(enable);
    static std::int32_t run(CommandRecord record);
};

struct TestReport : Command<76, PortTest> {
    static std::int32_t run(CommandRecord record);
};

struct TestLeave : Command<77, PortTest> {
    static std::int32_t run(CommandRecord record);
};

struct SetVlanDebug : Command<89, VlanDebug> {
    static std::int32_t run(CommandRecord record);
};

struct UnsetVlanDebug : Command<90, VlanDebug> {
    static std::int32_t run(CommandRecord record);
};

struct SetDebugLevel : Command<91, DebugLevel> {
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]:  DEBUG_IGMP_LEVEL is error ret = %d\r\n");
    static std::int32_t run(CommandRecord record);
};

struct UnsetDebugLevel : Command<92, DebugLevel> {
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]:  NO_DEBUG_IGMP_LEVEL is error ret = %d\r\n");
    static std::int32_t run(CommandRecord record);
};

struct SetPacketDebug : Command<93> {
    static constexpr U32 which{8, "switches"};
    static constexpr U16 port{12, "port"};
    static constexpr auto fields = record_of(which, port);
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]:  igmp_set_debug_switch is error ret = %d\r\n");
    static std::int32_t run(CommandRecord record);
};

struct SetOtherDebug : Command<94, DebugSwitches> {
    static constexpr Failure failure =
        fails_with_status("\r\n[MC_DBG_ERR]:  OTHER_DEBUG_IGMP is error ret = %d\r\n");
    static std::int32_t run(CommandRecord record);
};

struct UnsetDebug : Command<95, DebugSwitches> {
    static std::int32_t run(CommandRecord record);
};

struct SetMldPortDebug : Command<112> {
    static constexpr U32 value{8, "value"};
    static constexpr auto fields = record_of(value);
    static std::int32_t run(CommandRecord record);
};

struct SetMldDebug : Command<113> {
    static constexpr U32 value{8, "value"};
    static constexpr U32 port{12, "port"};
    static constexpr auto fields = record_of(value, port);
    static std::int32_t run(CommandRecord record);
};

}  // namespace mc
