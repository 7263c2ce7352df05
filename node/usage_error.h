// Something that the user gave cannot be used.
#pragma once

#include <stdexcept>

namespace node {

// The command line or a file of commands is wrong; what() says why, and repeats words as they were
// given.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace node
