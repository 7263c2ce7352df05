// A run that is written down as it happens, as far as that is wanted: the events to a file and,
// from the same lines, a page.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "node/events/journal.h"

namespace timeline {

class Recording {
 public:
    // From the present time of the core's clock on. Throws std::runtime_error when a file cannot be
    // opened.
    Recording(const events::Wanted& wanted, const events::Run& run);
    ~Recording();
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    // The page up to now. What went wrong comes back, or that no page is wanted.
    [[nodiscard]] std::optional<std::string> write_page();

    // Nothing is written down any more. A line for each file that is not whole.
    [[nodiscard]] std::vector<std::string> end();

 private:
    events::Wanted wanted_;
    std::unique_ptr<events::Journal> journal_;  // null when nothing is wanted, or all is written
};

}  // namespace timeline
