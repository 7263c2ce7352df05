#include "adapt/records.h"

#include <cstdint>

constinit IgmpGlobleParm globle_parm{};
constinit PortVlanCfgEntry PortVlanCfg[MC_PORTS][MC_RULES]{};
constinit std::int32_t setVlanCfgNumber[MC_PORTS]{};
constinit PortStateEntry portState[MC_PORTS]{};
constinit std::uint16_t PortVlan[MC_TEMPLATE_VLANS]{};
constinit std::int32_t setVlanNumber = 0;

constinit std::uint8_t proxy_adapt_mode = 0;
constinit std::uint8_t* mc_status_global = nullptr;
constinit std::uint8_t srcPortNum = 0;
constinit std::uint32_t ponVlan = 0;
constinit std::uint8_t sys_mac[6]{};
constinit std::uint16_t defaultVlan = MC_DEFAULT_VLAN;
constinit std::int32_t testuplink = MC_NO_TEST_UPLINK;
constinit std::int32_t tablereturn = 1;
constinit std::int32_t igmp_adapt = -1;
constinit std::uint32_t flag_omci_version = 0;
constinit std::uint8_t mld_sys_mac[6]{};

constinit std::uint8_t jion_buffer[MC_JION_BUFFER_SIZE] = {
    0x01, 0x00, 0x5e, 0x7f, 0x01, 0x01,              // to the MAC of 239.255.1.1
    0x02, 0x00, 0x00, 0x00, 0x01, 0x01,              // from a locally administered address
    0x81, 0x00, 0x00, 0x64,                          // 802.1Q, VID 100
    0x08, 0x00,                                      // IPv4
    0x46, 0xc0, 0x00, 0x20, 0x00, 0x00, 0x00, 0x00,  // header of 24 bytes, 32 in all
    0x01, 0x02, 0x71, 0x03,                          // TTL 1, IGMP, header checksum
    0xc0, 0x00, 0x02, 0x14,                          // from 192.0.2.20
    0xef, 0xff, 0x01, 0x01,                          // to 239.255.1.1
    0x94, 0x04, 0x00, 0x00,                          // router alert (RFC 2113)
    0x16, 0x00, 0xf8, 0xfe, 0xef, 0xff, 0x01, 0x01,  // IGMPv2 membership report, checksum
};
