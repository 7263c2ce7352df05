// Faults of the neighbours: every operation, every command, start-up, the two tasks and the core's
// call-backs, with each call that they make failing in turn. What is left of them stands in the
// table (row.h); what holds in every case stands here.
#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "adapt/adapt.h"
#include "adapt/records.h"
#include "mld/record.h"
#include "tests/faults/row.h"
#include "tests/support/commands.h"
#include "tests/support/console.h"
#include "tests/support/fresh_library.h"
#include "tests/support/shared_library.h"
#include "tests/support/sides.h"

namespace {

using namespace mc_test;
using ::testing::IsEmpty;

using Texts = std::vector<std::string>;

// ---- What a run leaves -------------------------------------------------------------------------

// All that a run may store. Without a segment it holds zeros where that would be.
struct State {
    World world;
    bool has_segment;
    std::uint32_t pon_vlan;
    std::uint32_t igmp_mask;
    std::uint32_t mld_mask;
    std::uint8_t src_port;
    std::uint8_t own_mac[6];

    static State now() {
        static std::uint8_t no_segment[kSegment];
        State state;
        std::memset(static_cast<void*>(&state), 0, sizeof state);
        std::uint8_t* const at = mc_status_global;
        state.has_segment =
            at != nullptr && reinterpret_cast<std::uintptr_t>(at) != ~std::uintptr_t{0};
        if (!state.has_segment) mc_status_global = no_segment;
        const World world = World::now();
        std::memcpy(static_cast<void*>(&state.world), &world, sizeof world);
        mc_status_global = at;
        state.pon_vlan = ponVlan;
        state.igmp_mask = mc_debug;
        state.mld_mask = mld_debug;
        state.src_port = srcPortNum;
        std::copy_n(sys_mac, sizeof sys_mac, state.own_mac);
        return state;
    }

    State without_segment() const {
        State state;
        std::memcpy(static_cast<void*>(&state), this, sizeof state);
        state.has_segment = false;
        std::memset(state.world.segment, 0, kSegment);
        return state;
    }

    bool operator==(const State& other) const {
        return std::memcmp(this, &other, sizeof *this) == 0;
    }
};

struct Outcome {
    std::int32_t status;
    std::string text;
    Texts calls;
    State state;
};

// ---- One run -----------------------------------------------------------------------------------

constexpr std::uint32_t kQuiet = 0;

bool is_command(const Row& row) { return row.code != kNoCommand; }

// Thousands of times: writing the calls down would take longer than all the rest.
void start_unrecorded() {
    take_frames_unrecorded([](const std::uint8_t*, std::size_t, unsigned) {});
    EXPECT_EQ(adapt_init(), 0);
    take_frames_unrecorded(nullptr);
}

void begin(const Row& row) {
    begin_anew();
    if (row.from == From::kStarted) start_unrecorded();
    if (row.given) row.given();
    forget_calls();
}

// Behind every command comes one more: the task must get that far, whatever became of the command.
const std::string kNextCommand = call("igmp_globle_proxyip_set", kNextAddress);

// Leaves the calls of the command itself.
void check_the_task_went_on(Texts& calls) {
    const Texts head = {"msgget()", "msgrcv()"};
    const Texts tail = {"msgrcv()", kNextCommand, "msgrcv()"};
    ASSERT_GE(calls.size(), head.size() + tail.size());
    EXPECT_TRUE(std::equal(head.begin(), head.end(), calls.begin()));
    EXPECT_TRUE(std::equal(tail.rbegin(), tail.rend(), calls.rbegin())) << "the next command";
    calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(head.size()));
    calls.resize(calls.size() - tail.size());
}

// Whether the command's own failure text is the last that was said. One that names the status names
// that of the neighbour that failed, or the library's -1.
bool reports_failure(const Row& row, const std::string& text) {
    if (row.failure.empty()) return false;
    for (const std::int32_t status : {kFailure, -1, 1}) {
        std::string failure = row.failure;
        if (const auto at = failure.find("%d"); at != std::string::npos) {
            failure.replace(at, 2, std::to_string(status));
        }
        if (text.ends_with(failure)) return true;
    }
    return false;
}

