/* Host processes may be written in C: every header of the interface is compiled as that, too. */
#include "adapt/adapt.h"
#include "adapt/records.h"
#include "adapt/status_layout.h"
#include "command/auth_groups.h"
#include "command/command.h"
#include "command/command_codes.h"
#include "command/dumps.h"
#include "command/message.h"
#include "common/masks.h"
#include "igmp/igmp.h"
#include "mld/mld.h"
#include "mld/record.h"
#include "platform/group_dump.h"
#include "platform/l2_multicast.h"
#include "platform/pal.h"
#include "platform/protocol_core.h"
#include "settings/settings.h"
#include "vlan/vlan.h"

int32_t (*mc_entry_seen_from_c(void))(void);
int32_t (*mc_entry_seen_from_c(void))(void) { return IgmpInit; }
