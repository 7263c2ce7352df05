// What paths_bench times, by topic.
#pragma once

namespace bench {

void register_frames();
void register_commands();

}  // namespace bench
