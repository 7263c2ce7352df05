/*
 * What a capture may lie in: a file, a pipe, the standard input; gzip around it; and read once or
 * twice. Frames are told apart by the last byte of their source address.
 */
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "node/capture/capture_error.h"
#include "node/capture/capture_merge.h"
#include "node/capture/capture_reader.h"
#include "support/capture_files.h"
#include "support/frame_pieces.h"

namespace {

using capture::CaptureError;
using capture::CaptureReader;
using capture::Passes;
using namespace capture_files;
using namespace frame_pieces;

using Marks = std::vector<int>;

/* The frames that are left, by their marks. */
Marks marks_of(CaptureReader& reader) {
    Marks marks;
    for (; reader.head(); reader.drop()) marks.push_back(reader.head()->bytes[11]);
    return marks;
}

Bytes capture_of(const Marks& marks) {
    std::vector<Stamped> frames;
    for (const int mark : marks) frames.push_back({1, igmp_frame(static_cast<std::uint8_t>(mark))});
    return pcap_bytes(frames);
}

class CaptureStream : public ::testing::Test {
 protected:
    CaptureStream()
        : folder_(fs::temp_directory_path() /
                  ("node_capture_stream_test." + std::to_string(::getpid()) + "." +
                   ::testing::UnitTest::GetInstance()->current_test_info()->name())) {
        fs::create_directories(folder_);
    }
    ~CaptureStream() override { fs::remove_all(folder_); }

    fs::path file(const Bytes& content) const {
        const fs::path path = folder_ / "capture";
        write_file(path, content);
        return path;
    }

    /* The complaint about a file that cannot be read. */
    static std::string refusal(const fs::path& path, Passes passes = Passes::kOne) {
        try {
            const CaptureReader reader(path, 0, passes);
        } catch (const CaptureError& error) {
            return error.what();
        }
        return "";
    }

