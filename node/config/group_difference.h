// Lists of groups: from what a node has to what it is to have.
#pragma once

#include "node/config/words.h"

namespace config {

// The ranges of a port are asked in their order. Then whether they are asked at all.
void change_ranges(const Lines& running, const Lines& wanted, Lines& posted);
void change_private_groups(const Lines& running, const Lines& wanted, Lines& posted);
// Address by address: only what is new or gone.
void change_control_lists(const Lines& running, const Lines& wanted, Lines& posted);

}  // namespace config
