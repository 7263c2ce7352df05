#include "node/config/run_record.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "command/command.h"

namespace config {

void run_record(const commands::Record& record) {
    std::array<std::uint8_t, MC_RECORD_SIZE> image{};
    const std::size_t size = std::min(record.bytes.size(), image.size());
    std::copy_n(record.bytes.begin(), size, image.begin());
    static_cast<void>(process_interface_msg(image.data()));  // it always returns 0
}

}  // namespace config
