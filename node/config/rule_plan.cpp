#include "node/config/rule_plan.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <tuple>

#include "common/ethernet.h"

namespace config {
namespace {

using Rule = PortVlanCfgEntry;
using Rules = std::span<const Rule>;

// All that a command says; the padding of a record says nothing.
auto said_of(const Rule& rule) {
    return std::tie(rule.portNO, rule.prouptagmode, rule.in_up_vlan, rule.out_up_vlan,
                    rule.prodntagmode, rule.in_dn_vlan, rule.out_dn_vlan, rule.datedntagmode,
                    rule.in_data_vlan, rule.out_data_vlan);
}

bool is_same(const Rule& a, const Rule& b) { return said_of(a) == said_of(b); }

std::uint32_t port_of(const Rule& rule) { return static_cast<std::uint8_t>(rule.portNO); }

// ---- Lines --------------------------------------------------------------------------------------

std::string mode_word(int mode) {
    constexpr std::array<const char*, 3> kWords{"untag", "tag", "translate"};
    const auto place = static_cast<std::size_t>(mode);
    return place < kWords.size() ? kWords[place] : std::to_string(mode);
}

void add_vlan(std::string& line, const char* option, std::uint16_t vlan) {
    if (vlan != MC_NO_VLAN) line += option + vlan_word(vlan);
}

std::string add_line(const Rule& rule) {
    std::string line =
        "vlan add " + port_option(port_of(rule)) + " --mode " + mode_word(rule.prouptagmode);
    if (rule.prodntagmode != rule.prouptagmode) {
        line += " --down-mode " + mode_word(rule.prodntagmode);
    }
    if (rule.datedntagmode != rule.prouptagmode) {
        line += " --data-mode " + mode_word(rule.datedntagmode);
    }
    add_vlan(line, " --up-in ", rule.in_up_vlan);
    add_vlan(line, " --up-out ", rule.out_up_vlan);
    add_vlan(line, " --down-in ", rule.in_dn_vlan);
    add_vlan(line, " --down-out ", rule.out_dn_vlan);
    add_vlan(line, " --data-in ", rule.in_data_vlan);
    add_vlan(line, " --data-out ", rule.out_data_vlan);
    return line;
}

std::string delete_line(const Rule& rule) {
    return "vlan delete " + port_option(port_of(rule)) + " --up-in " + vlan_word(rule.in_up_vlan) +
           " --data-in " + vlan_word(rule.in_data_vlan);
}

std::string service_line(const Rule& rule) {
    const bool translates = rule.prouptagmode == MC_TAG_MODE_TRANSLATE;
    const std::uint16_t vlan = translates ? rule.in_up_vlan : rule.in_data_vlan;
    std::string line = "vlan service-set " + port_option(port_of(rule)) + " --mode " +
                       mode_word(rule.prouptagmode) + " --vlan " + vlan_word(vlan);
    if (translates) line += " --second-vlan " + vlan_word(rule.in_data_vlan);
    return line;
}

std::string web_line(const Rule& rule) {
    return "vlan web-set " + port_option(port_of(rule)) + " --mode " +
           mode_word(rule.prodntagmode) + " --data-mode " + mode_word(rule.datedntagmode) +
           " --down-in " + vlan_word(rule.in_dn_vlan) + " --down-out " +
           vlan_word(rule.out_dn_vlan) + " --data-in " + vlan_word(rule.in_data_vlan) +
           " --data-out " + vlan_word(rule.out_data_vlan);
}

// ---- Which command can have made a rule ---------------------------------------------------------

// A port, a tag mode and one or two VLANs say all of it.
bool is_of_service(const Rule& rule) {
    const std::int8_t mode = rule.prouptagmode;
    const bool is_translated = mode == MC_TAG_MODE_TRANSLATE;
    const bool is_tagged = mode == MC_TAG_MODE_TAG;
    if (mode != MC_TAG_MODE_UNTAG && !is_translated && !is_tagged) return false;
    const std::uint16_t network = rule.in_data_vlan;
    const std::uint16_t local = is_tagged ? 0 : is_translated ? rule.in_up_vlan : network;
    return rule.prodntagmode == mode && rule.datedntagmode == mode && rule.in_up_vlan == local &&
           rule.out_dn_vlan == local && rule.out_data_vlan == local &&
           rule.out_up_vlan == network && rule.in_dn_vlan == network;
}

// A rule without an upstream VLAN leaves untagged everywhere.
bool is_of_add(const Rule& rule) {
    return rule.in_up_vlan != 0 || (rule.out_dn_vlan == 0 && rule.out_data_vlan == 0);
}

// Its upstream half follows from the downstream one.
bool is_of_web(const Rule& rule) {
    const bool is_tagged = rule.prodntagmode == MC_TAG_MODE_TAG;
    const bool is_untagged = rule.prodntagmode == MC_TAG_MODE_UNTAG;
    const std::uint16_t local = is_tagged ? 0 : is_untagged ? rule.in_dn_vlan : rule.out_dn_vlan;
    if (rule.datedntagmode == MC_TAG_MODE_TAG && rule.out_data_vlan != 0) return false;
    if (rule.datedntagmode == MC_TAG_MODE_UNTAG && rule.out_data_vlan != rule.in_data_vlan) {
        return false;
    }
    return rule.prouptagmode == rule.prodntagmode && rule.out_up_vlan == rule.in_dn_vlan &&
           rule.in_up_vlan == local && rule.out_dn_vlan == local && port_of(rule) < MC_PORTS;
}

// ---- The order ----------------------------------------------------------------------------------

// How far the rules of a port have been made on both sides.
struct Progress {
    Rules igmp;
    Rules mld;

