// Something that the user gave cannot be used.
#pragma once

#include <stdexcept>

namespace node {

// The command line or a file of commands is wrong; what() is the one line to show.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace node
