// Messages that another process builds with the C headers: the records that mcctl posts for the
// same words, padded with zeros.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "command/command_codes.h"
#include "tools/command_line.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

McMessage started(long code) {
    McMessage message;
    std::ranges::fill(message.text, std::uint8_t{0xA5});
    mc_message_start(&message, code);
    return message;
}

void expect_as_mcctl(const McMessage& message, const std::string& words) {
    const commands::Record record = commands::encode(commands::split(words));
    EXPECT_EQ(message.type, static_cast<long>(record.code));
    auto wanted = record.text();
    Bytes padded(wanted.begin(), wanted.end());
    padded.resize(MC_RECORD_TEXT);
    EXPECT_EQ(Bytes(std::begin(message.text), std::end(message.text)), padded) << words;
}

TEST(Message, OfACommandWithoutFieldsIsItsHeader) {
    expect_as_mcctl(started(MC_CMD_SHOW_CONFIG), "show config");
}

TEST(Message, HoldsFieldsOfEachWidthBigEndian) {
    McMessage message = started(MC_CMD_AUTH_ADD);
    mc_message_set(&message, MC_CMD_AUTH_ADD_PORT, 1);
    mc_message_set(&message, MC_CMD_AUTH_ADD_START, 0xEF010100);
    mc_message_set(&message, MC_CMD_AUTH_ADD_END, 0xEF0101FF);
    mc_message_set(&message, MC_CMD_AUTH_ADD_BANDWIDTH, 0);
    mc_message_set(&message, MC_CMD_AUTH_ADD_VLAN, 4000);
    expect_as_mcctl(message, "auth add --port 1 --start 239.1.1.0 --end 239.1.1.255 --vlan 4000");
}

TEST(Message, TakesItsFieldsInAnyOrder) {
    McMessage message = started(MC_CMD_FAST_LEAVE);
    mc_message_set(&message, MC_CMD_FAST_LEAVE_MODE, 1);
    mc_message_set(&message, MC_CMD_FAST_LEAVE_PORT, 2);
    expect_as_mcctl(message, "fast-leave --port 2 on");
}

TEST(Message, CutsAValueToItsField) {
    McMessage message = started(MC_CMD_FAST_LEAVE);
    mc_message_set(&message, MC_CMD_FAST_LEAVE_MODE, 0);
    mc_message_set(&message, MC_CMD_FAST_LEAVE_PORT, 0xABCD1203);
    expect_as_mcctl(message, "fast-leave --port 3 off");
}

}  // namespace
