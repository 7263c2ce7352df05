// In a build without zlib.
#include "node/capture/gunzip.h"

namespace capture {

// NOLINTNEXTLINE(performance-unnecessary-value-param) ; who can, keeps it
std::unique_ptr<Gunzip> make_gunzip(ReadBytes /*compressed*/) { return nullptr; }

}  // namespace capture
