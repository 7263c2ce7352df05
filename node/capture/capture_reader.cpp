#include "node/capture/capture_reader.h"

#include <pcap/pcap.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "node/capture/capture_error.h"

namespace capture {
namespace {

constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;

// The file stores unsigned seconds; a 32-bit time_t shows those after 2038 as negative.
std::uint64_t unsigned_seconds(const timeval& stamp) {
    if constexpr (sizeof(stamp.tv_sec) == sizeof(std::uint32_t)) {
        return static_cast<std::uint32_t>(stamp.tv_sec);
    } else {
        return static_cast<std::uint64_t>(stamp.tv_sec);
    }
}

// The reader asks for nanoseconds, which libpcap then puts into tv_usec.
std::uint64_t nanoseconds(const timeval& stamp) {
    return unsigned_seconds(stamp) * kNanosecondsPerSecond +
           static_cast<std::uint64_t>(stamp.tv_usec);
}

std::string link_type_name(int type) {
    const char* name = pcap_datalink_val_to_name(type);
    return name != nullptr ? name : std::to_string(type);
}

}  // namespace

void CaptureReader::Close::operator()(pcap* handle) const { pcap_close(handle); }

CaptureReader::CaptureReader(std::filesystem::path file, std::uint8_t port, Passes passes)
    : file_(std::move(file)), port_(port), stream_(std::make_unique<CaptureStream>(file_, passes)) {
    open();
}

void CaptureReader::rewind() {
    end_ = End{frames_read_, std::move(damage_)};
    damage_.reset();
    frames_read_ = 0;
    handle_.reset();
    open();
}

void CaptureReader::open() {
    std::FILE* stream = stream_->open();
    std::array<char, PCAP_ERRBUF_SIZE> why{};
    handle_.reset(
        pcap_fopen_offline_with_tstamp_precision(stream, PCAP_TSTAMP_PRECISION_NANO, why.data()));
    if (handle_ == nullptr) {
        std::fclose(stream);
        throw CaptureError(name_of(file_) +
                           ": not a readable capture: " + stream_->damage().value_or(why.data()));
    }
    const int type = pcap_datalink(handle_.get());
    if (type != DLT_EN10MB) {
        throw CaptureError(name_of(file_) + ": holds " + link_type_name(type) +
                           " frames, only Ethernet can be replayed");
    }
    read_head();
    if (damage_ && frames_read_ == 0) {
        throw CaptureError(name_of(file_) + ": damaged capture: " + *damage_);
    }
}

void CaptureReader::drop() { read_head(); }

void CaptureReader::read_head() {
    head_.reset();
    if (damage_) return;
    if (end_ && frames_read_ == end_->frames) {
        damage_ = end_->damage;
        return;
    }

    pcap_pkthdr* header = nullptr;
    const u_char* bytes = nullptr;
    const int result = pcap_next_ex(handle_.get(), &header, &bytes);
    if (result != 1) {
        // What broke the stream is why libpcap finds a frame cut, or an end where there is none.
        damage_ = stream_->damage();
        if (!damage_ && result != PCAP_ERROR_BREAK) damage_ = pcap_geterr(handle_.get());
        return;
    }
    ++frames_read_;
    // A file may claim to hold more of a frame than there was; no reader would expect that.
    const std::uint32_t held = std::min(header->caplen, header->len);
    head_ = CapturedFrame{nanoseconds(header->ts), header->len, {bytes, held}};
}

}  // namespace capture
