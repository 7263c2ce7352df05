// Everything that commands set, one fact a value, each record and the core by themselves: two nodes
// with the same facts are configured alike. What a configuration leaves open shows in them.
#pragma once

#include <string>
#include <vector>

#include "node/config/running_config.h"

namespace config {

struct Fact {
    std::string name;   // "port 1, group limit of the core"
    std::string value;  // one line

    bool operator==(const Fact&) const = default;
};

// In the same order, with the same names, each time.
[[nodiscard]] std::vector<Fact> facts_of(const Running& running);

// A line for each fact that differs: "NAME is VALUE, from this file VALUE".
[[nodiscard]] std::vector<std::string> differing(const std::vector<Fact>& running,
                                                 const std::vector<Fact>& made);

}  // namespace config
