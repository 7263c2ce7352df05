// What keeps the node from going live: one line for the reader.
#pragma once

#include <stdexcept>

namespace live {

struct LiveError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace live