    [[nodiscard]] const Rule& next() const { return igmp.front(); }

    // How often the MLD side shows the next rule from here on; more than twice is not told apart.
    [[nodiscard]] std::size_t times_in_mld() const {
        std::size_t times = 0;
        while (times < std::min<std::size_t>(mld.size(), 2) && is_same(mld[times], next())) ++times;
        return times;
    }
};

enum class How : std::uint8_t { kAdd, kService, kWeb };

struct Step {
    std::size_t port;
    How how;
    std::size_t in_mld;  // so many rules of the MLD side come of it
};

class Planner {
 public:
    explicit Planner(const RuleTables& tables) : tables_(tables) {
        for (std::size_t p = 0; p < MC_PORTS; ++p) {
            const int igmp = mc::rules_in_use(tables.igmp_counts[p]);
            const int mld = mc::rules_in_use(tables.mld_counts[p]);
            ports_[p] = {Rules(tables.igmp[p]).first(static_cast<std::size_t>(igmp)),
                         Rules(tables.mld[p]).first(static_cast<std::size_t>(mld))};
        }
    }

    RulePlan plan() {
        make_web_rules();
        while (has_next()) {
            if (const auto step = exact_step()) {
                make(*step);
            } else if (!make_lone_mld_rule()) {
                make(closest_step());
            }
        }
        while (make_lone_mld_rule()) {
        }
        return made_;
    }

 private:
    [[nodiscard]] bool has_next() const {
        return std::ranges::any_of(ports_, [](const Progress& port) { return !port.igmp.empty(); });
    }

    [[nodiscard]] bool is_listed(std::uint16_t vlan) const { return listed_.contains(vlan); }

    // On the IGMP side alone, and first on its port: no other command leaves such a rule while its
    // VLAN is new.
    void make_web_rules() {
        for (std::size_t p = 0; p < MC_PORTS; ++p) {
            const Progress& port = ports_[p];
            if (port.igmp.empty() || !is_of_web(port.next()) || port.times_in_mld() != 0) continue;
            if (!is_shared_elsewhere(port.next().in_data_vlan)) make({p, How::kWeb, 0});
        }
    }

    // Whether a rule of the VLAN that comes first in the list can be on both sides.
    [[nodiscard]] bool is_shared_elsewhere(std::uint16_t vlan) const {
        return std::ranges::any_of(ports_, [vlan](const Progress& port) {
            return std::ranges::any_of(port.igmp, [&](const Rule& rule) {
                return rule.in_data_vlan == vlan &&
                       std::ranges::any_of(port.mld,
                                           [&](const Rule& other) { return is_same(rule, other); });
            });
        });
    }

