// The library as a file: what it exports, imports, needs and runs at load, and the built-in frame.
#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

#include "adapt/records.h"
#include "common/bytes.h"
#include "tests/support/frames.h"
#include "tests/support/shared_library.h"

namespace {

using namespace mc_test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSubsetOf;
using ::testing::Not;

// ---- The headers -------------------------------------------------------------------------

std::vector<std::filesystem::path> headers() {
    std::vector<std::filesystem::path> paths;
    for (const auto& room : std::filesystem::directory_iterator(MC_SOURCE_DIR)) {
        const std::string name = room.path().filename().string();
        if (!room.is_directory() || name == "tests" || name == "node" || name[0] == '.') continue;
        for (const auto& file : std::filesystem::directory_iterator(room)) {
            if (file.path().extension() == ".h") paths.push_back(file.path());
        }
    }
    return paths;
}

void erase_between(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t begin; (begin = text.find(from)) != std::string::npos;) {
        text.erase(begin, text.find(to, begin) - begin + to.size());
    }
}

std::string without_comments(std::string text) {
    erase_between(text, "/*", "*/");
    erase_between(text, "//", "\n");
    return text;
}

bool in_name(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; }

// The names that follow a word in declarations: the last one in front of the arguments, the bounds
// or the end.
Names declared_behind(const std::string& word, const std::string& text) {
    Names names;
    for (std::size_t at = 0; (at = text.find(word, at)) != std::string::npos;) {
        const bool is_word =
            (at == 0 || !in_name(text[at - 1])) && !in_name(text[at + word.size()]);
        at += word.size();
        std::size_t end = text.find_first_of(";([{,)", at);
        if (!is_word || end == std::string::npos || text[end] == '{' || text[end] == ',' ||
            text[end] == ')') {
            continue;
        }
        while (!in_name(text[end - 1])) --end;
        std::size_t begin = end;
        while (in_name(text[begin - 1])) --begin;
        if (begin >= at) names.insert(text.substr(begin, end - begin));
    }
    return names;
}

Names declared_exports() {
    Names names;
    for (const auto& header : headers()) {
        if (header.filename() == "export.h") continue;
        names.merge(declared_behind("MC_EXPORT", without_comments(content_of(header))));
    }
    return names;
}

Names declared_neighbours() {
    Names names;
    for (const char* const header : {"protocol_core.h", "l2_multicast.h", "pal.h"}) {
        const std::filesystem::path path =
            std::filesystem::path(MC_SOURCE_DIR) / "platform" / header;
        const std::string text = without_comments(content_of(path));
        names.merge(declared_behind("int32_t", text));
        names.merge(declared_behind("extern", text));
    }
    return names;
}

// ---- What a sanitizer adds ---------------------------------------------------------------

bool begins_with_any(const std::string& name, std::initializer_list<const char*> beginnings) {
    return std::any_of(beginnings.begin(), beginnings.end(),
                       [&name](const char* beginning) { return name.starts_with(beginning); });
}

// In front of each exported variable's name, a mark by which a second definition is told.
constexpr const char* kMark = "__odr_asan.";

// Leaves out what the compiler and the linker put in for a sanitizer, and nothing in other builds.
template <class Container>
Container without_the_sanitizers(Container names) {
#ifdef MC_TEST_SANITIZED
    std::erase_if(names, [](const std::string& name) {
        return begins_with_any(name, {"__asan_", "__ubsan_", "libasan.so", "libubsan.so"});
    });
#endif
    return names;
}

Names with_the_marks(Names exported) {
#ifdef MC_TEST_SANITIZED
    const Names all = exported;
    for (const std::string& name : all) exported.insert(kMark + name);
#endif
    return exported;
}

// ---- Tests -------------------------------------------------------------------------------

struct LibraryFile {
    const char* name;
    const char* path;

    friend std::ostream& operator<<(std::ostream& out, const LibraryFile& file) {
        return out << file.name;
    }
};

// The library of the build at hand, and the same sources without optimisation: there no helper of
// the language's library is inlined.
constexpr LibraryFile kLibraries[] = {{"AsItIsBuilt", MC_LIBRARY_FILE},
                                      {"WithoutOptimisation", MC_UNOPTIMISED_LIBRARY_FILE}};

class Library : public ::testing::TestWithParam<LibraryFile> {
 protected:
    SharedLibrary library_{GetParam().path};
};
INSTANTIATE_TEST_SUITE_P(Of, Library, ::testing::ValuesIn(kLibraries),
                         [](const auto& file) { return file.param.name; });

TEST(Headers, DeclareWhatTheWorldKnows) {
    const Names declared = declared_exports();
    for (const char* const name :
         {"IgmpInit", "igmpL2PktProc", "MuticastReceive", "recv_igmp_interface_msg",
          "process_interface_msg", "send_pkt_igmp", "igmp_add_grp", "igmp_del_grp", "send_pkt_mld",
          "mld_add_grp", "mld_del_grp", "globle_parm", "PortVlanCfg", "portState", "mldInitParams",
          "searchDownSnoopPortCfgVlan", "jion_buffer"}) {
        EXPECT_THAT(declared, Contains(name));
    }
}

