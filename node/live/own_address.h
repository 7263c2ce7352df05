// The addresses that the node's own messages leave from. A router takes reports of its own subnet
// only, so they leave from the address of the bridge, or of the uplink where that has one of its
// own, whatever the library's parameters begin with. An address that a command sets stays.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "node/live/netlink.h"
#include "node/live/say.h"

namespace live {

class OwnAddress {
 public:
    // Without an uplink its name is empty.
    OwnAddress(std::string bridge, std::string uplink, Say say);

    // Once the library has started; says so when there is no address.
    void begin();
    // After news: takes what there is now in place of what it had taken, and says so.
    void look();

    // "192.0.2.1 (br0)", or "0.0.0.0".
    [[nodiscard]] std::string text() const;

 private:
    struct Found {
        std::uint32_t address = 0;
        std::string interface;
        bool operator==(const Found&) const = default;
    };

    [[nodiscard]] Found find();
    void use_link_local();
    void say_when_none() const;

    std::string bridge_;
    std::string uplink_;
    Say say_;
    Netlink netlink_;
    Found taken_;
};

}  // namespace live
