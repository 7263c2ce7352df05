// The configuration of a node at one moment: its lines, and the facts that they are to make. A node
// hands it out as a text, which is a file of its configuration (config_file.h) whose last lines,
// comments to whoever reads it as one, are the facts:
//
//     # The node
//     bridge br0
//
//     # Mode and version
//     mode proxy
//
//     #= own address: 192.0.2.1
//     #= mode of the library: 2
//     ...
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "node/config/config_file.h"
#include "node/config/facts.h"
#include "node/config/words.h"

namespace config {

struct TitledLines {
    std::string title;
    Lines lines;
};

struct Snapshot {
    Lines options;  // of the node, as it was started
    std::vector<TitledLines> groups;
    std::vector<Fact> facts;
    std::optional<std::uint32_t> own_ip;  // what the proxy address is without being configured

    // Of all groups, in the order in which they are to run.
    [[nodiscard]] Lines commands() const;
    // The value of an option; empty without it.
    [[nodiscard]] std::string option(const std::string& name) const;
};

// For the command task, or while no command runs.
[[nodiscard]] Snapshot take_snapshot(Lines options);

// Whether the node was started with an option of a file, or has the value without it.
[[nodiscard]] bool holds_already(const Option& option, const Snapshot& running);

// As a file; what it cannot say is told in a comment line each.
[[nodiscard]] std::string file_text(const Snapshot& snapshot, const Lines& not_expressible);

// As the node hands it out, and as it is read again.
[[nodiscard]] std::string answer_text(const Snapshot& snapshot);
[[nodiscard]] Snapshot read_answer(const std::string& text);

}  // namespace config
