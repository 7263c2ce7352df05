// A capture that cannot be used, or an output that cannot be written: one line for the reader.
#pragma once

#include <stdexcept>

namespace capture {

struct CaptureError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace capture
