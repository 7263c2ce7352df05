#include "node/report/core_report.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

#include "node/report/json.h"
#include "node/report/table.h"
#include "node/report/values.h"

namespace report {
namespace {

// Below, a row is a membership or a group upstream.
template <class Row>
const char* protocol(const Row& row) {
    return row.family == mcore::Family::kIpv4 ? "IGMP" : "MLD";
}

template <class Row>
std::string version_text(const Row& row) {
    return protocol(row) + ("v" + std::to_string(row.version));
}

template <class Row>
std::string filter_text(const Row& row) {
    return report::filter_text(row.family, row.exclude, row.sources);
}

// Until the answer to a query; nothing when none waits.
std::optional<double> answer_in_s(const CoreReport& core, const mcore::UpstreamGroup& group) {
    if (!group.answers) return std::nullopt;
    return seconds(*group.answers - std::min(core.now_us, *group.answers));
}

std::string pending_text(const CoreReport& core, const mcore::UpstreamGroup& group) {
    std::string pending;
    if (group.reports_left > 0) pending = number(group.reports_left) + " repeated";
    if (const auto in_s = answer_in_s(core, group)) {
        pending += (pending.empty() ? "answer in " : ", answer in ") + fixed(*in_s, 1) + " s";
    }
    return pending;
}

double age_s(const CoreReport& core, const mcore::Membership& member) {
    return core.now_us > member.joined_us ? seconds(core.now_us - member.joined_us) : 0;
}

double seconds_left(const CoreReport& core, const mcore::RouterPort& router) {
    return router.expires_us > core.now_us ? seconds(router.expires_us - core.now_us) : 0;
}

const char* known_by(const mcore::RouterPort& router) {
    return router.sign == mcore::RouterSign::kQuery ? "query" : "advertisement";
}

// One of the core's arrays of counts with the name of each.
template <class Kind, std::size_t size>
std::vector<Count> named(const std::array<std::uint64_t, size>& counts) {
    std::vector<Count> rows;
    for (std::size_t i = 0; i < size; ++i) {
        rows.push_back({mcore::name(static_cast<Kind>(i)), counts[i]});
    }
    return rows;
}

std::string counts_text(const std::string& title, const std::string& unit,
                        const std::vector<Count>& counts) {
    Table table(title, {{"kind", Align::kLeft}, {unit}});
    for (const Count& count : counts) {
        if (count.value > 0) table.add({std::string(count.name), number(count.value)});
    }
    return table.text();
}

Json json_of(const std::vector<Count>& counts) {
    Json object = Json::object();
    for (const Count& count : counts) object.set(count.name, count.value);
    return object;
}

}  // namespace

std::string filter_text(mcore::Family family, bool exclude,
                        const std::vector<mcore::Address>& sources) {
    std::string listed;
    for (const mcore::Address& source : sources) {
        if (!listed.empty()) listed += ", ";
        listed += mcore::text(family, source);
    }
    return (exclude ? "exclude {" : "include {") + listed + "}";
}

Json addresses_json(mcore::Family family, const std::vector<mcore::Address>& addresses) {
    Json rows = Json::array();
    for (const mcore::Address& address : addresses) {
        rows.add(mcore::text(family, address));
    }
    return rows;
}

CoreReport core_report(std::uint64_t now_us) {
    return {mcore::counters(), mcore::memberships(), mcore::upstream_groups(),
            mcore::router_ports(), now_us};
}

void add_refusals(std::vector<Count>& drops, const driver::RefusalCounts& refused) {
    for (std::size_t i = 0; i < driver::kRefusals; ++i) {
        drops.push_back({driver::name(static_cast<driver::Refusal>(i)), refused.of[i]});
    }
}

std::string messages_text(const CoreReport& core) {
    return counts_text("Received by the core", "messages",
                       named<mcore::Received>(core.counters.received)) +
           "\n" +
           counts_text("Sent by the core", "messages", named<mcore::Sent>(core.counters.sent));
}

std::string drops_text(const Drops& drops, const CoreReport& core) {
    Table table("Drops", {{"by", Align::kLeft}, {"reason", Align::kLeft}, {"count"}});
    const auto add = [&table](const char* by, const std::vector<Count>& counts) {
        for (const Count& count : counts) {
            if (count.value > 0) table.add({by, std::string(count.name), number(count.value)});
        }
    };
    add("driver", drops.driver);
    add("library", drops.library);
    add("core", named<mcore::Drop>(core.counters.drops));
    return table.text();
}

std::string memberships_text(const CoreReport& core) {
    Table table("Memberships", {{"port", Align::kLeft},
                                {"VLAN"},
                                {"group", Align::kLeft},
                                {"version", Align::kLeft},
                                {"filter", Align::kLeft},
                                {"reporters"},
                                {"age s"},
                                {"in switch", Align::kLeft}});
    for (const mcore::Membership& member : core.memberships) {
        table.add({port_text(member.port), number(member.vlan),
                   mcore::text(member.family, member.group), version_text(member),
                   filter_text(member), number(member.reporters.size()),
                   fixed(age_s(core, member), 1), member.programmed ? "yes" : "no"});
    }
    return table.text();
}

std::string upstream_text(const CoreReport& core) {
    if (core.upstream.empty()) return "";
    Table table("Upstream", {{"VLAN"},
                             {"group", Align::kLeft},
                             {"filter", Align::kLeft},
                             {"router", Align::kLeft},
                             {"pending", Align::kLeft}});
    for (const mcore::UpstreamGroup& group : core.upstream) {
        table.add({number(group.vlan), mcore::text(group.family, group.group), filter_text(group),
                   version_text(group), pending_text(core, group)});
    }
    return table.text();
}

std::string router_ports_text(const CoreReport& core) {
    Table table("Router ports", {{"port", Align::kLeft},
                                 {"VLAN"},
                                 {"protocol", Align::kLeft},
                                 {"router", Align::kLeft},
                                 {"known by", Align::kLeft},
                                 {"left s"}});
    for (const mcore::RouterPort& router : core.router_ports) {
        table.add({port_text(router.port), number(router.vlan), protocol(router),
                   mcore::text(router.family, router.address), known_by(router),
                   fixed(seconds_left(core, router), 1)});
    }
    return table.text();
}

std::string entry_changes_text(const CoreReport& core) {
    const mcore::Counters& counters = core.counters;
    return "the core: " + number(counters.entries_added) + " added, " +
           number(counters.add_failures) + " failed, " + number(counters.entries_removed) +
           " taken away, " + number(counters.remove_failures) + " failed";
}

Json core_json(const CoreReport& core) {
    return Json::object({{"received", json_of(named<mcore::Received>(core.counters.received))},
                         {"sent", json_of(named<mcore::Sent>(core.counters.sent))},
                         {"entries_added", core.counters.entries_added},
                         {"entries_removed", core.counters.entries_removed},
                         {"add_failures", core.counters.add_failures},
                         {"remove_failures", core.counters.remove_failures}});
}

Json drops_json(const Drops& drops, const CoreReport& core) {
    return Json::object({{"driver", json_of(drops.driver)},
                         {"library", json_of(drops.library)},
                         {"core", json_of(named<mcore::Drop>(core.counters.drops))}});
}

Json memberships_json(const CoreReport& core) {
    Json rows = Json::array();
    for (const mcore::Membership& member : core.memberships) {
        rows.add(Json::object({{"port", member.port},
                               {"vlan", member.vlan},
                               {"group", mcore::text(member.family, member.group)},
                               {"protocol", protocol(member)},
                               {"version", member.version},
                               {"filter", member.exclude ? "exclude" : "include"},
                               {"sources", addresses_json(member.family, member.sources)},
                               {"reporters", addresses_json(member.family, member.reporters)},
                               {"age_s", age_s(core, member)},
                               {"in_switch", member.programmed}}));
    }
    return rows;
}

Json upstream_json(const CoreReport& core) {
    Json rows = Json::array();
    for (const mcore::UpstreamGroup& group : core.upstream) {
        const auto in_s = answer_in_s(core, group);
        rows.add(Json::object({{"vlan", group.vlan},
                               {"group", mcore::text(group.family, group.group)},
                               {"protocol", protocol(group)},
                               {"router_version", group.version},
                               {"filter", group.exclude ? "exclude" : "include"},
                               {"sources", addresses_json(group.family, group.sources)},
                               {"reports_left", group.reports_left},
                               {"answer_in_s", in_s ? Json(*in_s) : Json()}}));
    }
    return rows;
}

Json router_ports_json(const CoreReport& core) {
    Json rows = Json::array();
    for (const mcore::RouterPort& router : core.router_ports) {
        rows.add(Json::object({{"port", router.port},
                               {"vlan", router.vlan},
                               {"protocol", protocol(router)},
                               {"address", mcore::text(router.family, router.address)},
                               {"known_by", known_by(router)},
                               {"left_s", seconds_left(core, router)}}));
    }
    return rows;
}

}  // namespace report
