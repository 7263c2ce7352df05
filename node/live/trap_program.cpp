#include "node/live/trap_program.h"

#include <array>
#include <cstdint>

#include "common/ethernet.h"

namespace live {
namespace {

constexpr std::uint32_t kPppIpv4 = 0x0021;
constexpr std::uint32_t kPppIpv6 = 0x0057;
constexpr std::uint32_t kIgmp = 2;
constexpr std::uint32_t kHopByHop = 0;
constexpr std::uint32_t kIcmpv6 = 58;

// Offsets without a tag; X holds what stands in between.
constexpr std::uint32_t kType = mc::kMacsLength;
constexpr std::uint32_t kPppProtocol = 20;
constexpr std::uint32_t kIpv4Protocol = 23;
constexpr std::uint32_t kIpv6Next = 20;
constexpr std::uint32_t kIpv6Body = 54;

constexpr sock_filter load16(std::uint32_t at) { return {BPF_LD | BPF_H | BPF_IND, 0, 0, at}; }
constexpr sock_filter load8(std::uint32_t at) { return {BPF_LD | BPF_B | BPF_IND, 0, 0, at}; }
constexpr sock_filter skip(std::uint32_t bytes) { return {BPF_LDX | BPF_IMM, 0, 0, bytes}; }
// Jumps over so many instructions when A has the value.
constexpr sock_filter if_equal(std::uint32_t value, std::uint8_t over) {
    return {BPF_JMP | BPF_JEQ | BPF_K, over, 0, value};
}
constexpr sock_filter unless_equal(std::uint32_t value, std::uint8_t over) {
    return {BPF_JMP | BPF_JEQ | BPF_K, 0, over, value};
}
constexpr sock_filter add(std::uint32_t value) {
    // BPF_ADD and BPF_K are both 0. NOLINTNEXTLINE(misc-redundant-expression)
    return {BPF_ALU | BPF_ADD | BPF_K, 0, 0, value};
}
constexpr sock_filter accept() { return {BPF_RET | BPF_K, 0, 0, 0xFFFF}; }
constexpr sock_filter refuse() { return {BPF_RET | BPF_K, 0, 0, 0}; }

// The first tag is in the socket's auxiliary data already, unless the interface has left it alone.
// A load behind the end of a frame refuses it.
constexpr std::array kProgram{
    /*  0 */ skip(0),
    /*  1 */ load16(kType),
    /*  2 */ unless_equal(mc::kTpid, 5),  // to 8
    /*  3 */ skip(4),
    /*  4 */ load16(kType),
    /*  5 */ unless_equal(mc::kTpid, 2),  // to 8
    /*  6 */ skip(8),
    /*  7 */ load16(kType),
    /*  8 */ if_equal(mc::kEtherTypeIpv4, 12),      // to 21
    /*  9 */ if_equal(mc::kEtherTypeIpv6, 14),      // to 24
    /* 10 */ unless_equal(mc::kEtherTypePppoe, 9),  // to 20
    // Moves X on by the PPPoE header, the PPP protocol included, which has the type's place then.
    /* 11 */ sock_filter{BPF_MISC | BPF_TXA, 0, 0, 0},
    /* 12 */ add(kPppProtocol - kType),
    /* 13 */ sock_filter{BPF_MISC | BPF_TAX, 0, 0, 0},
    /* 14 */ load16(kType),
    /* 15 */ if_equal(kPppIpv4, 5),            // to 21
    /* 16 */ if_equal(mc::kEtherTypeIpv4, 4),  // to 21
    /* 17 */ if_equal(kPppIpv6, 6),            // to 24
    /* 18 */ if_equal(mc::kEtherTypeIpv6, 5),  // to 24
    /* 19 */ refuse(),
    /* 20 */ refuse(),
    // IPv4
    /* 21 */ load8(kIpv4Protocol),
    /* 22 */ if_equal(kIgmp, 17),  // to 40
    /* 23 */ refuse(),
    // IPv6
    /* 24 */ load8(kIpv6Next),
    /* 25 */ unless_equal(kHopByHop, 7),  // to 33
    /* 26 */ load8(kIpv6Body + 1),        // the length of the header, 8 bytes not counted
    /* 27 */ add(1),
    /* 28 */ sock_filter{BPF_ALU | BPF_LSH | BPF_K, 0, 0, 3},
    /* 29 */ sock_filter{BPF_ALU | BPF_ADD | BPF_X, 0, 0, 0},
    // The next header is the first byte of this one, which X is about to step over.
    /* 30 */ sock_filter{BPF_ST, 0, 0, 0},
    /* 31 */ load8(kIpv6Body),
    /* 32 */ sock_filter{BPF_LDX | BPF_MEM, 0, 0, 0},
    /* 33 */ unless_equal(kIcmpv6, 7),  // to 41
    /* 34 */ load8(kIpv6Body),
    /* 35 */ if_equal(143, 4),                                   // to 40
    /* 36 */ sock_filter{BPF_JMP | BPF_JGE | BPF_K, 0, 4, 130},  // below: to 41
    /* 37 */ sock_filter{BPF_JMP | BPF_JGT | BPF_K, 0, 2, 132},  // not above: to 40
    /* 38 */ sock_filter{BPF_JMP | BPF_JGE | BPF_K, 0, 2, 151},  // below: to 41
    /* 39 */ sock_filter{BPF_JMP | BPF_JGT | BPF_K, 1, 0, 153},  // above: to 41
    /* 40 */ accept(),
    /* 41 */ refuse(),
};

}  // namespace

std::span<const sock_filter> trap_program() { return kProgram; }

}  // namespace live
