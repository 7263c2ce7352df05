/*
 * The multicast VLAN rules of the ports: set, delete and web set, on the IGMP and on the MLD side,
 * and the routines that keep the tables packed.
 *
 * Invariants, on both sides:
 *   - the rules of a port that are in use come first, in the order in which they were added
 *   - every slot behind them is empty: port number 255, tag modes 4, VLANs 0xFFFF, flag 0
 *   - a slot is in use when its in_up_vlan is below 0xFFFF
 *   - the entries of a template VLAN list that are in use come first too; 0 is an empty entry
 *
 * Every operation returns 0 on success, -1 for a request that it refuses, otherwise the status of
 * the protocol core. A request is the caller's and is rewritten in place while it is normalised.
 * All of it runs on the command task, which alone writes the tables; the packet task reads them
 * meanwhile.
 */
#pragma once

#include <stdint.h>

#include "adapt/records.h"
#include "common/export.h"

MC_C_BEGIN

/* ---- Packing -------------------------------------------------------------------------------- */

/* The rules of one logical port. */
typedef PortVlanCfgEntry McRuleBlock[MC_RULES];

/*
 * A copy of a rule table of MC_PORTS blocks in which the rules of one port (a port number) are
 * packed. The copy is static: the caller copies it back, and the next call overwrites it. A port
 * that is not in portState leaves the copy as the table was.
 */
MC_EXPORT McRuleBlock* sortPortVlanCfg(McRuleBlock* table, uint32_t port);
/* The same for a list of MC_TEMPLATE_VLANS VLANs. */
MC_EXPORT uint16_t* sortMcVlan(uint16_t* list);
/* 0 when a rule in use has this data VLAN (its low 12 bits are compared), 1 when none has. */
MC_EXPORT int32_t IsSameVlanExist(uint32_t vlan);

/* ---- IGMP side ------------------------------------------------------------------------------ */

/*
 * Adds a rule to its port; a new data VLAN enters the template list and the core, and the rule goes
 * on to the MLD side. Refused: an unknown port, a port with ten rules, a slot that is not empty,
 * and a data VLAN that would be the eleventh of the template list. Otherwise the result is the MLD
 * side's, or, when the data VLAN was known already, that of switching VLAN learning on in EPON
 * mode.
 */
MC_EXPORT int32_t onu_std_omci_set_multicast_vlan(PortVlanCfgEntry* rule);
/*
 * Builds a rule from a tag mode and one or two VLANs (16 bits) and sets it on both sides; the
 * result is the MLD side's. From the first call on requests are no longer normalised by their tag
 * mode.
 */
MC_EXPORT int32_t igmp_port_vlan_and_mode_set(int32_t port, int32_t mode, int32_t vlan,
                                              int32_t vlan2);
/*
 * Deletes the first rule of the port with the request's in_up_vlan, on this side only. A data VLAN
 * that no rule uses any more leaves the core and the template list, unless it is the default VLAN.
 * -1: the port is unknown or has no rule. 0: no such rule, or the VLAN stays. Otherwise
 * igmp_vlan_del's status.
 */
MC_EXPORT int32_t onu_std_omci_delete_multicast_vlan(PortVlanCfgEntry* rule);
/* Builds a rule as igmp_port_vlan_and_mode_set does, deletes it on both sides; the MLD result. */
MC_EXPORT int32_t igmp_service_remove_port_config(int32_t port, int32_t mode, int32_t vlan,
                                                  int32_t vlan2);
/*
 * Replaces all rules of a port by one. portNO is a logical port here, 0 to 6; the upstream half of
 * the rule is derived from its downstream half. IGMP side only. Not atomic: a request refused after
 * its port was looked up leaves the port without rules.
 */
MC_EXPORT int32_t onu_std_omci_web_set_vlan(PortVlanCfgEntry* rule);

/* ---- MLD side ------------------------------------------------------------------------------- */

/*
 * Adds a rule. Nothing in the core hears of it. While the record's srcPortNum, which is also the
 * port of the last MLD frame, is 10 or above a new data VLAN finds no place: the rule is stored, -1
 * returned.
 */
MC_EXPORT int32_t mld_onu_std_omci_set_multicast_vlan(PortVlanCfgEntry* rule);
/* Deletes a rule as onu_std_omci_delete_multicast_vlan does, with the MLD side's tables. */
MC_EXPORT int32_t mld_onu_std_omci_delete_multicast_vlan(PortVlanCfgEntry* rule);
/* Packs the rules of a port of the MLD port table where they are, and returns the table. */
MC_EXPORT McRuleBlock* mldsortPortVlanCfg(McRuleBlock* table, uint32_t port);
/* As sortMcVlan, with a copy of its own. */
MC_EXPORT uint16_t* sortmldVlan(uint16_t* list);
MC_EXPORT int32_t* mldgetPortVlanConfigNumber(void); /* mldInitParams.vlancfgnum */

MC_C_END
