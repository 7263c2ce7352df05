#include "node/capture/capture_stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "node/capture/capture_error.h"

namespace capture {
namespace {

constexpr std::array<std::uint8_t, 2> kGzipMagic{0x1F, 0x8B};

int open_file(const std::filesystem::path& file) {
    // A copy, so that closing it leaves the standard input alone.
    const int descriptor = is_standard_input(file) ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                                   : ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) throw CaptureError(name_of(file) + ": " + std::strerror(errno));
    return descriptor;
}

ssize_t read_some(int descriptor, std::span<std::uint8_t> bytes) {
    ssize_t size = 0;
    do {
        size = ::read(descriptor, bytes.data(), bytes.size());
    } while (size < 0 && errno == EINTR);
    return size;
}

bool write_all(int descriptor, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t size = ::write(descriptor, bytes.data(), bytes.size());
        if (size < 0 && errno != EINTR) return false;
        if (size > 0) bytes = bytes.subspan(static_cast<std::size_t>(size));
    }
    return true;
}

// In a folder, without a name: whatever happens, nothing of it stays.
int temporary_file(const std::filesystem::path& folder) {
    std::string name = (folder / "mc_node-XXXXXX").string();
    const int descriptor = ::mkostemp(name.data(), O_CLOEXEC);
    if (descriptor >= 0) ::unlink(name.c_str());
    return descriptor;
}

extern "C" ssize_t read_stream(void* stream, char* bytes, std::size_t size) {
    return static_cast<ssize_t>(
        static_cast<CaptureStream*>(stream)->read({reinterpret_cast<std::uint8_t*>(bytes), size}));
}

}  // namespace

bool is_standard_input(const std::filesystem::path& file) { return file == "-"; }

std::string name_of(const std::filesystem::path& file) {
    return is_standard_input(file) ? "standard input" : file.string();
}

Descriptor::~Descriptor() {
    if (value >= 0) ::close(value);
}

CaptureStream::CaptureStream(const std::filesystem::path& file, Passes passes)
    : name_(name_of(file)), descriptor_(open_file(file)) {
    measure();
    if (passes == Passes::kTwo && start_ < 0) keep_whole();
}

// Not every file that can be sought in has its bytes there still: a terminal accepts it, too.
void CaptureStream::measure() {
    struct stat about {};
    if (::fstat(descriptor_.value, &about) != 0 || !S_ISREG(about.st_mode)) return;
    start_ = ::lseek(descriptor_.value, 0, SEEK_CUR);
    size_ = static_cast<std::uint64_t>(std::max<std::int64_t>(about.st_size - start_, 0));
}

void CaptureStream::keep_whole() {
    std::error_code none;
    std::filesystem::path folder = std::filesystem::temp_directory_path(none);
    if (none) folder = "/tmp";
    const auto complaint = [&] {
        return CaptureError(name_ + ": cannot be kept in " + folder.string() + ": " +
                            std::strerror(errno));
    };
    Descriptor kept(temporary_file(folder));
    if (kept.value < 0) throw complaint();
    std::array<std::uint8_t, 65536> chunk{};
    ssize_t size = 0;
    while ((size = read_some(descriptor_.value, chunk)) > 0) {
        if (!write_all(kept.value, std::span(chunk).first(static_cast<std::size_t>(size)))) {
            throw complaint();
        }
    }
    if (size < 0) file_damage_ = std::strerror(errno);
    std::swap(descriptor_.value, kept.value);
    static_cast<void>(::lseek(descriptor_.value, 0, SEEK_SET));  // measured from there
    measure();
}

std::FILE* CaptureStream::open() {
    if (start_ >= 0 && ::lseek(descriptor_.value, start_, SEEK_SET) < 0) {
        throw CaptureError(name_ + ": " + std::strerror(errno));
    }
    taken_ = 0;
    gunzip_.reset();
    look_at_first_bytes();
    if (std::ranges::equal(looked_at_, kGzipMagic)) {
        gunzip_ = make_gunzip([this](std::span<std::uint8_t> bytes) { return read_file(bytes); });
        if (gunzip_ == nullptr) {
            throw CaptureError(name_ + ": is in gzip, which this build cannot read");
        }
    }
    std::FILE* stream = ::fopencookie(this, "rb", {read_stream, nullptr, nullptr, nullptr});
    if (stream == nullptr) throw CaptureError(name_ + ": " + std::strerror(errno));
    return stream;
}

// They are read again, as the first ones, by whoever reads next.
void CaptureStream::look_at_first_bytes() {
    looked_at_.clear();
    std::array<std::uint8_t, kGzipMagic.size()> bytes{};
    std::size_t size = 0;
    while (size < bytes.size()) {
        const std::size_t more = read_file(std::span(bytes).subspan(size));
        if (more == 0) break;
        size += more;
    }
    looked_at_.assign(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
}

std::size_t CaptureStream::read(std::span<std::uint8_t> bytes) {
    return gunzip_ != nullptr ? gunzip_->read(bytes) : read_file(bytes);
}

std::size_t CaptureStream::read_file(std::span<std::uint8_t> bytes) {
    if (!looked_at_.empty()) {
        const std::size_t size = std::min(bytes.size(), looked_at_.size());
        std::copy_n(looked_at_.begin(), size, bytes.begin());
        looked_at_.erase(looked_at_.begin(),
                         looked_at_.begin() + static_cast<std::ptrdiff_t>(size));
        return size;
    }
    const ssize_t size = read_some(descriptor_.value, bytes);
    if (size < 0) file_damage_ = std::strerror(errno);
    if (size <= 0) return 0;
    taken_ += static_cast<std::uint64_t>(size);
    return static_cast<std::size_t>(size);
}

std::optional<std::string> CaptureStream::damage() const {
    if (file_damage_) return file_damage_;
    return gunzip_ != nullptr ? gunzip_->damage() : std::nullopt;
}

std::uint64_t CaptureStream::position() const {
    return taken_ - looked_at_.size() - (gunzip_ != nullptr ? gunzip_->waiting() : 0);
}

}  // namespace capture