Outcome run(const Row& row, std::uint32_t mask) {
    const std::size_t called_before = calls().size();
    mc_debug = mask;
    mld_debug = mask;
    Outcome seen;
    seen.text = printed([&] {
        const LibraryAlone alone;
        seen.status = row.run();
    });
    seen.state = State::now();
    mc_debug = 0;
    mld_debug = 0;
    seen.calls = calls();
    seen.calls.erase(seen.calls.begin(),
                     seen.calls.begin() + static_cast<std::ptrdiff_t>(called_before));
    if (is_command(row)) {
        check_the_task_went_on(seen.calls);
        seen.status = reports_failure(row, seen.text) ? 1 : 0;
    }
    return seen;
}

Outcome usual_run(const Row& row, std::uint32_t mask) {
    begin(row);
    return run(row, mask);
}

// ---- What holds in every case ------------------------------------------------------------------

template <class Side>
void expect_tables_in_order() {
    SCOPED_TRACE(Side::kName);
    for (int logical = 0; logical < MC_PORTS; ++logical) {
        const int count = Side::rule_counts()[logical];
        ASSERT_GE(count, 0);
        ASSERT_LE(count, MC_RULES);
        for (int slot = 0; slot < MC_RULES; ++slot) {
            const Rule& rule = Side::rules()[logical][slot];
            if (slot < count) {
                EXPECT_LT(rule.in_up_vlan, MC_NO_VLAN) << "port " << logical << ", rule " << slot;
            } else {
                EXPECT_EQ(text(rule), text(empty_rule())) << "port " << logical;
            }
        }
    }
    EXPECT_TRUE(std::equal(std::begin(Side::list()), std::end(Side::list()),
                           std::begin(Side::mirror()), std::end(Side::mirror())));
    auto* const end = std::find(std::begin(Side::list()), std::end(Side::list()), 0);
    EXPECT_TRUE(std::all_of(end, std::end(Side::list()), [](auto vlan) { return vlan == 0; }));
}

void expect_everything_in_order() {
    expect_tables_in_order<Igmp>();
    expect_tables_in_order<Mld>();
    // On the MLD side a frame may have taken the count's place.
    const auto* const end = std::find(std::begin(PortVlan), std::end(PortVlan), 0);
    EXPECT_EQ(setVlanNumber, end - PortVlan);
    for (const IgmpPortParm& port : globle_parm.port) {
        const auto used = std::count_if(std::begin(port.auth_group), std::end(port.auth_group),
                                        [](const auto& entry) { return entry.vlan != 0; });
        EXPECT_EQ(port.auth_group_num, used);
    }
}

// ---- One fault ---------------------------------------------------------------------------------

std::string name_of(const std::string& call) { return call.substr(0, call.find('(')); }

// The table's calls, one by one.
NeighbourCalls single(const NeighbourCalls& calls) {
    NeighbourCalls all;
    for (const NeighbourCall& call : calls) {
        for (unsigned i = 0; i < call.times; ++i) all.emplace_back(call.import.c_str(), call.fault);
    }
    return all;
}

// How a function of the name fails: once with each of these.
std::pair<std::int32_t, std::int32_t> failures_of(const std::string& name) {
    static const std::map<std::string, std::pair<std::int32_t, std::int32_t>> special = {
        {"igmp_if_gather_if_status", {0, -1}},  // they deliver a length
        {"igmp_gather_grp_info", {0, -1}},
        {"sleep", {1, 1}},  // woken a second early
        {"shmget", {-1, -1}},
        {"shmat", {-1, -1}},
        {"msgget", {-1, -1}},
        {"msgrcv", {-1, -1}},
    };
    const auto found = special.find(name);
    return found != special.end() ? found->second : std::pair{kFailure, -1};
}