    fs::path folder_;
};

/* With bytes to read from a pipe, which ends behind them. */
class Pipe {
 public:
    explicit Pipe(Bytes bytes) {
        if (::pipe2(ends_, O_CLOEXEC) != 0) ADD_FAILURE() << "no pipe";
        writer_ = std::thread([this, content = std::move(bytes)] {
            for (std::size_t at = 0; at < content.size();) {
                const ssize_t size = ::write(ends_[1], &content[at], content.size() - at);
                if (size <= 0) break;
                at += static_cast<std::size_t>(size);
            }
            ::close(ends_[1]);
        });
    }
    ~Pipe() {
        writer_.join();
        ::close(ends_[0]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int end() const { return ends_[0]; }
    std::string path() const { return "/proc/self/fd/" + std::to_string(ends_[0]); }

 private:
    int ends_[2]{};
    std::thread writer_;
};

/* Another standard input, for a time. */
class StandardInput {
 public:
    explicit StandardInput(int descriptor) : before_(::dup(STDIN_FILENO)) {
        ::dup2(descriptor, STDIN_FILENO);
    }
    ~StandardInput() {
        ::dup2(before_, STDIN_FILENO);
        ::close(before_);
    }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

 private:
    int before_;
};

// ---- Files and pipes ----------------------------------------------------------------------------

TEST_F(CaptureStream, TheSecondPassHasTheSameFrames) {
    CaptureReader reader(file(capture_of({1, 2, 3})), 0, Passes::kTwo);
    EXPECT_EQ(marks_of(reader), (Marks{1, 2, 3}));
    reader.rewind();
    EXPECT_EQ(marks_of(reader), (Marks{1, 2, 3}));
    EXPECT_EQ(reader.frames_read(), 3u);
    EXPECT_FALSE(reader.damage());
}

TEST_F(CaptureStream, TheSecondPassEndsWhereTheFirstDidThoughTheFileGrew) {
    const fs::path path = file(capture_of({1, 2}));
    CaptureReader reader(path, 0, Passes::kTwo);
    EXPECT_EQ(marks_of(reader), (Marks{1, 2}));
    write_file(path, capture_of({1, 2, 3}));
    reader.rewind();
    EXPECT_EQ(marks_of(reader), (Marks{1, 2}));
}

TEST_F(CaptureStream, TheSecondPassBreaksWhereTheFirstDid) {
    Bytes broken = capture_of({1, 2});
    broken.pop_back();
    CaptureReader reader(file(broken), 0, Passes::kTwo);
    EXPECT_EQ(marks_of(reader), (Marks{1}));
    const std::optional<std::string> damage = reader.damage();
    ASSERT_TRUE(damage);
    reader.rewind();
    EXPECT_FALSE(reader.damage());
    EXPECT_EQ(marks_of(reader), (Marks{1}));
    EXPECT_EQ(reader.damage(), damage);
}

TEST_F(CaptureStream, APipeIsReadTwiceToo) {
    const Pipe pipe(capture_of({1, 2, 3}));
    CaptureReader reader(pipe.path(), 0, Passes::kTwo);
    EXPECT_EQ(marks_of(reader), (Marks{1, 2, 3}));
    reader.rewind();
    EXPECT_EQ(marks_of(reader), (Marks{1, 2, 3}));
}

TEST_F(CaptureStream, TheNameOfTheStandardInputIsADash) {
    const Pipe pipe(capture_of({1, 2}));
    const StandardInput input(pipe.end());
    CaptureReader reader("-", 0);
    EXPECT_EQ(marks_of(reader), (Marks{1, 2}));
}

TEST_F(CaptureStream, AComplaintNamesTheStandardInput) {
    const Pipe pipe({});
    const StandardInput input(pipe.end());
    EXPECT_TRUE(refusal("-").starts_with("standard input: not a readable capture")) << refusal("-");
}

/* A capture behind something else in the same file, as a script leaves it. */
TEST_F(CaptureStream, TheStandardInputIsReadFromWhereItStandsTwice) {
    const int descriptor =
        ::open(file(Bytes{9, 9, 9} + capture_of({1, 2})).c_str(), O_RDONLY | O_CLOEXEC);
    ::lseek(descriptor, 3, SEEK_SET);
    const StandardInput input(descriptor);
    CaptureReader reader("-", 0, Passes::kTwo);
    EXPECT_EQ(reader.size(), capture_of({1, 2}).size());
    EXPECT_EQ(marks_of(reader), (Marks{1, 2}));
    reader.rewind();
    EXPECT_EQ(marks_of(reader), (Marks{1, 2}));
    ::close(descriptor);
}

TEST_F(CaptureStream, APipeThatCannotBeKeptIsRefused) {
    const char* const before = std::getenv("TMPDIR");
    const std::string kept = before != nullptr ? before : "";
    ::setenv("TMPDIR", "/proc", 1);
    const Pipe pipe(capture_of({1}));
    EXPECT_NE(refusal(pipe.path(), Passes::kTwo).find("cannot be kept in"), std::string::npos);
    before != nullptr ? ::setenv("TMPDIR", kept.c_str(), 1) : ::unsetenv("TMPDIR");
}

// ---- How far it is ----

TEST_F(CaptureStream, AllOfTheFileIsUsedAtTheEnd) {
    const Bytes content = capture_of({1, 2, 3});
    CaptureReader reader(file(content), 0);
    EXPECT_EQ(reader.size(), content.size());
    marks_of(reader);
    EXPECT_EQ(reader.position(), content.size());
}

TEST_F(CaptureStream, APipeHasNoSizeUntilItIsKept) {
    const Bytes content = capture_of({1, 2, 3});
    const Pipe pipe(content);
    EXPECT_FALSE(CaptureReader(pipe.path(), 0).size());
    const Pipe kept(content);
    EXPECT_EQ(CaptureReader(kept.path(), 0, Passes::kTwo).size(), content.size());
}

// ---- Gzip ---------------------------------------------------------------------------------------

#if MC_NODE_GZIP

TEST_F(CaptureStream, GzipIsToldByItsFirstBytes) {
    for (const Bytes& content :
         {capture_of({1, 2, 3}),
          pcapng_bytes({{1, igmp_frame(1)}, {2, igmp_frame(2)}, {3, igmp_frame(3)}})}) {
        CaptureReader reader(file(gzip_bytes(content)), 0, Passes::kTwo);
        EXPECT_EQ(marks_of(reader), (Marks{1, 2, 3}));
        reader.rewind();
        EXPECT_EQ(marks_of(reader), (Marks{1, 2, 3}));
        EXPECT_FALSE(reader.damage());
    }
}

/* RFC 1952, 2.2. What pads the file behind them is nothing. */
TEST_F(CaptureStream, GzipMayHaveSeveralMembers) {
    const Bytes content = capture_of({1, 2, 3});
    for (std::size_t size = 0; size <= content.size(); ++size) {
        const auto middle = content.begin() + static_cast<std::ptrdiff_t>(size);
        const Bytes members = gzip_bytes({content.begin(), middle}) +
                              gzip_bytes({middle, content.end()}) + Bytes(16, 0);
        CaptureReader reader(file(members), 0);
        ASSERT_EQ(marks_of(reader), (Marks{1, 2, 3})) << size;
        ASSERT_FALSE(reader.damage()) << *reader.damage();
    }
}

TEST_F(CaptureStream, TruncatedGzipHasTheFramesBeforeIt) {
    const Bytes content = gzip_bytes(capture_of({1, 2, 3}));
    const std::size_t frame = 16 + igmp_frame().size();
    /* Behind the header of gzip, that of the capture and the first frame. */
    for (std::size_t size = 15 + 24 + frame; size < content.size(); ++size) {
        const auto end = content.begin() + static_cast<std::ptrdiff_t>(size);
        CaptureReader reader(file({content.begin(), end}), 0);
        const Marks marks = marks_of(reader);
        ASSERT_EQ(marks.size(), std::min<std::size_t>((size - 15 - 24) / frame, 3)) << size;
        ASSERT_EQ(reader.damage(), "the gzip data end too early") << size;
    }
}

TEST_F(CaptureStream, GzipWithAWrongChecksumBreaksAtItsEnd) {
    Bytes content = gzip_bytes(capture_of({1, 2}));
    content[content.size() - 8] ^= 1;
    CaptureReader reader(file(content), 0);
    EXPECT_EQ(marks_of(reader), (Marks{1, 2}));
    EXPECT_EQ(reader.damage(), "damaged gzip data: incorrect data check");
}

TEST_F(CaptureStream, GzipThatBreaksBeforeTheFirstFrameIsRefused) {
    const Bytes content = gzip_bytes(capture_of({1}));
    const auto refused = [this, &content](std::ptrdiff_t size) {
        return refusal(file({content.begin(), content.begin() + size}));
    };
    const std::string name = (folder_ / "capture").string();
    EXPECT_EQ(refused(2), name + ": not a readable capture: the gzip data end too early");
    EXPECT_EQ(refused(30), name + ": not a readable capture: the gzip data end too early");
    EXPECT_EQ(refused(60), name + ": damaged capture: the gzip data end too early");
}

TEST_F(CaptureStream, GzipUsesTheBytesOfTheFile) {
    const Bytes content = gzip_bytes(capture_of({1, 2, 3}));
    CaptureReader reader(file(content), 0);
    EXPECT_EQ(reader.size(), content.size());
    marks_of(reader);
    EXPECT_EQ(reader.position(), content.size());
}

/* More than what is read at once, so that the reading is seen on its way. */
TEST_F(CaptureStream, GzipIsAsFarAsItsFramesAre) {
    const Bytes content = gzip_bytes(capture_of(Marks(1000, 1)));
    CaptureReader reader(file(content), 0);
    for (int i = 0; i < 500; ++i) reader.drop();
    EXPECT_GT(reader.position(), content.size() * 4 / 10);
    EXPECT_LT(reader.position(), content.size() * 7 / 10);
}

#else

TEST_F(CaptureStream, GzipIsRefusedInABuildWithoutZlib) {
    EXPECT_EQ(refusal(file(gzip_bytes(capture_of({1})))),
              (folder_ / "capture").string() + ": is in gzip, which this build cannot read");
}

#endif

// ---- One capture that is split ------------------------------------------------------------------

TEST_F(CaptureStream, AMergeSplitsOneCapture) {
    const Bytes content = pcap_bytes(
        {{1, igmp_frame(1)}, {2, igmp_frame(9)}, {3, igmp_frame(2)}, {4, igmp_query_frame(9)}});
    const Pipe pipe(content);
    capture::CaptureMerge merge(pipe.path(), capture::SplitRules{});
    EXPECT_EQ(merge.first_stamp_ns(), 1000u);
    std::vector<int> ports;
    while (const auto merged = merge.next()) ports.push_back(merged->port);
    EXPECT_EQ(ports, (std::vector{0, 29, 1, 29}));
    ASSERT_TRUE(merge.split());
    EXPECT_EQ(merge.split()->rows.size(), 3u);
    EXPECT_EQ(merge.position(), content.size());
}

}  // namespace
