// What a run is asked to write down.
#pragma once

#include <filesystem>
#include <optional>

namespace events {

struct Wanted {
    std::optional<std::filesystem::path> file;  // --events
    std::optional<std::filesystem::path> page;  // --timeline
};

}  // namespace events
