// The dispatcher: one list of commands, by their codes.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include "command/command.h"
#include "command/config_commands.h"
#include "command/debug_commands.h"
#include "command/record.h"
#include "common/diagnostics.h"

namespace mc {

namespace {

struct Entry {
    std::uint16_t code;
    Failure::Form form;
    const char* failure_text;
    std::int32_t (*run)(CommandRecord record);
};

template <class... Commands>
consteval std::array<Entry, sizeof...(Commands)> entries_of() {
    return {
        Entry{Commands::code, Commands::failure.form, Commands::failure.text, Commands::run}...};
}

// In the order of their codes. What they are, stands in command/config_commands.h and
// command/debug_commands.h.
// clang-format off
constexpr auto kEntries = entries_of<
    SetMode,
    SetPortLeaveMode,
    SetGroupLimit,
    SetDefaultVlan,
    SetVlanLearning,
    AddPrivateGroup,
    DeletePrivateGroup,
    ClearPrivateGroups,
    SetControlList,
    ClearPortParameters,
    SetSignallingVlan,
    SetGlobalParameters,
    RemoveServicePort,
    SetPortVlanMode,
    SetLeaveMode,
    SetAgeingInterval,
    SetVersion,
    SetProxyAddress,
    SetSsmRange,
    SetSsmMap,
    AddVlans,
    DeleteVlan,
    DeleteAllVlans,
    ShowAllGroups,
    ShowGroup,
    DebugFromCli,
    ShowConfiguration,
    InjectTestFrame,
    SetRule,
    DeleteRule,
    SetStandardMode,
    AddStandardGroups,
    DeleteStandardGroups,
    ClearStandardGroups,
    SetStandardGroupLimit,
    SetBandwidthLimit,
    ClearAllParameters,
    ShowStandardVlan,
    ShowProxyGroups,
    ShowProxyGroup,
    ShowVlanInstances,
    ShowIgmpv3Globals,
    ShowPacketStatistics,
    ShowInterfaces,
    ShowTimers,
    ShowAuthorisedGroups,
    SetWarnings,
    TestReport,
    TestLeave,
    ExportPortStatus,
    ExportGroups,
    ShowPortConfiguration,
    ShowPortStatus,
    ShowPortAuthorisedGroup,
    SetFastLeaveMode,
    SetOamControl,
    SetTestUplink,
    SwitchDebugMask,
    SetRangeAuthorisation,
    AddGroups,
    SetVlanDebug,
    UnsetVlanDebug,
    SetDebugLevel,
    UnsetDebugLevel,
    SetPacketDebug,
    SetOtherDebug,
    UnsetDebug,
    ShowVlan,
    SetRobustness,
    SetQueryInterval,
    SetResponseInterval,
    SetLastMemberInterval,
    SetLastMemberCount,
    SetAgeing,
    ShowMemory,
    ResetMemoryStatistics,
    ShowMemoryType,
    SetMemoryTypeRange,
    SetWebRule,
    ShowMld,
    SetMldPortDebug,
    SetMldDebug,
    SetTableReturn,
    SetMldAgeing>();
// clang-format on

// Codes of the range that no command has.
constexpr std::uint32_t kUnused[] = {
    0,  10, 11, 15, 18, 19, 21, 23, 24, 25, 26, 31, 38, 41,  42,  43,
    44, 45, 46, 47, 48, 49, 58, 59, 60, 61, 62, 63, 65, 107, 108, 109,
};

constexpr std::size_t kCodes = 116;  // 0 to 115

// Strictly ascending: no code may follow one that is as large.
static_assert(std::ranges::is_sorted(kEntries, std::ranges::less_equal{}, &Entry::code),
              "codes out of order or twice");
static_assert(std::size(kEntries) + std::size(kUnused) == kCodes, "a code is not accounted for");
static_assert(std::ranges::none_of(kUnused,
                                   [](std::uint32_t code) {
                                       return std::ranges::binary_search(kEntries, code, {},
                                                                         &Entry::code);
                                   }),
              "a code is both a command and not in use");

void run(const Entry& command, CommandRecord record) {
    const std::int32_t status = command.run(record);
    switch (command.form) {
        case Failure::Form::kSilent:
            return;
        case Failure::Form::kText:
            igmp_checked(status, command.failure_text);
            return;
        case Failure::Form::kLine:
            igmp_checked_line(status, command.failure_text);
            return;
        case Failure::Form::kWithStatus:
            igmp_checked_ret(status, command.failure_text);
            return;
    }
}

}  // namespace

}  // namespace mc

std::int32_t process_interface_msg(const std::uint8_t* bytes) {
    const mc::CommandRecord record = {bytes};
    const std::uint32_t code = record.code();
    const auto* const found = std::ranges::lower_bound(mc::kEntries, code, {}, &mc::Entry::code);
    if (found != std::end(mc::kEntries) && found->code == code) {
        mc::run(*found, record);
    } else if (mc::igmp_says(mc::kErrors)) {
        std::printf("\r\n[MC_DBG_ERR]: msgid(%d) is not missing!\r\n", code);
    }
    return 0;
}
