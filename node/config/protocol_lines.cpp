// Mode, version, times, proxy and sources.
#include <cstdint>
#include <string>

#include "adapt/records.h"
#include "mld/record.h"
#include "node/config/writers.h"
#include "node/mld_mode.h"

namespace config {
namespace {

using std::to_string;

constexpr std::uint32_t kSsmStart = 0xE8000000;  // RFC 4607, 1
constexpr std::uint32_t kSsmEnd = 0xE8FFFFFF;

void write_number(const char* command, std::uint32_t value, std::uint32_t fresh, Lines& lines) {
    if (value != fresh) lines.push_back(command + (" " + to_string(value)));
}

void write_switch(const char* command, bool on, Lines& lines) {
    if (!on) lines.push_back(command + (" " + on_off(on)));
}

std::string ssm_word(std::uint32_t address) { return address == 0 ? "none" : ipv4_word(address); }

}  // namespace

// In proxy mode MLD follows IGMP, and goes back to its own mode afterwards.
void write_mld_mode(const Running& /*running*/, Lines& lines) {
    const std::uint16_t mode = node::own_mld_mode();
    if (mode != MLD_MODE_SNOOPING) lines.push_back("mld-mode " + node::name_of_mld_mode(mode));
}

void write_mode(const Running& running, Lines& lines) {
    if (running.core.mode == MC_MODE_PROXY) lines.emplace_back("mode proxy");
    if (running.core.mode == MC_MODE_CONTROL) lines.emplace_back("mode control");
}

void write_version(const Running& running, Lines& lines) {
    write_number("version", running.core.version, 3, lines);
}

// The fresh values are those of adapt/defaults.h, each as the library sets it.
void write_times(const Running& running, Lines& lines) {
    const mcore::Configuration& core = running.core;
    write_number("robustness", core.robustness, 2, lines);
    write_number("query-interval", core.query_interval, 125, lines);
    write_number("response-interval", core.query_max_resp_time, 10, lines);
    write_number("last-member-interval", core.last_member_query_interval, 1, lines);
    write_number("last-member-count", core.last_member_query_count, 2, lines);
    write_number("ageing-interval", core.general_member_interval, 1, lines);
}

void write_ageing(const Running& running, Lines& lines) {
    write_switch("ageing", running.core.ageing, lines);
    write_switch("mld ageing", running.core.mld_ageing, lines);
}

// The address that the node has taken from its bridge is not configured.
void write_proxy_address(const Running& running, Lines& lines) {
    const std::uint32_t fresh = running.core.own_ip.value_or(MC_DEFAULT_PROXY_IP);
    if (running.core.proxy_ip == fresh) return;
    lines.push_back("proxy-address " + ipv4_word(running.core.proxy_ip));
}

// The library's copy tells whether the range that holds anyway has been set.
void write_ssm_range(const Running& running, Lines& lines) {
    const std::uint32_t start = running.core.ssm_start;
    const std::uint32_t end = running.core.ssm_end;
    const bool is_set = globle_parm.ssm_ip_start != 0 || globle_parm.ssm_ip_end != 0;
    if (start == kSsmStart && end == kSsmEnd && !is_set) return;
    lines.push_back("ssm range " + ssm_word(start) + " " + ssm_word(end));
}

// The core reads the library's words where they are.
void write_ssm_map(const Running& /*running*/, Lines& lines) {
    std::string words;
    int number = 0;
    for (const std::uint32_t word : globle_parm.ssm_map) {
        if (word != 0) words += " --word" + to_string(number) + " " + ipv4_word(word);
        ++number;
    }
    if (!words.empty()) lines.push_back("ssm map" + words);
}

void write_table_return(const Running& /*running*/, Lines& lines) {
    write_switch("table-return", tablereturn != 0, lines);
}

}  // namespace config
