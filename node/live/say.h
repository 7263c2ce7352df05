// How the node tells whoever watches it what has happened: one line each time.
#pragma once

#include <functional>
#include <string>

namespace live {

using Say = std::function<void(const std::string& line)>;

}  // namespace live
