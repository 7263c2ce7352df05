// What the words of --events and --timeline mean, which both sub-commands take.
#pragma once

#include <string>

#include "node/events/wanted.h"

namespace node {

// As they stand on the command line; empty where they do not.
struct RecordedWords {
    std::string events;
    std::string timeline;
};

[[nodiscard]] events::Wanted meaning_of(const RecordedWords& words);

}  // namespace node
