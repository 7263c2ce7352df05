#include "tools/version.h"

namespace options {

std::string_view version() { return MC_VERSION; }

std::string version_line(std::string_view program) {
    return std::string(program) + " " + std::string(version());
}

}  // namespace options
