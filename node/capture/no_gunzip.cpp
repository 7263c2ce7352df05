// In a build without zlib.
#include "node/capture/gunzip.h"

namespace capture {

std::unique_ptr<Gunzip> make_gunzip(ReadBytes /*compressed*/) { return nullptr; }

}  // namespace capture