    // A command for the next rule of a port that does to both sides what they show.
    [[nodiscard]] std::optional<Step> exact_step_of(std::size_t p) const {
        const Progress& port = ports_[p];
        if (port.igmp.empty()) return std::nullopt;
        const std::size_t times = port.times_in_mld();
        const std::size_t by_add = is_listed(port.next().in_data_vlan) ? 0 : 1;
        if (times == 0 && begun_[p].empty() && is_of_web(port.next()) && !is_of_add(port.next())) {
            return Step{p, How::kWeb, 0};
        }
        if (times > by_add && is_of_service(port.next())) {
            return Step{p, How::kService, by_add + 1};
        }
        if (times >= by_add) return Step{p, How::kAdd, by_add};
        return std::nullopt;
    }

    // First what needs no new VLAN, then the VLANs in the order of the list. Of the rules of a new
    // VLAN the one comes first that the MLD side shows twice, and the one last that service-set can
    // make on both sides later.
    [[nodiscard]] std::optional<Step> exact_step() const {
        std::optional<Step> best;
        std::size_t best_rank = 0;
        for (std::size_t p = 0; p < MC_PORTS; ++p) {
            const auto step = exact_step_of(p);
            if (!step) continue;
            const std::size_t rank = rank_of(ports_[p]);
            if (best && best_rank <= rank) continue;
            best = step;
            best_rank = rank;
        }
        return best;
    }

    [[nodiscard]] std::size_t rank_of(const Progress& port) const {
        const Rule& rule = port.next();
        if (is_listed(rule.in_data_vlan)) return 0;
        const auto found = std::ranges::find(tables_.listed, rule.in_data_vlan);
        const auto place = static_cast<std::size_t>(found - tables_.listed.begin());
        const bool can_wait = is_of_service(rule) && port.times_in_mld() < 2;
        return 1 + 3 * place + (can_wait ? 2 : is_of_service(rule) ? 0 : 1);
    }

    [[nodiscard]] Step closest_step() const {
        std::size_t p = 0;
        while (ports_[p].igmp.empty()) ++p;
        return {p, How::kAdd, std::min<std::size_t>(ports_[p].times_in_mld(), 1)};
    }

    void make(const Step& step) {
        Progress& port = ports_[step.port];
        const Rule& rule = port.next();
        begun_[step.port].insert(rule.in_up_vlan);
        switch (step.how) {
            case How::kAdd:
                made_.lines.push_back(add_line(rule));
                break;
            case How::kService:
                made_.lines.push_back(service_line(rule));
                break;
            case How::kWeb:
                made_.lines.push_back(web_line(rule));
                made_.learns = true;
                break;
        }
        listed_.insert(rule.in_data_vlan);
        made_.core_vlans.insert(rule.in_data_vlan & mc::kVidMask);
        port.igmp = port.igmp.subspan(1);
        port.mld = port.mld.subspan(step.in_mld);
    }

    // The first rule that the MLD side has and the IGMP side will not: added while its VLAN is new,
    // and deleted. False when there is none, or none that can be made so.
    bool make_lone_mld_rule() {
        for (std::size_t p = 0; p < MC_PORTS; ++p) {
            Progress& port = ports_[p];
            if (port.mld.empty()) continue;
            const Rule& rule = port.mld.front();
            if (begun_[p].contains(rule.in_up_vlan)) continue;  // another one would be deleted
            const bool is_coming = std::ranges::any_of(
                port.igmp, [&](const Rule& other) { return is_same(rule, other); });
            if (is_coming || is_listed(rule.in_data_vlan)) continue;
            made_.lines.push_back(add_line(rule));
            made_.lines.push_back(delete_line(rule));
            // It stays where it is then.
            if (rule.in_data_vlan == tables_.default_vlan) {
                listed_.insert(rule.in_data_vlan);
                made_.core_vlans.insert(rule.in_data_vlan & mc::kVidMask);
            }
            port.mld = port.mld.subspan(1);
            return true;
        }
        return false;
    }

    const RuleTables& tables_;
    std::array<Progress, MC_PORTS> ports_;
    std::array<std::set<std::uint16_t>, MC_PORTS> begun_;  // by the VLANs that deletes go by
    std::set<std::uint16_t> listed_;
    RulePlan made_;
};

}  // namespace

RulePlan plan_rules(const RuleTables& tables) { return Planner(tables).plan(); }

}  // namespace config
