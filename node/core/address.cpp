#include "node/core/address.h"

#include <arpa/inet.h>

#include <string>

namespace mcore {

std::string text(Family family, const Address& address) {
    char buffer[INET6_ADDRSTRLEN];
    const int kind = family == Family::kIpv4 ? AF_INET : AF_INET6;
    return inet_ntop(kind, address.data(), buffer, sizeof buffer);
}

}  // namespace mcore
