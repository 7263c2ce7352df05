# The headers that programs of others read, in C and C++. This is their one list: what is installed, what
# tests/headers_in_c.c.in compiles and what scripts/abi holds is made from it. A header of the library that
# begins with a comment of C is one of them; tests/public_headers_test.py finds one that is missing here or in
# docs/Doxyfile, which cannot read this file.
set(MC_PUBLIC_HEADERS
  adapt/adapt.h
  adapt/records.h
  adapt/status_layout.h
  command/auth_groups.h
  command/command.h
  command/command_codes.h
  command/dumps.h
  command/message.h
  common/export.h
  common/masks.h
  common/static_assert.h
  igmp/igmp.h
  mld/mld.h
  mld/record.h
  platform/group_dump.h
  platform/l2_multicast.h
  platform/pal.h
  platform/protocol_core.h
  settings/settings.h
  vlan/vlan.h
)
