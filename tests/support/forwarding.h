// The four handlers that forward received frames, as types: a test that holds for several of them
// is one body over a list of types. And the frames that they take in and send.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "adapt/records.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "mld/record.h"
#include "tests/support/frames.h"
#include "tests/support/neighbours.h"
#include "tests/support/rules.h"
#include "tests/support/sides.h"

namespace mc_test {

// ---- Handlers ----------------------------------------------------------------------------------

struct IgmpSnooping {
    static constexpr const char* kName = "IgmpSnooping";
    using Side = Igmp;

    static void handle(std::uint8_t* frame, std::uint32_t port, std::uint32_t len,
                       std::uint32_t vid) {
        igmp_adapt_snoop_handle(frame, port, len, vid);
    }
    // The port table whose types end the walk downstream.
    static PortStateEntry (&walked_ports())[MC_PORTS] { return portState; }

    static std::string enters(std::uint32_t port, int state) {
        return line("\r\n[MC_DBG_DBG]: Enter igmp_snoop_handle, rPort = %d, rport_sta = %d\r\n",
                    port, state);
    }
    static std::string passes_down() {
        return "\r\n[MC_DBG_DBG]: Enter igmp_snoop_handle,uplink can't find vlanconfig! direct "
               "pass!\r\n";
    }
    static std::string found_up(int vlan) {
        return line("\r\n[MC_DBG_DBG]: searchUpSnoopPortCfgVlan %d\r\n", vlan);
    }
};

struct MldSnooping {
    static constexpr const char* kName = "MldSnooping";
    using Side = Mld;

    static void handle(std::uint8_t* frame, std::uint32_t port, std::uint32_t len,
                       std::uint32_t vid) {
        mld_adapt_snoop_handle(frame, port, len, vid);
    }
    static PortStateEntry (&walked_ports())[MC_PORTS] { return mldInitParams.port; }

    static std::string enters(std::uint32_t port, int state) {
        return line("\r\n[MC_DBG_DBG]: Enter mld_snoop_handle, rPort = %d, rport_sta = %d\r\n",
                    port, state);
    }
    static std::string passes_down() {
        return "\r\n[MC_DBG_DBG]: Enter mld_snoop_handle,uplink can't find vlanconfig! direct "
               "pass!\r\n";
    }
    static std::string found_up(int vlan) {
        return line("\r\n[MC_DBG_DBG]: mldsearchUpSnoopPortCfgVlan %d\r\n", vlan);
    }
};

struct IgmpControl {
    static constexpr const char* kName = "IgmpControl";
    using Side = Igmp;

    static void handle(std::uint8_t* frame, std::uint32_t port, std::uint32_t len,
                       std::uint32_t vid) {
        igmp_adapt_control_handle(frame, port, len, vid);
    }
    static PortStateEntry (&walked_ports())[MC_PORTS] { return portState; }

    static std::string enters(std::uint32_t port, int state) {
        return line("\r\n[MC_DBG_DBG]: Enter igmp_control_handle, rPort = %d, rport_sta = %d\r\n",
                    port, state);
    }
    // It speaks of snooping in control mode too.
    static std::string passes_down() { return IgmpSnooping::passes_down(); }
};

struct MldControl {
    static constexpr const char* kName = "MldControl";
    using Side = Mld;

    static void handle(std::uint8_t* frame, std::uint32_t port, std::uint32_t len,
                       std::uint32_t vid) {
        mld_adapt_control_handle(frame, port, len, vid);
    }
    // Not the port table of its own side.
    static PortStateEntry (&walked_ports())[MC_PORTS] { return portState; }

    // It speaks with the words of the IGMP side.
    static std::string enters(std::uint32_t port, int state) {
        return IgmpControl::enters(port, state);
    }
    static std::string passes_down() { return IgmpControl::passes_down(); }
};

using AllHandlers = ::testing::Types<IgmpSnooping, MldSnooping, IgmpControl, MldControl>;

using SnoopingHandlers = ::testing::Types<IgmpSnooping, MldSnooping>;
using ControlHandlers = ::testing::Types<IgmpControl, MldControl>;

// ---- Frames ------------------------------------------------------------------------------------

// A frame on the heap with not one byte behind it: an address sanitizer sees every access outside.
class ExactFrame {
 public:
    explicit ExactFrame(const Bytes& frame)
        : bytes_(new std::uint8_t[frame.size()]), len_(frame.size()) {
        std::copy(frame.begin(), frame.end(), bytes_.get());
    }

    std::uint8_t* data() { return bytes_.get(); }
    std::uint32_t len() const { return static_cast<std::uint32_t>(len_); }
    Bytes bytes() const { return {bytes_.get(), bytes_.get() + len_}; }

 private:
    std::unique_ptr<std::uint8_t[]> bytes_;
    std::size_t len_;
};

// Runs a handler on the frame; returns what the caller's buffer holds afterwards.
template <class Handler>
Bytes forward(const Bytes& frame, std::uint32_t port, std::uint32_t vid) {
    ExactFrame buffer(frame);
    Handler::handle(buffer.data(), port, buffer.len(), vid);
    return buffer.bytes();
}

// The same by the door of reception, which finds the VID and picks the handler of the mode.
template <class Side>
Bytes receive(const Bytes& frame, std::uint32_t port) {
    FrameBuffer buffer(frame);
    Side::receive_frame(buffer.data(), buffer.len(), port);
    return buffer.bytes();
}

// A frame that left: the driver's port, and the bytes as they were then.
struct Sent {
    unsigned port;
    Bytes frame;

    bool operator==(const Sent&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Sent& sent) {
        return out << "port " << sent.port << " " << hex(sent.frame);
    }
};

inline std::vector<Sent> sent() {
    std::vector<Sent> all;
    for (const SentFrame& frame : sent_frames()) all.push_back({frame.port, frame.frame});
    return all;
}

inline std::vector<Sent> first_sent(std::size_t count) {
    std::vector<Sent> all = sent();
    if (all.size() > count) all.erase(all.begin() + static_cast<std::ptrdiff_t>(count), all.end());
    return all;
}

inline std::vector<Sent> to_ports(std::initializer_list<unsigned> ports, const Bytes& frame) {
    std::vector<Sent> all;
    for (const unsigned port : ports) all.push_back({port, frame});
    return all;
}

inline std::vector<Sent> to_all_user_ports(const Bytes& frame) {
    return to_ports({0, 1, 2, 3, 4, 5}, frame);
}

inline std::vector<Sent> operator+(std::vector<Sent> head, const std::vector<Sent>& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

inline Bytes from_byte(const Bytes& frame, std::size_t offset) {
    return {frame.begin() + static_cast<std::ptrdiff_t>(offset), frame.end()};
}
inline Bytes first_bytes(const Bytes& frame, std::size_t count) {
    return {frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(count)};
}
inline Bytes last_bytes(const Bytes& frame, std::size_t count) {
    return from_byte(frame, frame.size() - count);
}

// The plain edits, for frames that no builder makes.
inline Bytes without_bytes_12_to_15(const Bytes& frame) {
    return first_bytes(frame, 12) + from_byte(frame, 16);
}
inline Bytes with_bytes_12_to_15(const Bytes& frame, std::uint16_t tci) {
    return first_bytes(frame, 12) + be16(0x8100) + be16(tci) + from_byte(frame, 16);
}
inline Bytes with_tag_inserted(const Bytes& frame, std::uint16_t tci) {
    return first_bytes(frame, 12) + be16(0x8100) + be16(tci) + from_byte(frame, 12);
}

}  // namespace mc_test
