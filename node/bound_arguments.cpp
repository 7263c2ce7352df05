#include "node/bound_arguments.h"

#include <cstdint>

#include "node/usage_error.h"
#include "tools/values.h"

namespace node {
namespace {

void take(const char* option, const std::string& text, std::uint32_t& bound) {
    if (text.empty()) return;
    try {
        bound = parse_bound(text);
    } catch (const UsageError& error) {
        throw UsageError(std::string(option) + ": " + error.what());
    }
}

}  // namespace

std::uint32_t parse_bound(const std::string& text) {
    constexpr std::uint32_t kMost = 100'000'000;  // sums of it still fit
    std::uint32_t bound = 0;
    if (!commands::read_number(text, bound) || bound == 0 || bound > kMost) {
        throw UsageError("'" + text + "' is no bound: a number from 1 to 100000000 is needed");
    }
    return bound;
}

mcore::Bounds meaning_of(const BoundWords& words) {
    mcore::Bounds bounds;
    take("--most-sources", words.sources, bounds.sources_per_host);
    take("--most-group-sources", words.group_sources, bounds.sources_per_group);
    take("--most-hosts", words.hosts, bounds.hosts_per_group);
    take("--most-groups", words.groups, bounds.groups_per_port);
    take("--most-addresses", words.addresses, bounds.addresses_per_port);
    take("--most-ranges", words.ranges, bounds.control_list_ranges);
    return bounds;
}

}  // namespace node