Texts expected_calls(const Texts& usual, std::size_t failing, const Fault& fault) {
    const auto until = [&usual](std::size_t end) {
        return Texts(usual.begin(), usual.begin() + static_cast<std::ptrdiff_t>(end));
    };
    const auto append = [&usual](Texts& calls, std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) calls.push_back(usual[i]);
    };
    Texts calls = until(failing + 1);
    std::size_t next = failing + 1;
    switch (fault.then) {
        case Then::kNext:
            break;
        case Then::kNone:
            return calls;
        case Then::kResume:
            while (next < usual.size() && name_of(usual[next]) != fault.resumes) ++next;
            EXPECT_LT(next, usual.size()) << fault.resumes << " is not called";
            break;
        case Then::kSleepAndGoOn:
            calls.emplace_back("sleep(1)");
            while (next < usual.size() && usual[next] != usual[failing]) ++next;
            break;
        case Then::kRunTheLastMore: {
            std::size_t last = failing;
            while (last > 0 && usual[last - 1] != usual[failing]) --last;
            if (last > 1) append(calls, last, failing);
            next = failing;
            break;
        }
    }
    append(calls, next, usual.size());
    return calls;
}

void expect_status(const Row& row, const Outcome& seen, const Outcome& usual, const Fault& fault,
                   std::int32_t theirs, std::uint32_t mask) {
    const bool loud = mask != kQuiet || fault.said == Said::kAlways;
    const auto printed_length = static_cast<std::int32_t>(seen.text.size());
    if (is_command(row)) {
        EXPECT_EQ(seen.status, fault.status == Status::kTheirs ? (loud ? 1 : 0) : usual.status);
        return;
    }
    switch (fault.status) {
        case Status::kUsual:
            EXPECT_EQ(seen.status, usual.status);
            return;
        case Status::kTheirs:
            EXPECT_EQ(seen.status, theirs);
            return;
        case Status::kMinusOne:
            EXPECT_EQ(seen.status, -1);
            return;
        case Status::kOne:
            EXPECT_EQ(seen.status, 1);
            return;
        case Status::kTheirsOrPrinted:
            EXPECT_EQ(seen.status, mask != kQuiet ? printed_length : theirs);
            return;
        case Status::kUsualOrPrinted:
            EXPECT_EQ(seen.status, mask != kQuiet ? printed_length : usual.status);
            return;
    }
}

void expect_stored(const Outcome& seen, const Outcome& usual, const State& before, Stored stored) {
    switch (stored) {
        case Stored::kAll:
            EXPECT_TRUE(seen.state == usual.state) << "not all is stored";
            return;
        case Stored::kNothing:
            EXPECT_TRUE(seen.state == before) << "something is stored";
            return;
        case Stored::kAllButTheSegment:
            EXPECT_TRUE(seen.state == usual.state.without_segment());
            return;
    }
}

void expect_said(const Outcome& seen, const Outcome& usual, const Fault& fault,
                 std::uint32_t mask) {
    const bool says =
        fault.said == Said::kAlways || (fault.said == Said::kWithErrors && mask != kQuiet);
    if (says) {
        EXPECT_NE(seen.text, usual.text) << "nobody hears of it";
    } else {
        EXPECT_EQ(seen.text, usual.text);
    }
}

// The nth call of the function, which is the one at this position, fails.
struct Position {
    std::size_t at;
    std::string name;
    unsigned nth;
};

Position position(const Texts& calls, std::size_t at) {
    Position found = {at, name_of(calls[at]), 0};
    for (std::size_t i = 0; i <= at; ++i) found.nth += name_of(calls[i]) == found.name ? 1 : 0;
    return found;
}

State before_with(std::uint32_t mask) {
    mc_debug = mask;
    mld_debug = mask;
    State state = State::now();
    mc_debug = 0;
    mld_debug = 0;
    return state;
}

