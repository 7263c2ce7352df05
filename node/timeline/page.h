// The page that shows a run as a timeline: one file, with all it needs. Its sources are page.html,
// page.css and page.js; the build puts them into the program (embed.cmake).
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "node/events/journal.h"

namespace timeline {

// The run up to now_us. Takes the place of the file when it is whole. What went wrong comes back.
[[nodiscard]] std::optional<std::string> write_page(const std::filesystem::path& file,
                                                    const events::Kept& kept, std::uint64_t now_us);

}  // namespace timeline
