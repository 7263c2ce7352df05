// Values on the command line that more than one sub-command takes.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "node/ipc_place.h"

namespace node {

// 0 to 255, where 255 is none; throws UsageError.
[[nodiscard]] std::uint8_t parse_onu_id(const std::string& text);

// "errors,rx", "0x14" or "20"; throws UsageError.
[[nodiscard]] std::uint32_t parse_debug_mask(const std::string& text);

// "2=eth3" as the number of a port and what stands for it, "FILE" in the complaint; throws
// UsageError.
[[nodiscard]] std::pair<std::uint8_t, std::string> parse_port(const std::string& text,
                                                              const std::string& what);

// Throws UsageError for what no interface can be called.
void check_interface_name(const std::string& name);

// "private" or "shared"; the usual one without a word.
[[nodiscard]] IpcPlace parse_ipc_place(const std::string& text, IpcPlace usual);

}  // namespace node
