# The headers that programs of others read, in C and C++: what is installed, and what compiles alone. A header
# of the library that begins with a comment of C is one of them (tests/install_test.py holds them together).
set(MC_PUBLIC_HEADERS
  adapt/adapt.h
  adapt/records.h
  command/auth_groups.h
  command/command.h
  command/dumps.h
  common/export.h
  common/masks.h
  igmp/igmp.h
  mld/mld.h
  mld/record.h
  platform/l2_multicast.h
  platform/pal.h
  platform/protocol_core.h
  settings/settings.h
  vlan/vlan.h
)
