/*
 * Authorised groups: which group ranges a user port may join. The protocol core keeps the lists;
 * the library forwards each request and keeps a copy of up to eight ranges a port in globle_parm,
 * for the dumps. Ports are port numbers (8 bits), VLANs 16 bits, addresses IPv4 in host order.
 *
 * Every operation returns 0 on success, -1 for an argument that it refuses, otherwise the core's
 * status where a comment says so.
 */
#pragma once

#include <stdint.h>

#include "common/export.h"

MC_C_BEGIN

/* ---- Private requests: one table without a port, whose copy is that of logical port 0 ---- */

/* One group. The third argument is not used. The core's status; a full copy is not a failure. */
MC_EXPORT int32_t omci_add_auth_igmp_group_vlan_config(uint32_t group, uint32_t vlan,
                                                       uint32_t unused);
/* The status of the core's last deletion. The copy keeps the group until the next clear. */
MC_EXPORT int32_t omci_delete_auth_igmp_group_vlan_config(uint32_t group, uint32_t vlan,
                                                          uint32_t unused);
/* Deletes all of them; 0, whatever the core says. */
MC_EXPORT int32_t omci_clear_all_auth_igmp_group_vlan_config(void);

/* ---- Requests for a port ---- */

/* Adds a range. 0 even when the core refuses it: nothing is stored then. */
MC_EXPORT int32_t onu_omci_add_auth_igmp_group_vlan_config(uint32_t port, uint32_t start,
                                                           uint32_t end, uint32_t bandwidth,
                                                           uint32_t vlan);
/* The same, then switches the port's range authorisation on. */
MC_EXPORT int32_t onu_std_omci_add_auth_igmp_group_vlan_config(uint32_t port, uint32_t start,
                                                               uint32_t end, uint32_t bandwidth,
                                                               uint32_t vlan);
/* Deletes a range; the core's status. All copies with the same start and end go. */
MC_EXPORT int32_t onu_std_omci_delete_auth_igmp_group_vlan_config(uint32_t port, uint32_t start,
                                                                  uint32_t end, uint32_t bandwidth,
                                                                  uint32_t vlan);
/* Deletes all ranges of a port; the core's status. */
MC_EXPORT int32_t onu_std_omci_clear_port_all_auth_igmp_group_vlan_config(uint32_t port,
                                                                          uint32_t vlan);
/*
 * Programs a port's control list, address by address from start to end inclusive. opt (8 bits): 0
 * adds (action 1 of the core), 1 deletes (action 0), everything else is action 2. Returns the
 * status of the last address, 0 for an empty range.
 */
MC_EXPORT int32_t omci_set_port_to_control_multicast_list_table(uint32_t port, uint32_t opt,
                                                                int32_t ds_vlan, uint32_t start,
                                                                uint32_t end);

MC_C_END
