#include "node/capture/split.h"

#include <algorithm>
#include <array>
#include <utility>

#include "common/bytes.h"
#include "common/ethernet.h"
#include "node/driver/ports.h"
#include "node/driver/trap_filter.h"

namespace capture {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint16_t kServiceTpid = 0x88A8;  // IEEE 802.1ad S-tag
constexpr std::uint8_t kPortWithoutSender = 0;
constexpr std::uint8_t kLastPort = driver::kUserPorts - 1;

std::uint16_t outer_vlan(Bytes frame) {
    if (frame.size() < mc::kMacsLength + mc::kTagLength) return kNoVlan;
    const std::uint16_t tpid = mc::load_be16(&frame[mc::kMacsLength]);
    if (tpid != mc::kTpid && tpid != kServiceTpid) return kNoVlan;
    return mc::load_be16(&frame[mc::kMacsLength + 2]) & mc::kVidMask;
}

bool holds_message(Bytes frame) {
    const driver::TrapVerdict verdict = driver::classify(frame);
    return verdict == driver::TrapVerdict::kIgmp || verdict == driver::TrapVerdict::kMld;
}

void add(FramesSeen& sum, const FramesSeen& more) {
    sum.frames += more.frames;
    sum.messages += more.messages;
    sum.first = std::min(sum.first, more.first);
    sum.first_message = std::min(sum.first_message, more.first_message);
}

// ---- Who is meant ----

// What is known of a party before ports of one's own are given.
struct Decision {
    Party party;
    std::optional<Placed> placed{};  // by the table
    RouterSigns signs = 0;
};

Party address_party(const Sender& sender) { return {Party::Kind::kAddress, sender.mac, kNoVlan}; }
Party vlan_party(const Sender& sender) { return {Party::Kind::kVlan, {}, sender.vlan}; }

// The order of the rules in split.h.
Decision decide(const SplitRules& rules, const std::map<driver::MacAddress, RouterSigns>& routers,
                const std::optional<Sender>& sender) {
    if (!sender) return {Party{}};
    if (const auto named = rules.addresses.find(sender->mac); named != rules.addresses.end()) {
        return {address_party(*sender), named->second};
    }
    if (const auto router = routers.find(sender->mac); router != routers.end()) {
        return {address_party(*sender), std::nullopt, router->second};
    }
    if (const auto named = rules.vlans.find(sender->vlan); named != rules.vlans.end()) {
        return {vlan_party(*sender), named->second};
    }
    return {rules.hosts_by_vlan ? vlan_party(*sender) : address_party(*sender)};
}

SplitRow row_of(const Decision& decision) {
    SplitRow row{decision.party, {}, kPortWithoutSender, Why::kHost, false, 0, decision.signs};
    if (decision.party.kind == Party::Kind::kNone) {
        row.why = Why::kNoSender;
    } else if (decision.placed) {
        row.why = Why::kTable;
        row.port = decision.placed->port;
        row.line = decision.placed->line;
    } else if (decision.signs != 0) {
        row.why = Why::kRouter;
        row.port = driver::kUplinkPort;
    }
    return row;
}

std::vector<SplitRow> parties_of(const SplitRules& rules, const Seen& seen) {
    std::map<Party, SplitRow> rows;
    const auto count = [&](const std::optional<Sender>& sender, const FramesSeen& frames) {
        const Decision decision = decide(rules, seen.routers, sender);
        add(rows.try_emplace(decision.party, row_of(decision)).first->second.seen, frames);
    };
    for (const auto& [sender, frames] : seen.senders) count(sender, frames);
    // A line that no frame fits may be misspelt, so that it is shown, too.
    for (const auto& [mac, placed] : rules.addresses) count(Sender{mac, kNoVlan}, {});
    for (const auto& [vlan, placed] : rules.vlans) {
        const Decision named{{Party::Kind::kVlan, {}, vlan}, placed};
        rows.try_emplace(named.party, row_of(named));
    }
    if (seen.without_sender.frames != 0) count(std::nullopt, seen.without_sender);

    std::vector<SplitRow> list;
    for (auto& [party, row] : rows) {
        if (row.why == Why::kHost && row.seen.messages == 0) row.why = Why::kSilentHost;
        list.push_back(row);
    }
    return list;
}

// ---- Ports of one's own ----

std::vector<std::uint8_t> unnamed_ports(const SplitRules& rules) {
    std::array<bool, driver::kUserPorts> is_named{};
    const auto mark = [&is_named](const auto& lines) {
        for (const auto& [what, placed] : lines) {
            if (placed.port < is_named.size()) is_named[placed.port] = true;
        }
    };
    mark(rules.addresses);
    mark(rules.vlans);
    std::vector<std::uint8_t> ports;
    for (std::size_t slot = 0; slot < is_named.size(); ++slot) {
        if (!is_named[slot]) ports.push_back(driver::port_of_slot(slot));
    }
    if (ports.empty()) ports.push_back(kLastPort);
    return ports;
}

void give_ports(std::vector<SplitRow>& rows, const std::vector<std::uint8_t>& ports) {
    std::vector<SplitRow*> hosts;
    for (SplitRow& row : rows) {
        if (row.why == Why::kHost || row.why == Why::kSilentHost) hosts.push_back(&row);
    }
    // Who never sends a message has it last.
    std::ranges::sort(hosts, {}, [](const SplitRow* row) {
        return std::pair(row->seen.first_message, row->seen.first);
    });
    for (std::size_t i = 0; i < hosts.size(); ++i) {
        hosts[i]->port = ports[std::min(i, ports.size() - 1)];
    }
}

void mark_shared(std::vector<SplitRow>& rows) {
    driver::PerPort<std::size_t> parties{};
    for (const SplitRow& row : rows) ++parties[*driver::slot_of_port(row.port)];
    for (SplitRow& row : rows) row.is_shared = parties[*driver::slot_of_port(row.port)] > 1;
}

}  // namespace

