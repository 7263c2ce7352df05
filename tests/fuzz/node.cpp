#include "tests/fuzz/node.h"

#include <sys/msg.h>
#include <sys/shm.h>
#include <unistd.h>

#include <array>
#include <csetjmp>
#include <cstddef>
#include <cstdint>

#include "adapt/adapt.h"
#include "adapt/status_segment.h"
#include "igmp/igmp.h"
#include "node/core/multicast_core.h"
#include "platform/protocol_core.h"
#include "tests/fuzz/chances.h"
#include "tests/fuzz/fresh_library.h"

namespace {

std::array<std::uint8_t, mc::kStatusSegmentSize> segment;
std::jmp_buf out_of_the_task;

}  // namespace

// The machine: a segment that is a block of memory, no queue.
extern "C" {

int shmget(key_t /*key*/, size_t /*size*/, int /*flags*/) { return 1; }
void* shmat(int /*id*/, const void* /*address*/, int /*flags*/) { return segment.data(); }
int msgget(key_t /*key*/, int /*flags*/) { return -1; }

// Where a driver waits that will have no frame any more. What stands between it and the task has
// nothing to put in order.
int pause(void) { std::longjmp(out_of_the_task, 1); }
}

namespace fuzz {

void start_node(driver::Driver& driver, std::uint64_t now_us) {
    driver::use(driver);
    unload_library();
    mcore::reset();
    mcore::set_bounds({});
    mcore::set_clock(now_us);
    must(igmp_data_init() == 0 && mld_data_init() == 0, "the core starts");
    must(adapt_init() == 0, "the library starts");
}

void run_packet_task() {
    if (setjmp(out_of_the_task) == 0) static_cast<void>(igmp_adapt_pkt_recv_task());
}

}  // namespace fuzz