void check_fault(const Row& row, const Position& where, const Fault& fault, std::int32_t theirs,
                 std::uint32_t mask, const Outcome& usual) {
    begin(row);
    const State before = before_with(mask);
    fail_call(where.name, where.nth, theirs);
    const Outcome seen = run(row, mask);
    expect_status(row, seen, usual, fault, theirs, mask);
    expect_stored(seen, usual, before, fault.stored);
    EXPECT_EQ(seen.calls, expected_calls(usual.calls, where.at, fault));
    expect_said(seen, usual, fault, mask);
    expect_everything_in_order();
}

// Behind check_fault: the operation once more, with nothing failing.
void check_next(const Row& row, const Outcome& expected) {
    const Outcome seen = run(row, kQuiet);
    EXPECT_EQ(seen.status, expected.status);
    EXPECT_EQ(seen.calls, expected.calls);
    EXPECT_TRUE(seen.state == expected.state) << "the next one stores something else";
}

// ---- The table ---------------------------------------------------------------------------------

const Rows& table() {
    static const Rows rows = start_up_rows() + setting_rows() + vlan_rows() + group_rows() +
                             frame_rows() + task_rows() + command_rows() +
                             rows_without_neighbours();
    return rows;
}

std::string title(const Row& row) {
    std::string title = is_command(row) ? "command_" + std::to_string(row.code) : row.operation;
    if (!row.when.empty()) title += "_" + row.when;
    for (char& c : title) {
        if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
    }
    return title;
}

}  // namespace

namespace mc_test {

// As GoogleTest shows a row.
static void PrintTo(const Row& row, std::ostream* out) { *out << title(row); }

}  // namespace mc_test

namespace {

class EachRow : public LibraryTest, public ::testing::WithParamInterface<Row> {};
INSTANTIATE_TEST_SUITE_P(Of, EachRow, ::testing::ValuesIn(table()),
                         [](const auto& row) { return title(row.param); });

TEST_P(EachRow, NamesTheCallsThatAreMadeWithoutAFault) {
    const Row& row = GetParam();
    Texts expected;
    for (const NeighbourCall& call : single(row.calls)) expected.push_back(call.import);
    begin(row);
    const State before = before_with(kQuiet);
    const Outcome usual = run(row, kQuiet);
    Texts names;
    for (const std::string& call : usual.calls) names.push_back(name_of(call));
    EXPECT_EQ(names, expected);
    EXPECT_EQ(!(usual.state == before), row.stores) << "what it stores without a fault";
    expect_everything_in_order();
}

TEST_P(EachRow, StandsEachFaultAsTheTableSays) {
    const Row& row = GetParam();
    if (row.calls.empty()) return;
    const Outcome loud = usual_run(row, kErr);
    const Outcome quiet = usual_run(row, kQuiet);
    const Outcome again = run(row, kQuiet);
    const NeighbourCalls calls = single(row.calls);
    ASSERT_EQ(calls.size(), quiet.calls.size());
    for (std::size_t i = 0; i < calls.size(); ++i) {
        const Position where = position(quiet.calls, i);
        const Fault& fault = calls[i].fault;
        const auto [first, second] = failures_of(where.name);
        SCOPED_TRACE(where.name + " fails, call " + std::to_string(where.nth));
        check_fault(row, where, fault, second, kErr, loud);
        check_fault(row, where, fault, first, kQuiet, quiet);
        check_next(row, fault.stored == Stored::kNothing ? quiet : again);
    }
}

// ---- The console -------------------------------------------------------------------------------

// Standard output fails at every write while this lives.
class BrokenConsole {
 public:
    BrokenConsole() : real_(stdout) {
        constexpr cookie_io_functions_t functions = {
            nullptr, [](void*, const char*, std::size_t) -> ssize_t { return 0; }, nullptr,
            nullptr};
        broken_ = fopencookie(nullptr, "w", functions);
        setvbuf(broken_, nullptr, _IONBF, 0);
        stdout = broken_;
    }
    ~BrokenConsole() {
        stdout = real_;
        std::fclose(broken_);
    }
    BrokenConsole(const BrokenConsole&) = delete;
    BrokenConsole& operator=(const BrokenConsole&) = delete;

