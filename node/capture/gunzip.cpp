#include "node/capture/gunzip.h"

#include <zlib.h>

#include <array>
#include <new>
#include <utility>

namespace capture {
namespace {

constexpr int kLargestWindow = 15;
constexpr int kGzipOnly = 16;  // added to the window: zlib's way to say so
constexpr std::size_t kChunk = 16384;

class ZlibGunzip final : public Gunzip {
 public:
    explicit ZlibGunzip(ReadBytes compressed) : compressed_(std::move(compressed)) {
        if (inflateInit2(&state_, kLargestWindow + kGzipOnly) != Z_OK) throw std::bad_alloc();
    }
    ~ZlibGunzip() override { inflateEnd(&state_); }
    ZlibGunzip(const ZlibGunzip&) = delete;
    ZlibGunzip& operator=(const ZlibGunzip&) = delete;

    [[nodiscard]] std::size_t read(std::span<std::uint8_t> bytes) override {
        state_.next_out = bytes.data();
        state_.avail_out = static_cast<uInt>(bytes.size());
        // Input may come to nothing yet, as a header does; what has come to something goes out.
        while (state_.avail_out == bytes.size() && !bytes.empty() && !over_) step();
        return bytes.size() - state_.avail_out;
    }

    [[nodiscard]] const std::optional<std::string>& damage() const override { return damage_; }
    [[nodiscard]] std::uint64_t waiting() const override { return state_.avail_in; }

 private:
    void step() {
        if (state_.avail_in == 0 && !fill()) {
            over_ = true;
            if (!between_members_) damage_ = "the gzip data end too early";
            return;
        }
        if (between_members_ && !begins_member()) {
            over_ = true;  // what pads the file behind its last member
            return;
        }
        inflate_some();
    }

    [[nodiscard]] bool fill() {
        const std::size_t size = compressed_(chunk_);
        state_.next_in = chunk_.data();
        state_.avail_in = static_cast<uInt>(size);
        return size != 0;
    }

    // A file may have several members, one behind the other (RFC 1952, 2.2).
    [[nodiscard]] bool begins_member() {
        constexpr std::uint8_t kFirstMagic = 0x1F;
        if (*state_.next_in != kFirstMagic) return false;
        between_members_ = false;
        return inflateReset(&state_) == Z_OK;
    }

    void inflate_some() {
        const int result = inflate(&state_, Z_NO_FLUSH);
        if (result == Z_STREAM_END) {
            between_members_ = true;
        } else if (result != Z_OK && result != Z_BUF_ERROR) {
            over_ = true;
            damage_ = std::string("damaged gzip data: ") +
                      (state_.msg != nullptr ? state_.msg : zError(result));
        }
    }

    ReadBytes compressed_;
    std::array<std::uint8_t, kChunk> chunk_{};
    z_stream state_{};
    bool between_members_ = false;
    bool over_ = false;
    std::optional<std::string> damage_;
};

}  // namespace

std::unique_ptr<Gunzip> make_gunzip(ReadBytes compressed) {
    return std::make_unique<ZlibGunzip>(std::move(compressed));
}

}  // namespace capture
