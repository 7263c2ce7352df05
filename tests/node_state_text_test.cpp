// The record of what a node has found on its bridge: what is written is read again, and nothing
// that is written otherwise.
#include <gtest/gtest.h>

#include <string>

#include "node/live/state_text.h"

namespace {

using live::Record;

Record example() {
    return {{"0d4a6a2c-8f4e", 4026531840, 18446744073709551615U, "br0"},
            {12, {0, 2, 1, 1000, 0}, {{"eth1", {5, 1}}, {"lan.2", {6, 2}}}}};
}

TEST(RecordOfABridge, IsTextForPeople) {
    EXPECT_EQ(
        live::text_of(example()),
        "# What mc_node found on br0 and gives back at its end. Killed, it leaves this to the "
        "next one,\n"
        "# or to mc_node live --restore --bridge br0\n"
        "boot 0d4a6a2c-8f4e\n"
        "netns 4026531840 18446744073709551615\n"
        "bridge br0 12\n"
        "mcast_snooping 0\n"
        "mcast_igmp_version 2\n"
        "mcast_mld_version 1\n"
        "mcast_query_response_interval 1000\n"
        "mcast_querier 0\n"
        "port eth1 5 mcast_router 1\n"
        "port lan.2 6 mcast_router 2\n");
}

TEST(RecordOfABridge, IsReadAsItWasWritten) {
    EXPECT_EQ(live::parse_record(live::text_of(example())), example());
    Record without_ports = example();
    without_ports.originals.ports.clear();
    EXPECT_EQ(live::parse_record(live::text_of(without_ports)), without_ports);
}

TEST(RecordOfABridge, IsNoneWhenALineIsMissing) {
    const std::string text = live::text_of(example());
    for (const std::string name :
         {"boot", "netns", "bridge", "mcast_snooping", "mcast_igmp_version", "mcast_mld_version",
          "mcast_query_response_interval", "mcast_querier"}) {
        const auto line = text.find("\n" + name + " ") + 1;
        std::string shorter = text;
        shorter.erase(line, text.find('\n', line) + 1 - line);
        EXPECT_FALSE(live::parse_record(shorter)) << name;
    }
    EXPECT_FALSE(live::parse_record(""));
}

TEST(RecordOfABridge, IsNoneWithALineTooMuch) {
    for (const std::string line :
         {"mcast_querier 1", "boot x", "colour 1", "", "port eth1 5 mcast_router 1"}) {
        EXPECT_FALSE(live::parse_record(live::text_of(example()) + line + "\n")) << line;
    }
}

TEST(RecordOfABridge, IsNoneWithAWordThatIsNotWhatItShouldBe) {
    const std::string text = live::text_of(example());
    for (const auto& [right, wrong] : std::initializer_list<std::pair<std::string, std::string>>{
             {"mcast_snooping 0", "mcast_snooping 256"},
             {"mcast_snooping 0", "mcast_snooping -1"},
             {"mcast_snooping 0", "mcast_snooping 0x0"},
             {"mcast_snooping 0", "mcast_snooping"},
             {"mcast_snooping 0", "mcast_snooping 0 0"},
             {"18446744073709551615", "18446744073709551616"},
             {"bridge br0 12", "bridge br0 2147483648"},
             {"eth1 5 mcast_router", "eth1 5 mcast_flood"},
             {"mcast_router 2", "mcast_router"}}) {
        std::string other = text;
        other.replace(other.find(right), right.size(), wrong);
        EXPECT_FALSE(live::parse_record(other)) << wrong;
    }
}

}  // namespace
