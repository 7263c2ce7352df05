#include "node/recorded_arguments.h"

namespace node {

events::Wanted meaning_of(const RecordedWords& words) {
    events::Wanted wanted;
    if (!words.events.empty()) wanted.file = words.events;
    if (!words.timeline.empty()) wanted.page = words.timeline;
    return wanted;
}

}  // namespace node
