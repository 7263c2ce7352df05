// The bodies of the two tasks: what they start with, and that they go on whatever fails.
#include <cstdint>

#include "command/command.h"
#include "igmp/igmp.h"
#include "tests/faults/row.h"
#include "tests/support/commands.h"
#include "tests/support/sides.h"

namespace mc_test {

namespace {

// A frame of each side, then nothing for a second. It is left when it asks once more.
std::int32_t take_two_frames() {
    deliver(Igmp::report({100}), 3);
    deliver(Mld::report({100}), 0);  // with the same group VLAN
    run_packet_task(1);
    return 0;
}

std::int32_t serve_two_commands() {
    return serve({record_of(5, Bytes{1}), record_of(97, Bytes{7})});
}

}  // namespace

Rows task_rows() {
    // A read that fails costs a second; what it left in the buffer is not looked at.
    constexpr Fault kNotRead = {.then = Then::kSleepAndGoOn, .said = Said::kNever};
    // The record that was received last, or an empty one, is run once more without a pause.
    constexpr Fault kRunAgain = {.then = Then::kRunTheLastMore};
    return {
        // These frames were there before: one that is not read leaves nothing else than before.
        {.operation = "igmp_adapt_pkt_recv_task",
         .run = take_two_frames,
         .calls = {{"L2_multicast_read_msg", kNotRead},
                   {"igmp_pkt_recv", kUnseen},
                   {"L2_multicast_send_msg", kIgnored},
                   {"L2_multicast_read_msg", kNotRead},
                   {"mld_pkt_recv", kUnseen},
                   {"L2_multicast_send_msg", kIgnored},
                   {"L2_multicast_read_msg", kUnseen},  // "nothing now" is a failure already
                   {"sleep", kUnseen},
                   {"L2_multicast_read_msg", kUnseen}},
         .given = take_two_frames},
        {.operation = "recv_igmp_interface_msg",
         .stores = true,
         .run = serve_two_commands,
         .calls = {{"msgget",
                    {.status = Status::kMinusOne, .stored = Stored::kNothing, .then = Then::kNone}},
                   {"msgrcv", kRunAgain},
                   {"igmp_vlan_learning_set", kIgnored},
                   {"msgrcv", kRunAgain},
                   {"igmp_para_rv_globle_set", kIgnored},
                   {"msgrcv", kUnseen}}},  // where the test leaves it
        {.operation = "process_interface_msg",
         .stores = true,
         .run = [] { return process_interface_msg(record_of(97, Bytes{7}).data()); },
         .calls = {{"igmp_para_rv_globle_set", kIgnored}}},
    };
}

}  // namespace mc_test
