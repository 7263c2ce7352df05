#include "adapt/status_segment.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <cstdio>
#include <cstring>

#include "adapt/adapt.h"
#include "common/bytes.h"

namespace mc {

namespace {

std::uint8_t* const kRefused = reinterpret_cast<std::uint8_t*>(~std::uintptr_t{0});

}  // namespace

bool status_attached() { return mc_status_global != nullptr && mc_status_global != kRefused; }

void status_store_word(std::uint32_t offset, std::uint32_t value) {
    if (status_attached()) store_be32(mc_status_global + offset, value);
}

void status_store_bytes(std::uint32_t offset, std::span<const std::uint8_t> bytes) {
    if (status_attached()) std::memcpy(mc_status_global + offset, bytes.data(), bytes.size());
}

}  // namespace mc

// The segment is created without permission bits: only privileged processes read it.
std::int32_t mc_hal_init_share_memory() {
    const int id = shmget(mc::kStatusSegmentKey, mc::kStatusSegmentSize, IPC_CREAT);
    if (id == -1) {
        std::printf("[mc_hal_init_share_memory]: %d shmget error!\r\n", mc::kStatusSegmentKey);
        return -1;
    }
    mc_status_global = static_cast<std::uint8_t*>(shmat(id, nullptr, 0));
    if (!mc::status_attached()) {
        std::printf("[mc_hal_init_share_memory]: %d shmat error!\r\n", id);
        return -1;
    }
    std::memset(mc_status_global, 0, mc::kStatusSegmentSize);
    return 0;
}
