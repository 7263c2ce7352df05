// How the table of faults is written: a row is an operation and, in their order, the calls of
// neighbours that it makes without a fault; each call says what is left of the operation when that
// call fails, and it is made to fail in a run of its own.
//
//     {.operation = "omci_set_para_rv_globle",
//      .stores = true,
//      .run = [] { return omci_set_para_rv_globle(7); },
//      .calls = {{"igmp_para_rv_globle_set", kReturned}}}
//
// reads: it stores something; when igmp_para_rv_globle_set fails, the operation returns what that
// answered, the value is stored all the same, and the console hears of it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/frames.h"
#include "tests/support/neighbours.h"

namespace mc_test {

// ---- What a fault leaves -----------------------------------------------------------------------

// What the operation returns. Of a command, whose dispatcher always returns 0: whether the
// command's own failure text is the last that it says.
enum class Status {
    kUsual,     // as without the fault
    kTheirs,    // what the neighbour answered; a command: it reports its failure
    kMinusOne,  // the library's own refusal
    kOne,
    kTheirsOrPrinted,  // with errors traced, the length of what was printed, otherwise kTheirs
    kUsualOrPrinted,   // the same, otherwise kUsual
};

// What the records and the status segment hold afterwards.
enum class Stored {
    kAll,      // what they hold without the fault
    kNothing,  // what they held before
    kAllButTheSegment,
};

// Which calls follow the failing one.
enum class Then {
    kNext,            // the same as without the fault
    kNone,            // none
    kResume,          // those from the call named in `resumes` on
    kSleepAndGoOn,    // a pause, then those from the next call of the same function on
    kRunTheLastMore,  // those of the last command once more, then the same call and the rest
};

// When the console hears of it.
enum class Said { kNever, kWithErrors, kAlways };

struct Fault {
    Status status = Status::kUsual;
    Stored stored = Stored::kAll;
    Then then = Then::kNext;
    Said said = Said::kWithErrors;
    const char* resumes = nullptr;
};

constexpr Fault silently(Fault fault) {
    fault.said = Said::kNever;
    return fault;
}
constexpr Fault said_always(Fault fault) {
    fault.said = Said::kAlways;
    return fault;
}

// Reported, and all goes on: nothing else shows it.
constexpr Fault kIgnored{};
// Not even reported.
constexpr Fault kUnseen = silently(kIgnored);
// The status goes up; what was stored stays stored.
constexpr Fault kReturned{.status = Status::kTheirs};
// The status goes up and the operation ends there, what it had stored so far being all.
constexpr Fault kEnds{.status = Status::kTheirs, .then = Then::kNone};
// The same for an operation that has a status of its own for it.
constexpr Fault kRefused{.status = Status::kMinusOne, .then = Then::kNone};
// Stored only after the neighbour agreed: the status goes up and nothing has changed.
constexpr Fault kNotStored{
    .status = Status::kTheirs, .stored = Stored::kNothing, .then = Then::kNone};
// Not stored either, and yet success is returned, and the calls behind are made.
constexpr Fault kSkippedStore{.stored = Stored::kNothing};
// The walk around the call ends; the operation goes on behind it.
constexpr Fault ends_walk_before(const char* resumes) {
    return {.then = Then::kResume, .resumes = resumes};
}

// ---- Rows --------------------------------------------------------------------------------------

struct NeighbourCall {
    NeighbourCall(const char* name, Fault left) : NeighbourCall(name, 1, left) {}
    NeighbourCall(const char* name, unsigned in_a_row, Fault left)
        : import(name), times(in_a_row), fault(left) {}

    std::string import;
    unsigned times;
    Fault fault;
};
using NeighbourCalls = std::vector<NeighbourCall>;

inline NeighbourCalls operator+(NeighbourCalls head, const NeighbourCalls& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

enum class From { kStarted, kLoaded };  // behind a successful adapt_init, or right after loading

constexpr std::uint32_t kNoCommand = 0xFFFFFFFF;

struct Row {
    std::string operation;  // as it is exported; "command"
    std::string when = {};  // which of several cases
    bool stores = false;    // whether it changes records or segment, without a fault
    std::function<std::int32_t()> run;
    NeighbourCalls calls = {};
    std::function<void()> given = {};
    From from = From::kStarted;
    std::uint32_t code = kNoCommand;
    std::string failure = {};  // the command's own text; %d stands for the neighbour's status
};
using Rows = std::vector<Row>;

inline Rows operator+(Rows head, const Rows& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

// The table, in its parts.
Rows start_up_rows();
Rows setting_rows();
Rows vlan_rows();
Rows group_rows();
Rows frame_rows();
Rows task_rows();
Rows command_rows();
// What calls no neighbour and so meets no fault.
Rows rows_without_neighbours();

// One rule of port 1 on each side, by tag mode and VLANs 300 and 400, on an ONU with an OMCI id: on
// the MLD side it is the last of its VLAN too.
void given_rule_by_mode(int mode);

// ---- The C library as a neighbour (c_library.cpp) ----------------------------------------------

// While this lives shmget, shmat, msgget and msgrcv stand in the list of calls and in the script.
// The queue is then one of the test, with these records; when it is empty the loop is left.
class LibraryAlone {
 public:
    explicit LibraryAlone(std::vector<Bytes> records = {});
    ~LibraryAlone();
    LibraryAlone(const LibraryAlone&) = delete;
    LibraryAlone& operator=(const LibraryAlone&) = delete;
};

// The command that follows each one in the table: it hands this address to the core.
constexpr std::uint32_t kNextAddress = 0x5E5F6061;

// The command task over these records: its result when it ends, 0 when it waits for more.
std::int32_t serve(const std::vector<Bytes>& records);

}  // namespace mc_test
