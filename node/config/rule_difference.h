// Rules, and the core's list of VLANs: from what a node has to what it is to have.
#pragma once

#include "node/config/words.h"

namespace config {

// Rules come in a row and can only be added behind the others of their port. The rules that stay
// are those with which the wanted row begins; the others go. With `anew` all go.
void change_rules(const Lines& running, const Lines& wanted, bool anew, Lines& posted);

// Both as they are beside the same rules.
void change_core_vlans(const Lines& running, const Lines& wanted, Lines& posted);

}  // namespace config
