#include "bench/paths/contenders.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "adapt/records.h"
#include "common/ethernet.h"

namespace bench {
namespace {

std::int32_t send_nothing(const std::uint8_t* /*bytes*/, std::uint32_t /*len*/) { return 0; }

Sender volatile current_sender = send_nothing;

// ---- The limit ---------------------------------------------------------------------------------

// Nothing is looked up and nothing is classified: the frame is copied, its tags are written, and it
// is sent.
Outcome outcome;
std::array<std::uint8_t, mc::kLongestFrame + 2 * mc::kTagLength> copy;

void write_tags() {
    std::uint8_t* to = copy.data() + mc::kMacsLength;
    for (std::uint32_t i = 0; i < outcome.tags; ++i, to += mc::kTagLength) {
        mc::store_be16(to, mc::kTpid);
        mc::store_be16(to + 2, outcome.tci[i]);
    }
}

std::int32_t limit(std::uint8_t* bytes, std::uint32_t len, std::uint32_t /*port*/) {
    const std::uint32_t rest = mc::kMacsLength + outcome.tags * mc::kTagLength;
    std::memcpy(copy.data(), bytes, mc::kMacsLength);
    std::memcpy(copy.data() + rest, bytes + mc::kBehindTag, len - mc::kBehindTag);
    for (std::uint32_t i = 0; i < outcome.copies; ++i) {
        write_tags();
        send_frame(copy.data(), rest + len - mc::kBehindTag);
    }
    return 0;
}

// A packet of the core leaves from the node.
std::int32_t limit_from_node(std::uint8_t* bytes, std::uint32_t len, std::uint32_t port) {
    std::memcpy(bytes + mc::kMacLength, sys_mac, mc::kMacLength);
    return limit(bytes, len, port);
}

Receiver prepare_limit(const Load& load) {
    outcome = outcome_of(load);
    if (outcome.copies == 0) return nullptr;
    return load.way == Way::kCorePacket ? limit_from_node : limit;
}

// ------------------------------------------------------------------------------------------------

constexpr Contender kLibrary = {"library", "this library", nullptr};

constexpr Contender kContenders[] = {
    kLibrary,
    {"limit", "copy of the frame, tags written, one call for each frame sent", prepare_limit},
#ifdef MC_HAVE_LIBTINS
    {"libtins", "frame taken apart with libtins, VLAN changed, put together again",
     prepare_libtins},
#endif
#ifdef MC_HAVE_LIBPCAP
    {"bpf", "only asks libpcap's interpreter of BPF whether the frame matches", prepare_bpf},
#endif
};

}  // namespace

std::span<const Contender> contenders() { return kContenders; }

std::optional<Contender> contender_named(std::string_view name) {
    const auto* found = std::ranges::find(kContenders, name, &Contender::name);
    if (found == std::end(kContenders)) return std::nullopt;
    return *found;
}

bool prepare_for(const Contender& contender, const Load& load) {
    prepare(load);
    if (contender.prepare == nullptr) return true;  // the library has the frame already
    const Receiver receiver = contender.prepare(load);
    if (receiver == nullptr) return false;
    give_to(receiver);
    return true;
}

void send_with(Sender sender) { current_sender = sender; }

std::int32_t send_frame(const std::uint8_t* bytes, std::uint32_t len) {
    return current_sender(bytes, len);
}

}  // namespace bench
