#include "node/console/protocol.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace console {
namespace {

constexpr std::size_t kHeaderSize = 5;
constexpr std::string_view kName = "mc_node console ";

}  // namespace

std::optional<Address> address() {
    std::array<char, 64> space{};
    const ssize_t size = readlink("/proc/self/ns/ipc", space.data(), space.size());
    if (size <= 0) return std::nullopt;
    const std::string name =
        std::string(kName) + std::string(space.data(), static_cast<std::size_t>(size));
    Address address{};
    address.name.sun_family = AF_UNIX;
    // The first byte stays 0: no file.
    static_assert(sizeof address.name.sun_path > 1 + kName.size() + sizeof space);
    std::ranges::copy(name, address.name.sun_path + 1);
    address.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    return address;
}

bool is_trusted(int connection) {
    ucred peer{};
    socklen_t size = sizeof peer;
    const bool is_known = getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0;
    return is_known && (peer.uid == 0 || peer.uid == geteuid());
}

std::string frame(Kind kind, std::string_view text) {
    const auto length = static_cast<std::uint32_t>(text.size());
    std::string bytes(1, static_cast<char>(kind));
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(length >> shift & 0xFF);
    return bytes.append(text);
}

std::optional<Frame> take_frame(std::string_view& received) {
    if (received.size() < kHeaderSize) return std::nullopt;
    std::uint32_t length = 0;
    for (std::size_t i = 1; i < kHeaderSize; ++i) {
        length = length << 8 | static_cast<std::uint8_t>(received[i]);
    }
    if (received.size() - kHeaderSize < length) return std::nullopt;
    const Frame frame{static_cast<Kind>(received.front()), received.substr(kHeaderSize, length)};
    received.remove_prefix(kHeaderSize + length);
    return frame;
}

}  // namespace console