 private:
    std::FILE* real_;
    std::FILE* broken_;
};

Row without_console(Row row) {
    row.run = [with_console = row.run] {
        const BrokenConsole console;
        return with_console();
    };
    return row;
}

Outcome run_with_faults(const Row& row, const Names& failing) {
    begin(row);
    for (const std::string& name : failing) answer(name, failures_of(name).second);
    return run(row, kAllCategories);
}

// Of a command the status is what it says; some operations hand on what a print returns.
bool has_status_without_console(const Row& row) {
    return !is_command(row) &&
           std::none_of(row.calls.begin(), row.calls.end(), [](const NeighbourCall& call) {
               return call.fault.status == Status::kTheirsOrPrinted ||
                      call.fault.status == Status::kUsualOrPrinted;
           });
}

// A node without a console does all that it does with one, whether all goes well or all fails.
TEST_P(EachRow, NeedsNoConsole) {
    const Row& row = GetParam();
    Names all;
    for (const NeighbourCall& call : row.calls) all.insert(call.import);
    all.erase("msgrcv");  // the command task would go on for ever, as it is to
    for (const Names& failing : {Names{}, all}) {
        const Outcome heard = run_with_faults(row, failing);
        const Outcome unheard = run_with_faults(without_console(row), failing);
        EXPECT_THAT(unheard.text, IsEmpty());
        EXPECT_EQ(unheard.calls, heard.calls);
        if (has_status_without_console(row)) {
            EXPECT_EQ(unheard.status, heard.status);
        }
        EXPECT_TRUE(unheard.state == heard.state) << failing.size() << " functions fail";
    }
}

// ---- Nothing is left out -----------------------------------------------------------------------

Names operations_in_table() {
    Names names;
    for (const Row& row : table()) names.insert(row.operation);
    return names;
}

// A matcher of subsets would name all that is known first.
Names without(Names names, const Names& known) {
    for (const std::string& name : known) names.erase(name);
    return names;
}

TEST(Table, HasARowForEveryOperationThatIsExported) {
    EXPECT_THAT(without(SharedLibrary(MC_LIBRARY_FILE).exported_functions, operations_in_table()),
                IsEmpty());
}

class Commands : public LibraryTest {};

TEST_F(Commands, EachHaveARow) {
    std::set<std::uint32_t> codes;
    for (const Row& row : table()) {
        if (is_command(row)) codes.insert(row.code);
    }
    for (std::uint32_t code = 0; code < kBehindAllCodes; ++code) {
        begin_anew();
        start_unrecorded();
        EXPECT_EQ(codes.contains(code), is_known(code)) << "command " << code;
    }
}

// What fills and moves memory cannot fail; the console fails in a test of its own.
bool is_of_no_interest(const std::string& name) {
    static const Names known = {"memcpy", "memmove", "memset", "memcmp",
                                "printf", "puts",    "putchar"};
    static const Names variables = {"igmpv3_rcv", "igmpv3_snd"};
    return known.contains(name) || variables.contains(name) || name.starts_with("__asan_") ||
           name.starts_with("__ubsan_");
}

TEST(Table, LetsEveryImportFailThatAnswersAnything) {
    Names failing;
    for (const Row& row : table()) {
        for (const NeighbourCall& call : row.calls) failing.insert(call.import);
    }
    Names imported = SharedLibrary(MC_LIBRARY_FILE).imported;
    std::erase_if(imported, is_of_no_interest);
    EXPECT_THAT(without(imported, failing), IsEmpty());
    EXPECT_THAT(without(failing, imported), IsEmpty());
}

}  // namespace