TEST_P(Library, ExportsWhatTheHeadersDeclare) {
    EXPECT_THAT(declared_exports(), IsSubsetOf(library_.exported));
}

TEST_P(Library, ExportsNothingElse) {
    Names others = library_.exported;
    for (const std::string& name : with_the_marks(declared_exports())) others.erase(name);
    EXPECT_THAT(others, IsEmpty());
}

TEST_P(Library, ImportsOnlyNeighboursAndTheCLibrary) {
    Names known = declared_neighbours();
    known.insert({"printf", "puts", "putchar", "sleep", "msgget", "msgrcv", "shmget", "shmat",
                  "memcpy", "memmove", "memset", "memcmp"});
    EXPECT_THAT(without_the_sanitizers(library_.imported), IsSubsetOf(known));
    EXPECT_THAT(library_.imported, Contains("igmp_pkt_recv"));
    EXPECT_THAT(library_.imported, Contains("L2_multicast_send_msg"));
    EXPECT_THAT(library_.imported, Contains("pal_task_create"));
    EXPECT_THAT(library_.imported, Contains("shmat"));
}

TEST_P(Library, NeedsNoHeapAndNoLanguageRunTime) {
    for (const std::string& name : library_.imported) {
        EXPECT_FALSE(begins_with_any(name, {"_Z", "__cxa_", "__gxx_", "_Unwind_"})) << name;
    }
    for (const char* const name : {"malloc", "calloc", "realloc", "free"}) {
        EXPECT_THAT(library_.imported, Not(Contains(name)));
        EXPECT_THAT(library_.imported_if_there, Not(Contains(name)));
    }
}

TEST_P(Library, NeedsTheCLibraryOnly) {
    EXPECT_THAT(without_the_sanitizers(library_.needed), ElementsAre("libc.so.6"));
}

// What a library without any code of its own runs at load is the compiler's.
TEST_P(Library, RunsNothingAtLoad) {
    const SharedLibrary nothing(MC_EMPTY_LIBRARY_FILE);
    EXPECT_THAT(nothing.exported, ElementsAre("mc_nothing"));
#ifndef MC_TEST_SANITIZED  // each file with variables makes them known to the sanitizer
    EXPECT_EQ(library_.initialisers, nothing.initialisers);
#endif
    ASSERT_THAT(library_.local, Not(IsEmpty())) << "stripped";
    for (const std::string& name : library_.local) {
        EXPECT_FALSE(begins_with_any(name, {"_GLOBAL__", "_Z41__static_initialization"})) << name;
    }
}

// ---- Built-in frame ----------------------------------------------------------------------

// Ones' complement sum over 16-bit words, added up one by one.
std::uint32_t folded_sum(const std::uint8_t* at, int words) {
    std::uint32_t sum = 0;
    for (int i = 0; i < words; ++i) {
        sum += mc::load_be16(at + 2 * i);
        if (sum > 0xFFFF) sum -= 0xFFFF;
    }
    return sum;
}

TEST(BuiltInFrame, IsATaggedVersion2ReportWithRightChecksums) {
    ASSERT_EQ(sizeof jion_buffer, 68u);
    const std::uint8_t* const frame = jion_buffer;
    EXPECT_EQ(hex({frame, frame + 6}), "[01005e7f0101]");
    EXPECT_EQ(frame[6] & 0x01, 0) << "from a single station";
    EXPECT_EQ(mc::load_be16(frame + 12), 0x8100);
    EXPECT_EQ(mc::load_be16(frame + 14), 100) << "VID 100, no priority";
    EXPECT_EQ(mc::load_be16(frame + 16), 0x0800);

    const std::uint8_t* const ip = frame + 18;
    EXPECT_EQ(ip[0], 0x46) << "six words of header";
    EXPECT_EQ(mc::load_be16(ip + 2), 32);
    EXPECT_EQ(ip[8], 1) << "never routed";
    EXPECT_EQ(ip[9], 2) << "IGMP";
    EXPECT_EQ(folded_sum(ip, 12), 0xFFFFu);
    EXPECT_EQ(hex({ip + 16, ip + 20}), "[efff0101]");
    EXPECT_EQ(hex({ip + 20, ip + 24}), "[94040000]") << "router alert";

    const std::uint8_t* const igmp = ip + 24;
    EXPECT_EQ(igmp[0], 0x16);
    EXPECT_EQ(igmp[1], 0);
    EXPECT_EQ(folded_sum(igmp, 4), 0xFFFFu);
    EXPECT_EQ(hex({igmp + 4, igmp + 8}), "[efff0101]");

    for (const std::uint8_t* pad = igmp + 8; pad != frame + 68; ++pad) EXPECT_EQ(*pad, 0);
}

TEST(BuiltInFrame, DoesNotComeFromTheNodeItself) {
    const Bytes source(jion_buffer + 6, jion_buffer + 12);
    EXPECT_NE(mac(source), "00:00:00:11:00:11");
    EXPECT_NE(mac(source), "00:00:00:00:00:00");
}

}  // namespace
