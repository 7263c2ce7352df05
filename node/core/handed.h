// What the calling thread has handed to the core: whoever gives frames to the library can tell
// which of them came here.
#pragma once

#include <cstdint>

namespace mcore {

struct Handed {
    std::uint64_t packets = 0;  // so far, understood or not
    bool is_inside = false;     // the core is at one of them: what is sent now is the core's own
};

inline thread_local Handed handed;

// Stands while the core is at a packet.
class Handing {
 public:
    Handing() {
        ++handed.packets;
        handed.is_inside = true;
    }
    ~Handing() { handed.is_inside = false; }
    Handing(const Handing&) = delete;
    Handing& operator=(const Handing&) = delete;
};

}  // namespace mcore
