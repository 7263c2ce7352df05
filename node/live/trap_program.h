// The trap as a filter for packet sockets, in the kernel's classic BPF: IGMP and MLD behind tags, a
// PPPoE session header and a hop-by-hop header, as driver::classify() has it. It may let through
// what classify() then refuses, never the other way round.
#pragma once

#include <linux/filter.h>

#include <span>

namespace live {

[[nodiscard]] std::span<const sock_filter> trap_program();

}  // namespace live
