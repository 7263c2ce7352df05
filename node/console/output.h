// Standard output with a listener: what is printed goes where it always goes, and is heard.
#pragma once

#include <string_view>

namespace console {

// To be called while there is one thread, and before anybody keeps stdout. From here on each text
// that leaves the buffer of stdout is handed to the listener as well, once it is written, by the
// task that printed it and in the order of printing. Descriptor 1 may be led elsewhere at any time.
// False, and nothing is changed, when there is no stream to be had.
[[nodiscard]] bool listen_to_output(void (*listener)(std::string_view text));

}  // namespace console
