#include "node/core/report_message.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "common/bytes.h"
#include "node/core/address.h"
#include "node/core/group_records.h"
#include "node/core/message.h"
#include "node/core/source_address.h"

namespace mcore {
namespace {

// ---- What differs -------------------------------------------------------------------------------

struct HostMessages {
    std::uint8_t report;  // of the version before records
    std::uint8_t leave;
    std::uint8_t records;
    Sent sent_report;
    Sent sent_leave;
    Address all_routers;
    Address record_routers;
};

constexpr HostMessages kIgmp{
    static_cast<std::uint8_t>(IgmpType::kV2Report),
    static_cast<std::uint8_t>(IgmpType::kLeave),
    static_cast<std::uint8_t>(IgmpType::kV3Report),
    Sent::kIgmpReport,
    Sent::kIgmpLeave,
    {224, 0, 0, 2},
    {224, 0, 0, 22},
};

constexpr HostMessages kMld{
    131,
    132,
    143,
    Sent::kMldReport,
    Sent::kMldDone,
    {0xFF, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x02},
    {0xFF, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x16},
};

const HostMessages& messages_of(Family family) { return family == Family::kIpv4 ? kIgmp : kMld; }

// ---- The way out --------------------------------------------------------------------------------

SendTag uplink_tag(std::uint16_t vlan) {
    const IgmpUplinkTag& outer = core().ports[kUserPorts].outer;
    if (outer.first == kNoUplinkTag.first && outer.second == kNoUplinkTag.second) return {vlan, 0};
    return {static_cast<std::uint16_t>(outer.first & 0x0FFF),
            static_cast<std::uint8_t>(outer.first >> 13)};
}

// A message whose checksum is still to be put in.
void send_up(const RouterLink& link, Sent kind, const Address& destination, Bytes message) {
    if (link.family == Family::kIpv4) {
        send_igmp(kind, kCoreUplink, uplink_tag(link.vlan), to_ipv4(destination),
                  with_igmp_checksum(std::move(message)));
    } else {
        send_packet({Family::kIpv6, kCoreUplink, link.vlan}, kind, 0,
                    ipv6_packet(mld_source(), destination, std::move(message)));
    }
}

void append_address(Bytes& bytes, Family family, const Address& address) {
    append(bytes, {address.data(), address_length(family)});
}

// ---- Records ------------------------------------------------------------------------------------

constexpr std::size_t kLongestBody = 1400;

std::size_t record_length(Family family, std::size_t sources) {
    return kRecordHeader + (1 + sources) * address_length(family);
}

std::size_t most_sources(Family family) {
    return (kLongestBody - record_length(family, 0)) / address_length(family);
}

bool excludes(RecordType type) {
    return type == RecordType::kIsExclude || type == RecordType::kToExclude;
}

// Reports that fill up one after the other.
class Reports {
 public:
    explicit Reports(const RouterLink& link) : link_(link) { begin(); }

    // A record that is too long is split, or cut when it excludes (RFC 3376, 4.2.16).
    void add(const Record& record) {
        std::size_t at = 0;
        do {
            const std::size_t count =
                std::min(record.sources.size() - at, most_sources(link_.family));
            add_piece(record, {record.sources.data() + at, count});
            at += count;
        } while (at < record.sources.size() && !excludes(record.type));
    }

    void send() {
        if (records_ == 0) return;
        const HostMessages& messages = messages_of(link_.family);
        mc::store_be16(report_.data() + kRecordCountAt, records_);
        send_up(link_, messages.sent_report, messages.record_routers, std::move(report_));
        begin();
    }

 private:
    void begin() {
        report_.assign(kReportHeader, 0);
        report_[0] = messages_of(link_.family).records;
        records_ = 0;
    }

    void add_piece(const Record& record, std::span<const Address> sources) {
        const std::size_t length = record_length(link_.family, sources.size());
        if (report_.size() + length > kReportHeader + kLongestBody) send();
        report_.push_back(static_cast<std::uint8_t>(record.type));
        report_.push_back(0);
        append16(report_, static_cast<std::uint32_t>(sources.size()));
        append_address(report_, link_.family, record.group);
        for (const Address& source : sources) append_address(report_, link_.family, source);
        ++records_;
    }

    RouterLink link_;
    Bytes report_;
    std::uint32_t records_ = 0;
};

// ---- Older messages -----------------------------------------------------------------------------

// One group: IGMP has it behind the checksum, MLD behind a response time that is 0 in reports.
Bytes older_message(std::uint8_t type, const UpstreamKey& key) {
    Bytes message{type, 0, 0, 0};
    if (key.link.family == Family::kIpv6) append32(message, 0);
    append_address(message, key.link.family, key.group);
    return message;
}

std::uint8_t report_type(Family family, std::uint8_t version) {
    const bool is_first_igmp = family == Family::kIpv4 && version == 1;
    return is_first_igmp ? static_cast<std::uint8_t>(IgmpType::kV1Report)
                         : messages_of(family).report;
}

}  // namespace

void send_records(const RouterLink& link, const std::vector<Record>& records) {
    if (link.family == Family::kIpv4 && igmpv3_snd != 0) {
        for (const Record& record : records) print_record(link.family, record);
    }
    Reports reports(link);
    for (const Record& record : records) reports.add(record);
    reports.send();
}

void send_report(const UpstreamKey& key, std::uint8_t version) {
    const Family family = key.link.family;
    send_up(key.link, messages_of(family).sent_report, key.group,
            older_message(report_type(family, version), key));
}

void send_leave(const UpstreamKey& key, std::uint8_t version) {
    const Family family = key.link.family;
    if (family == Family::kIpv4 && version == 1) return;
    const HostMessages& messages = messages_of(family);
    send_up(key.link, messages.sent_leave, messages.all_routers,
            older_message(messages.leave, key));
}

}  // namespace mcore
