// A command record as the dispatcher reads it: fields by offset from the start of the record,
// big-endian, packed by the sender without padding.
#pragma once

#include <cstdint>

#include "command/command.h"
#include "common/bytes.h"

namespace mc {

struct CommandRecord {
    const std::uint8_t* bytes;  // MC_RECORD_SIZE of them

    std::uint32_t code() const { return load_be32(bytes); }
    std::uint32_t dump_length() const { return load_be32(bytes + 4); }

    std::uint8_t u8(std::uint32_t offset) const { return bytes[offset]; }
    std::uint16_t be16(std::uint32_t offset) const { return load_be16(bytes + offset); }
    std::uint32_t be32(std::uint32_t offset) const { return load_be32(bytes + offset); }
    std::int32_t s32(std::uint32_t offset) const { return static_cast<std::int32_t>(be32(offset)); }
};

}  // namespace mc
