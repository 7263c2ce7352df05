/*
 * Source filters as the live switch has them: what several VLANs of a port want together, and what
 * the kernel takes.
 */
#include "node/live/source_filter.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

#include "node/live/multicast_database.h"

namespace {

using mcore::Address;
using mcore::Family;
using mcore::Filter;

std::vector<Address> sources(std::initializer_list<std::uint8_t> last_bytes) {
    std::vector<Address> all;
    for (const std::uint8_t last : last_bytes) all.push_back({192, 0, 2, last});
    return all;
}

Filter include(std::initializer_list<std::uint8_t> last_bytes) {
    return {false, sources(last_bytes)};
}
Filter exclude(std::initializer_list<std::uint8_t> last_bytes) {
    return {true, sources(last_bytes)};
}

TEST(SourceFilter, OfTwoVlansIsWhatEitherWants) {
    EXPECT_EQ(live::merge(include({1, 2}), include({2, 3})), include({1, 2, 3}));
    EXPECT_EQ(live::merge(exclude({1, 2}), exclude({2, 3})), exclude({2}));
    EXPECT_EQ(live::merge(exclude({1, 2}), include({2, 3})), exclude({1}));
    EXPECT_EQ(live::merge(include({2, 3}), exclude({1, 2})), exclude({1}));
    EXPECT_EQ(live::merge(include({1}), exclude({})), exclude({}));
}

TEST(SourceFilter, ListsOnlySourcesThatADatagramCanComeFrom) {
    Filter wanted = include({7});
    wanted.sources.insert(wanted.sources.begin(), Address{});
    wanted.sources.push_back({224, 0, 1, 1});
    EXPECT_EQ(live::acceptable(Family::kIpv4, wanted), include({7}));
    const Filter of_groups{false, {Address{}, {0xFF, 0x1E}}};
    EXPECT_TRUE(wants_all(live::acceptable(Family::kIpv6, of_groups))) << "nothing is left to list";
    const Filter unicast{true, {{0xE0}}};
    EXPECT_EQ(live::acceptable(Family::kIpv6, unicast), unicast) << "e000:: is no group of IPv6";
}

TEST(SourceFilter, WantsAllWhenItListsMoreThanTheKernelTakes) {
    for (const bool is_exclude : {false, true}) {
        Filter filter{is_exclude, {}};
        for (std::uint8_t i = 0; i < live::kMostSources; ++i) {
            filter.sources.push_back({192, 0, 2, i});
        }
        EXPECT_EQ(live::acceptable(Family::kIpv4, filter), filter);
        filter.sources.push_back({192, 0, 3, 0});
        EXPECT_TRUE(wants_all(live::acceptable(Family::kIpv4, filter)));
    }
}

}  // namespace
