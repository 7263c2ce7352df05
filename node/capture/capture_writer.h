// The frames that leave the node, one capture a port: port0.pcap to port5.pcap and uplink.pcap in
// one folder. Stamps are microseconds of the core's time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "node/capture/capture_merge.h"
#include "node/driver/ports.h"

struct pcap_dumper;

namespace capture {

class CaptureWriter {
 public:
    // Creates the folder if need be and all seven files, so that none of an earlier replay stays
    // behind. Throws CaptureError if that cannot be done, or if it would overwrite one of the
    // inputs.
    CaptureWriter(const std::filesystem::path& folder, const std::vector<Input>& inputs);

    // False when the file did not take the frame.
    [[nodiscard]] bool write(std::size_t slot, std::uint64_t stamp_us,
                             std::span<const std::uint8_t> frame);

    // Brings everything to the files; one line for each that is incomplete.
    [[nodiscard]] std::vector<std::string> flush();

 private:
    struct Close {
        void operator()(pcap_dumper* file) const;
    };

    driver::PerPort<std::filesystem::path> paths_;
    driver::PerPort<std::unique_ptr<pcap_dumper, Close>> files_;
};

}  // namespace capture
