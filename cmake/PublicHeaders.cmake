# The headers that programs of others read, in C and C++, for cmake --install. A header of the library that
# begins with a comment of C is one of them (tests/install_test.py holds them together).
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
