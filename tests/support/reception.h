// Received frames and what the core is told of them, on either side.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "adapt/records.h"
#include "tests/support/fresh_library.h"
#include "tests/support/neighbours.h"
#include "tests/support/sides.h"

namespace mc_test {

// In proxy mode, where the core alone gets a frame.
template <class Side>
class ReceptionTest : public StartedTest {
 protected:
    ReceptionTest() { Side::set_mode(Side::kProxy); }

    static std::vector<std::string> core_calls() { return calls_of({Side::kCore}); }
    static std::string core_call(std::uint32_t port, std::uint32_t vlan) {
        return Side::core_call(Side::packet(), port, vlan);
    }

    // The group VLAN that the core is told for a report tagged so; each frame is the only one.
    static std::uint32_t group_vlan(std::uint16_t vid, std::uint32_t port) {
        forget_calls();
        EXPECT_EQ(Side::receive(Side::report({vid}), port), 0);
        const Call call = last_call(Side::kCore);
        EXPECT_EQ(call.name, Side::kCore);
        EXPECT_EQ(call.numbers.at(2), ponVlan);
        return ponVlan;
    }
};

}  // namespace mc_test