std::optional<Sender> sender_of(Bytes frame) {
    if (frame.size() < mc::kMacsLength) return std::nullopt;
    Sender sender{{}, outer_vlan(frame)};
    std::copy_n(frame.begin() + mc::kMacLength, sender.mac.size(), sender.mac.begin());
    return sender;
}

void note(Seen& seen, Bytes frame) {
    const std::uint64_t number = seen.frames++;
    const bool is_message = holds_message(frame);
    FramesSeen one{1, is_message ? 1U : 0U, number, is_message ? number : FramesSeen::kNever};
    const std::optional<Sender> sender = sender_of(frame);
    add(sender ? seen.senders[*sender] : seen.without_sender, one);
    if (!sender) return;
    if (const auto sign = router_sign(frame)) seen.routers[sender->mac] |= bit_of(*sign);
}

Split settle(SplitRules rules, const Seen& seen) {
    std::vector<SplitRow> rows = parties_of(rules, seen);
    const std::vector<std::uint8_t> ports = unnamed_ports(rules);
    give_ports(rows, ports);
    mark_shared(rows);
    std::ranges::stable_sort(
        rows, {}, [](const SplitRow& row) { return std::pair(row.port, row.seen.first); });
    Split split{std::move(rules), seen.routers, {}, ports.back(), std::move(rows)};
    for (const SplitRow& row : split.rows) split.ports.emplace(row.party, row.port);
    return split;
}

std::uint8_t port_of(const Split& split, Bytes frame) {
    const Decision decision = decide(split.rules, split.routers, sender_of(frame));
    const auto known = split.ports.find(decision.party);
    if (known != split.ports.end()) return known->second;
    // Written over the capture since the first pass. Its host is one more.
    const SplitRow late = row_of(decision);
    return late.why == Why::kHost ? split.late_port : late.port;
}

}  // namespace capture
