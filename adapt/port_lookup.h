// The look-up of a port number, with what the console hears of one that is not there.
//
// Two families of operations differ in whether the second line of a refusal goes out by printf or
// by puts, which ends it: a Closing says which.
#pragma once

#include <cstdint>

#include "adapt/records.h"
#include "adapt/tables.h"
#include "common/diagnostics.h"

namespace mc {

enum class Closing { kPrintf, kPuts };

// The lines themselves; whoever says one tests its category.
void say_port_invalid(std::uint32_t port);  // errors: above 29
void say_port_unknown(std::uint32_t port);  // errors: in no entry of the port table
void say_port_number_invalid(Closing closing);
void say_port_refused(std::uint32_t port, Closing closing);  // errors: unknown, and a second line
void trace_port_unknown(std::uint32_t port);                 // flow

// Logical port of a port number below 30 that is in the side's port table. Otherwise says why it is
// none, under the error category, and returns kNoPort.
template <class View>
[[nodiscard]] int accept_port(std::uint32_t port) {
    const bool in_range = port <= MC_UPLINK_PORT;
    const int logical = in_range ? logical_port(View::ports(), port) : kNoPort;
    if (logical == kNoPort && View::says(kErrors)) {
        in_range ? say_port_unknown(port) : say_port_invalid(port);
    }
    return logical;
}

// The same with a second line.
template <class View>
[[nodiscard]] int accept_port(std::uint32_t port, Closing closing) {
    const int logical = accept_port<View>(port);
    if (logical == kNoPort && View::says(kErrors)) say_port_number_invalid(closing);
    return logical;
}

// The same without the range check, for those who make a narrower one of their own or none at all.
template <class View>
[[nodiscard]] int accept_known_port(std::uint32_t port, Closing closing) {
    const int logical = logical_port(View::ports(), port);
    if (logical == kNoPort && View::says(kErrors)) say_port_refused(port, closing);
    return logical;
}

}  // namespace mc
