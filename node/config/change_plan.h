// The commands that make of a running configuration the one that is wanted, tried out in fresh
// nodes (fresh_node.h): what they do besides is put right behind them.
#pragma once

#include "node/config/snapshot.h"
#include "node/config/words.h"

namespace config {

// The wanted lines are those of a fresh node that has run a file. The way that disturbs least comes
// first: the difference; then all rules anew; then "clear all". If none comes right, the
// difference.
[[nodiscard]] Lines plan_changes(const Snapshot& running, const Lines& wanted);

}  // namespace config
