#include "node/bound_arguments.h"

#include <cstdint>

#include "node/usage_error.h"
#include "tools/values.h"

namespace node {
namespace {

void take(const char* option, const std::string& text, std::uint32_t& bound) {
    constexpr std::uint32_t kMost = 100'000'000;  // sums of it still fit
    if (text.empty()) return;
    if (!commands::read_number(text, bound) || bound == 0 || bound > kMost) {
        throw UsageError(std::string(option) + ": '" + text +
                         "' is no bound: a number from 1 to 100000000 is needed");
    }
}

}  // namespace

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
