#include "node/capture/capture_writer.h"

#include <pcap/pcap.h>

#include <cstddef>
#include <limits>
#include <system_error>

#include "node/capture/capture_error.h"

namespace capture {
namespace {

constexpr int kSnapLength = std::numeric_limits<std::uint16_t>::max();
constexpr std::uint64_t kMicrosecondsPerSecond = 1'000'000;

struct CloseHandle {
    void operator()(pcap_t* handle) const { pcap_close(handle); }
};

void create_folder(const std::filesystem::path& folder) {
    std::error_code why;
    std::filesystem::create_directories(folder, why);
    if (why) throw CaptureError(folder.string() + ": cannot create the folder: " + why.message());
    if (!std::filesystem::is_directory(folder, why)) {
        throw CaptureError(folder.string() + ": is not a folder");
    }
}

void refuse_to_overwrite_inputs(const driver::PerPort<std::filesystem::path>& outputs,
                                const std::vector<Input>& inputs) {
    for (const std::filesystem::path& output : outputs) {
        for (const Input& input : inputs) {
            std::error_code absent;  // an output that is not there yet is no input
            const std::filesystem::path file =
                is_standard_input(input.file) ? "/dev/stdin" : input.file;
            if (std::filesystem::equivalent(output, file, absent)) {
                throw CaptureError(output.string() + ": is being replayed, choose another folder");
            }
        }
    }
}

}  // namespace

void CaptureWriter::Close::operator()(pcap_dumper* file) const { pcap_dump_close(file); }

CaptureWriter::CaptureWriter(const std::filesystem::path& folder,
                             const std::vector<Input>& inputs) {
    create_folder(folder);
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        paths_[slot] = folder / (driver::name_of_slot(slot) + ".pcap");
    }
    refuse_to_overwrite_inputs(paths_, inputs);

    const std::unique_ptr<pcap_t, CloseHandle> format(pcap_open_dead(DLT_EN10MB, kSnapLength));
    if (format == nullptr) throw CaptureError(folder.string() + ": out of memory");
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        files_[slot].reset(pcap_dump_open(format.get(), paths_[slot].c_str()));
        if (files_[slot] == nullptr) throw CaptureError(pcap_geterr(format.get()));
    }
}

bool CaptureWriter::write(std::size_t slot, std::uint64_t stamp_us,
                          std::span<const std::uint8_t> frame) {
    pcap_pkthdr header{};
    header.ts.tv_sec = static_cast<decltype(header.ts.tv_sec)>(stamp_us / kMicrosecondsPerSecond);
    header.ts.tv_usec = static_cast<decltype(header.ts.tv_usec)>(stamp_us % kMicrosecondsPerSecond);
    header.caplen = header.len = static_cast<bpf_u_int32>(frame.size());

    pcap_dumper_t* file = files_[slot].get();
    pcap_dump(reinterpret_cast<u_char*>(file), &header, frame.data());
    return std::ferror(pcap_dump_file(file)) == 0;
}

std::vector<std::string> CaptureWriter::flush() {
    std::vector<std::string> lines;
    for (std::size_t slot = 0; slot < driver::kSlots; ++slot) {
        pcap_dumper_t* file = files_[slot].get();
        const bool flushed = pcap_dump_flush(file) == 0;
        if (flushed && std::ferror(pcap_dump_file(file)) == 0) continue;
        lines.push_back(paths_[slot].string() + ": is incomplete, writing it failed");
    }
    return lines;
}

}  // namespace capture
