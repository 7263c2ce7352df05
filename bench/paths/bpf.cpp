// Is this IGMP, or MLD, behind a tag? As a BPF program, compiled and run by libpcap. It answers
// that one question, and sends nothing.
#include <pcap/pcap.h>

#include <cstdio>
#include <cstdlib>

#include "bench/paths/contenders.h"

namespace bench {
namespace {

// The keyword "icmp6" looks behind no hop-by-hop header, which every MLD message has.
constexpr const char* kIgmp = "vlan and igmp";
constexpr const char* kMld = "vlan and ip6 and ip6[6] = 0 and ip6[40] = 58";

bpf_program program;

// A filter that is fixed compiles, or the build is broken.
[[noreturn]] void give_up(const char* text) {
    std::fprintf(stderr, "the filter '%s' does not compile\n", text);
    std::exit(EXIT_FAILURE);
}

void compile(const char* text) {
    constexpr int kSnapshot = 65535;
    constexpr int kOptimize = 1;
    pcap_t* const handle = pcap_open_dead(DLT_EN10MB, kSnapshot);
    if (handle == nullptr) give_up(text);
    pcap_freecode(&program);
    if (pcap_compile(handle, &program, text, kOptimize, PCAP_NETMASK_UNKNOWN) != 0) give_up(text);
    pcap_close(handle);
}

std::int32_t matches(std::uint8_t* bytes, std::uint32_t len, std::uint32_t /*port*/) {
    return static_cast<std::int32_t>(bpf_filter(program.bf_insns, bytes, len, len));
}

}  // namespace

Receiver prepare_bpf(const Load& load) {
    if (load.way == Way::kNothing || load.way == Way::kCorePacket) return nullptr;
    compile(load.way == Way::kMldReport ? kMld : kIgmp);
    return matches;
}

}  // namespace bench
