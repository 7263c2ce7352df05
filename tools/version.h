// The version of the project, which CMakeLists.txt has.
#pragma once

#include <string>
#include <string_view>

namespace options {

[[nodiscard]] std::string_view version();

// What --version prints.
[[nodiscard]] std::string version_line(std::string_view program);

}  // namespace options
