// The receive loop of the command task, over a real System V queue.
#include <dlfcn.h>
#include <errno.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "adapt/records.h"
#include "command/command.h"
#include "tests/support/console.h"
#include "tests/support/frames.h"
#include "tests/support/fresh_library.h"
#include "tests/support/hex_dump.h"
#include "tests/support/ipc.h"
#include "tests/support/neighbours.h"

namespace {

// How the library last opened the queue, and whether it is refused.
struct QueueOpening {
    bool refused = false;
    key_t key = 0;
    int flags = 0;
};
QueueOpening opening;

// How it last asked for a message.
struct QueueReceive {
    std::size_t size = 0;
    long type = -1;
    int flags = -1;
    unsigned failures = 0;
    bool more_is_coming = false;  // from elsewhere, while the command task waits
};
QueueReceive receiving;

[[noreturn]] void give_up(const char* what) {
    std::fputs(what, stderr);
    std::abort();
}

bool is_empty(int queue) {
    msqid_ds state = {};
    return msgctl(queue, IPC_STAT, &state) == 0 && state.msg_qnum == 0;
}

template <class Function>
Function* of_the_c_library(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// These two stand in front of the C library's own.

extern "C" int msgget(key_t key, int flags) noexcept {
    opening.key = key;
    opening.flags = flags;
    if (opening.refused) {
        errno = ENOSPC;
        return -1;
    }
    return of_the_c_library<int(key_t, int)>("msgget")(key, flags);
}

// Only a message that was received reaches the caller's buffer. A kernel keeps to that by itself;
// an emulator may not.
extern "C" ssize_t msgrcv(int queue, void* message, size_t size, long type, int flags) {
    using Receive = ssize_t(int, void*, size_t, long, int);
    constexpr std::size_t kLargest = 1024;
    constexpr unsigned kTooManyFailures = 1000;
    alignas(long) std::uint8_t received[kLargest];
    receiving.size = size;
    receiving.type = type;
    receiving.flags = flags;
    if (!receiving.more_is_coming && is_empty(queue)) {
        give_up("the command task waits for a message that nobody posts\n");
    }
    const ssize_t length = of_the_c_library<Receive>("msgrcv")(queue, received, size, type, flags);
    if (length >= 0) {
        receiving.failures = 0;
        std::memcpy(message, received, sizeof(long) + static_cast<std::size_t>(length));
    } else if (++receiving.failures == kTooManyFailures) {
        give_up("the command task never comes back\n");
    }
    return length;
}

namespace {

using namespace mc_test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// Commands whose operation is one call of the core with words of the record and no trace.
constexpr long kSetProxyAddress = 28;  // the word at 8
constexpr long kSetSsmRange = 29;      // the words at 8 and 12
constexpr long kSetSsmMap = 30;        // the words at 8, 12, 16, 20 and 24
constexpr const char* kProxyAddress = "igmp_globle_proxyip_set";

struct Message {
    long type;
    std::uint8_t text[256];
};

// Posts what follows the type word: the dump length, then the payload.
int try_to_post(long code, const Bytes& text) {
    Message message = {};
    message.type = code;
    std::copy(text.begin(), text.end(), message.text);
    const int queue = msgget(MC_QUEUE_KEY, IPC_CREAT | 0666);
    return msgsnd(queue, &message, text.size(), IPC_NOWAIT);
}

void post(long code, const Bytes& text) {
    ASSERT_EQ(try_to_post(code, text), 0) << std::strerror(errno);
}

// A record as it is dumped: the code is big-endian on every machine.
Bytes record_of(long code, const Bytes& text) {
    Bytes record = be32(static_cast<std::uint32_t>(code)) + text;
    record.resize(MC_RECORD_SIZE);
    return record;
}

// Serves the queue until the core's function has been called so often.
void serve_until(const char* name, std::size_t times) {
    during(name, [name, times] {
        if (count_of(name) >= times) leave_library();
    });
    EXPECT_TRUE(run_until_left([] { recv_igmp_interface_msg(); }));
}

class CommandQueue : public StartedTest {
 protected:
    CommandQueue() {
        opening = {};
        receiving = {};
    }
    ~CommandQueue() override { opening = {}; }

    // Posts a proxy address command with some words behind the dump length and serves it.
    static std::string said_for_dump_length(std::uint32_t length, std::uint32_t bits,
                                            const Bytes& payload = be32(0x0A190E15)) {
        post(kSetProxyAddress, be32(length) + payload);
        forget_calls();
        return said(mc_debug, bits, [] { serve_until(kProxyAddress, 1); });
    }
};

// ---- Messages ----------------------------------------------------------------------------------

TEST_F(CommandQueue, CommandsAreServedInTheOrderInWhichTheyWerePosted) {
    post(kSetSsmRange, be32(0) + be32(1) + be32(2));
    post(kSetProxyAddress, be32(0) + be32(0x0A190E15));
    post(kSetSsmRange, be32(0) + be32(3) + be32(4));
    post(kSetProxyAddress, be32(0) + be32(0xFFFFFFFF));
    serve_until(kProxyAddress, 2);
    EXPECT_THAT(calls(),
                ElementsAre("igmp_ssm_ip_globle_set(1, 2)", "igmp_globle_proxyip_set(169414165)",
                            "igmp_ssm_ip_globle_set(3, 4)", "igmp_globle_proxyip_set(4294967295)"));
}

TEST_F(CommandQueue, TheQueueIsOpenedForEveryoneAndMadeWhereThereIsNone) {
    post(kSetProxyAddress, be32(0));
    serve_until(kProxyAddress, 1);
    EXPECT_EQ(opening.key, 81);
    EXPECT_EQ(opening.flags, 0x3B6);
}

// Any type, which is in queue order, and without an end to the waiting.
TEST_F(CommandQueue, AMessageMayHave128BytesOfTextAndAnyCode) {
    post(kSetProxyAddress, be32(0));
    serve_until(kProxyAddress, 1);
    EXPECT_EQ(receiving.size, 128u);
    EXPECT_EQ(receiving.type, 0);
    EXPECT_EQ(receiving.flags, 0);
}

TEST_F(CommandQueue, NothingIsSentBack) {
    post(kSetProxyAddress, be32(0));
    serve_until(kProxyAddress, 1);
    msqid_ds state = {};
    ASSERT_EQ(msgctl(msgget(MC_QUEUE_KEY, 0), IPC_STAT, &state), 0);
    EXPECT_EQ(state.msg_qnum, 0u);
    EXPECT_EQ(state.msg_lspid, getpid()) << "sent by this test";
}

TEST_F(CommandQueue, Code0CannotBePosted) {
    EXPECT_EQ(try_to_post(0, be32(0)), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(CommandQueue, AnUnknownCodeIsReported) {
    for (const long code : {116L, 117L, 1000L, 0x7FFFFFFFL}) {
        post(code, be32(0));
        post(kSetProxyAddress, be32(0));
        forget_calls();
        EXPECT_EQ(said(mc_debug, kErr, [] { serve_until(kProxyAddress, 1); }),
                  "\r\n[MC_DBG_ERR]: msgid(" + std::to_string(code) + ") is not missing!\r\n");
        EXPECT_EQ(calls().size(), 1u);
    }
}

TEST_F(CommandQueue, AnUnknownCodeIsNotReportedWithoutTheErrorCategory) {
    post(116, be32(0));
    post(kSetProxyAddress, be32(0));
    EXPECT_EQ(said(mc_debug, kAllCategories & ~kErr & ~kCfg, [] { serve_until(kProxyAddress, 1); }),
              "");
}

// The rest of the record is what the message before left there.
TEST_F(CommandQueue, AShortMessageKeepsTheBytesOfTheOneBefore) {
    post(kSetSsmMap, be32(0) + be32(1) + be32(2) + be32(3) + be32(4) + be32(5));
    post(kSetSsmMap, be32(0) + be32(6) + Bytes{0x00, 0x00});
    post(kSetSsmMap, be32(0));
    post(kSetSsmMap, {});
    post(kSetProxyAddress, be32(0) + Bytes{0x77});
    serve_until(kProxyAddress, 1);
    EXPECT_THAT(
        calls(),
        ElementsAre("igmp_ssm_map_change({1, 2, 3, 4, 5})", "igmp_ssm_map_change({6, 2, 3, 4, 5})",
                    "igmp_ssm_map_change({6, 2, 3, 4, 5})", "igmp_ssm_map_change({6, 2, 3, 4, 5})",
                    call(kProxyAddress, 0x77000006)));
}

TEST_F(CommandQueue, TheFirstMessageIsCompletedWithZeros) {
    post(kSetSsmMap, be32(0) + be32(7));
    serve_until("igmp_ssm_map_change", 1);
    EXPECT_THAT(calls(), ElementsAre("igmp_ssm_map_change({7, 0, 0, 0, 0})"));
}

TEST_F(CommandQueue, TheStaleBytesAreDumpedToo) {
    const Bytes first = be32(0) + counted_bytes(124);
    post(kSetProxyAddress, first);
    post(kSetProxyAddress, be32(132) + Bytes{0xAA, 0xBB});
    const std::string text = said(mc_debug, kCfg, [] { serve_until(kProxyAddress, 2); });
    Bytes second = record_of(kSetProxyAddress, first);
    second[7] = 132;
    second[8] = 0xAA;
    second[9] = 0xBB;
    EXPECT_EQ(text, hex_dump({}) + hex_dump(second));
}

TEST_F(CommandQueue, AnEmptyMessageKeepsEvenTheDumpLength) {
    post(kSetProxyAddress, be32(9) + Bytes{0xAA});
    post(kSetProxyAddress, {});
    const Bytes shown = {0, 0, 0, 28, 0, 0, 0, 9, 0xAA};
    EXPECT_EQ(said(mc_debug, kCfg, [] { serve_until(kProxyAddress, 2); }),
              hex_dump(shown) + hex_dump(shown));
}

// ---- Receives that fail ------------------------------------------------------------------------

constexpr const char* kReceiveFailed = "\r\n[MC_DBG_ERR]: msgrcv interface msg queue failed!";

TEST_F(CommandQueue, AFailedReceiveRunsTheRecordBeforeOnceMore) {
    during(kProxyAddress, [] {
        if (count_of(kProxyAddress) == 1) remove_ipc();
        if (count_of(kProxyAddress) == 3) leave_library();
    });
    post(kSetProxyAddress, be32(9) + be32(0x0A190E15));
    EXPECT_EQ(said(mc_debug, kErr,
                   [] { EXPECT_TRUE(run_until_left([] { recv_igmp_interface_msg(); })); }),
              std::string(kReceiveFailed) + kReceiveFailed);
    const std::string again = call(kProxyAddress, 0x0A190E15);
    EXPECT_THAT(calls(), ElementsAre(again, again, again));
}

TEST_F(CommandQueue, ARecordThatIsRunOnceMoreIsDumpedOnceMore) {
    during(kProxyAddress, [] {
        if (count_of(kProxyAddress) == 1) remove_ipc();
        if (count_of(kProxyAddress) == 2) leave_library();
    });
    post(kSetProxyAddress, be32(9) + Bytes{0xAA});
    const std::string dump = hex_dump({0, 0, 0, 28, 0, 0, 0, 9, 0xAA});
    EXPECT_EQ(said(mc_debug, kErr | kCfg,
                   [] { EXPECT_TRUE(run_until_left([] { recv_igmp_interface_msg(); })); }),
              dump + kReceiveFailed + dump);
}

TEST_F(CommandQueue, AFailedReceiveIsSilentWithoutTheErrorCategory) {
    during(kProxyAddress, [] {
        if (count_of(kProxyAddress) == 1) remove_ipc();
        if (count_of(kProxyAddress) == 3) leave_library();
    });
    post(kSetProxyAddress, be32(9) + be32(0x0A190E15));
    EXPECT_EQ(said(mc_debug, kAllCategories & ~kErr & ~kCfg,
                   [] { EXPECT_TRUE(run_until_left([] { recv_igmp_interface_msg(); })); }),
              "");
    EXPECT_EQ(count_of("sleep"), 0u) << "nor does it pause";
}

// It stays in the queue, in front of what was posted behind it, until someone takes it away.
TEST_F(CommandQueue, AMessageOfMoreThan128BytesIsAFailedReceive) {
    during(kProxyAddress, [] {
        if (count_of(kProxyAddress) == 2) {
            Message message;
            EXPECT_EQ(msgrcv(msgget(MC_QUEUE_KEY, 0), &message, sizeof message.text, 0, 0), 129);
        }
        if (count_of(kProxyAddress) == 3) leave_library();
    });
    post(kSetProxyAddress, be32(0) + be32(1));
    post(kSetProxyAddress, Bytes(129));
    post(kSetProxyAddress, be32(0) + be32(2));
    EXPECT_EQ(said(mc_debug, kErr,
                   [] { EXPECT_TRUE(run_until_left([] { recv_igmp_interface_msg(); })); }),
              kReceiveFailed);
    EXPECT_THAT(calls(), ElementsAre(call(kProxyAddress, 1), call(kProxyAddress, 1),
                                     call(kProxyAddress, 2)));
}

TEST_F(CommandQueue, AMessageOf128BytesIsReceivedWhole) {
    const Bytes text = be32(132) + counted_bytes(124);
    post(kSetProxyAddress, text);
    EXPECT_EQ(said(mc_debug, kErr | kCfg, [] { serve_until(kProxyAddress, 1); }),
              hex_dump(record_of(kSetProxyAddress, text)));
}

// The record is empty then, of code 0, which nobody can post. A signal makes the first receive
// fail; the queue exists by then, and the third signal leaves a command that ends the loop.
int signals_so_far = 0;
void on_signal(int) {
    if (++signals_so_far == 3) try_to_post(kSetProxyAddress, be32(0));
}

TEST_F(CommandQueue, AFirstReceiveThatFailsRunsAnEmptyRecord) {
    signals_so_far = 0;
    receiving.more_is_coming = true;
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = on_signal;
    sigaction(SIGALRM, &action, &before);
    itimerval every_50_ms = {{0, 50000}, {0, 50000}};
    setitimer(ITIMER_REAL, &every_50_ms, nullptr);
    const std::string text = said(mc_debug, kErr, [] { serve_until(kProxyAddress, 1); });
    itimerval never = {};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_THAT(text, StartsWith(std::string(kReceiveFailed) +
                                 "\r\n[MC_DBG_ERR]: msgid(0) is not missing!\r\n"));
    EXPECT_THAT(calls(), ElementsAre(call(kProxyAddress, 0)));
}

TEST_F(CommandQueue, AQueueThatCannotBeOpenedEndsTheTask) {
    opening.refused = true;
    expect_said(mc_debug, kErr, "\r\n[MC_DBG_ERR]: msgget MSG_QUEUE_KEY queue failed",
                [] { EXPECT_EQ(recv_igmp_interface_msg(), -1); });
    EXPECT_THAT(calls(), IsEmpty());
}

// ---- Dump --------------------------------------------------------------------------------------

TEST_F(CommandQueue, ARecordIsDumpedToTheLengthThatItAsksFor) {
    const Bytes payload = counted_bytes(124);
    for (const std::uint32_t length : {1u, 4u, 15u, 16u, 17u, 32u, 33u, 131u, 132u}) {
        Bytes shown = record_of(kSetProxyAddress, be32(length) + payload);
        shown.resize(length);
        EXPECT_EQ(said_for_dump_length(length, kCfg, payload), hex_dump(shown)) << length;
    }
}

TEST_F(CommandQueue, ADumpOfLength0IsTwoLines) {
    EXPECT_EQ(said_for_dump_length(0, kCfg),
              "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n"
              "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n");
}

TEST_F(CommandQueue, ADumpOf17BytesBreaksTheLineOnce) {
    EXPECT_EQ(said_for_dump_length(17, kCfg, counted_bytes(124)),
              "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n"
              "00 00 00 1c 00 00 00 11 00 01 02 03 04 05 06 07 \r\n"
              "08 "
              "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n");
}

TEST_F(CommandQueue, BehindTheRecordADumpShowsZeros) {
    for (const std::uint32_t length : {133u, 144u, 200u, 4095u, 4096u}) {
        Bytes shown = record_of(kSetProxyAddress, be32(length) + Bytes(124, 0xEE));
        shown.resize(length);
        EXPECT_EQ(said_for_dump_length(length, kCfg, Bytes(124, 0xEE)), hex_dump(shown)) << length;
    }
}

TEST_F(CommandQueue, ADumpEndsAfter4096Bytes) {
    for (const std::uint32_t length : {4097u, 100000u, 0xFFFFFFFFu}) {
        Bytes shown = record_of(kSetProxyAddress, be32(length) + Bytes(124, 0xEE));
        shown.resize(4096);
        EXPECT_EQ(said_for_dump_length(length, kCfg, Bytes(124, 0xEE)), hex_dump(shown)) << length;
    }
}

TEST_F(CommandQueue, WithoutTheConfigurationCategoryAWellFormedMessageIsSilent) {
    for (const std::uint32_t bits : {0u, kAllCategories & ~kCfg}) {
        EXPECT_EQ(said_for_dump_length(132, bits), "") << bits;
    }
}

TEST_F(CommandQueue, TheDumpFollowsTheMaskOfTheIgmpSide) {
    post(kSetProxyAddress, be32(132));
    EXPECT_EQ(said(mld_debug, kAllCategories, [] { serve_until(kProxyAddress, 1); }), "");
}

// A record is dumped before it is run, so that a command shows even when it switches the mask off.
TEST_F(CommandQueue, ARecordIsDumpedBeforeItIsRun) {
    post(kSetProxyAddress, be32(4));
    during(kProxyAddress, [] {
        mc_debug = 0;
        leave_library();
    });
    EXPECT_EQ(said(mc_debug, kCfg,
                   [] { EXPECT_TRUE(run_until_left([] { recv_igmp_interface_msg(); })); }),
              hex_dump({0, 0, 0, 28}));
}

// ---- Records without the queue -----------------------------------------------------------------

TEST_F(CommandQueue, ARecordMayStandAtAnyAddress) {
    for (std::size_t shift = 0; shift < 4; ++shift) {
        Bytes buffer = Bytes(shift) + record_of(kSetProxyAddress, be32(0) + be32(0x01020304));
        buffer.shrink_to_fit();
        EXPECT_EQ(process_interface_msg(buffer.data() + shift), 0);
        EXPECT_EQ(last_call(kProxyAddress).text, call(kProxyAddress, 0x01020304));
    }
}

TEST_F(CommandQueue, TheResultIsAlways0) {
    answer(kProxyAddress, kFailure);
    for (const long code : {0L, 28L, 116L, 0x7FFFFFFFL}) {
        EXPECT_EQ(process_interface_msg(record_of(code, be32(0)).data()), 0);
    }
}

// All four bytes of the code count.
TEST_F(CommandQueue, ACodeAbove115IsUnknownWhateverItsLowByte) {
    for (const std::uint32_t code : {0x1Cu << 24, 0x1Cu << 8, 0x011Cu, 0x8000001Cu}) {
        Bytes record = be32(code);
        record.resize(MC_RECORD_SIZE);
        process_interface_msg(record.data());
    }
    EXPECT_THAT(calls(), IsEmpty());
}

}  // namespace
