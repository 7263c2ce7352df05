/*
 * The switch driver over one packet socket. The switch that it stands for sits behind one interface
 * and marks each frame with its port, behind the two MAC addresses: the local experimental
 * EtherType 88B5 (IEEE 802, 9.2.4), then the port number in 16 bits. A real driver has the switch's
 * own way to do that.
 *
 * The interface is up and takes all multicast ("ip link set eth0 up allmulticast on"). The real
 * driver has the switch trap IGMP and MLD frames, and no others.
 */
#include <arpa/inet.h>
#include <errno.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include "host.h"
#include "platform/l2_multicast.h"

enum { PORT_MARK = 0x88B5, ADDRESSES = 12, READ_BUFFER = 2048 };

/* What stands between the addresses and the rest of a frame, in network byte order. */
struct Mark {
    uint16_t type;
    uint16_t port;
};

static const char* interface_name;
static int port_socket = -1;

void driver_use(const char* name) { interface_name = name; }
int driver_is_open(void) { return port_socket != -1; }

static int open_socket(void) {
    struct sockaddr_ll address = {0};
    const int opened = socket(AF_PACKET, SOCK_RAW, 0); /* deaf until it is bound */
    if (opened == -1) return -1;
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = (int)if_nametoindex(interface_name);
    if (address.sll_ifindex != 0 && bind(opened, (struct sockaddr*)&address, sizeof address) == 0) {
        return opened;
    }
    close(opened);
    return -1;
}

/* Opens the driver. Not 0: start-up ends here, without mode and proxy address, but with tasks. */
int32_t L2_multicast_init(void) {
    port_socket = open_socket();
    if (port_socket != -1) return 0;
    fprintf(stderr, "host: %s: %s\n", interface_name, strerror(errno));
    return 1;
}

/* Method 2: how the switch matches entries. A real one writes a register. */
int32_t L2_multicast_set_filter_method(uint32_t method) { return 0; }

/* One frame, with its mark apart; its size without the mark, 0 for one that is not to be taken. */
static ssize_t receive(uint8_t* buf, struct Mark* mark) {
    struct sockaddr_ll from;
    struct iovec parts[3] = {{NULL, ADDRESSES}, {NULL, sizeof *mark}, {NULL, 0}};
    struct msghdr message = {0};
    ssize_t size;
    parts[0].iov_base = buf;
    parts[1].iov_base = mark;
    parts[2].iov_base = buf + ADDRESSES;
    parts[2].iov_len = READ_BUFFER - ADDRESSES;
    message.msg_name = &from;
    message.msg_namelen = sizeof from;
    message.msg_iov = parts;
    message.msg_iovlen = 3;
    size = recvmsg(port_socket, &message, 0);
    if (size == -1) return -1;
    if (from.sll_pkttype == PACKET_OUTGOING) return 0;
    if ((message.msg_flags & MSG_TRUNC) != 0) return 0; /* longer than the buffer */
    if (size <= (ssize_t)(ADDRESSES + sizeof *mark)) return 0;
    return ntohs(mark->type) == PORT_MARK ? size - (ssize_t)sizeof *mark : 0;
}

/*
 * The next frame, without FCS. It waits for one: the library, told that there is none, sleeps for a
 * second. buf is the library's, 2048 bytes, and free again at the next call.
 */
int32_t L2_multicast_read_msg(uint8_t* buf, uint8_t* port, uint32_t* len) {
    struct Mark mark;
    ssize_t size;
    do {
        size = receive(buf, &mark);
    } while (size == 0);
    if (size == -1) return 1; /* the interface is down, say */
    *port = (uint8_t)ntohs(mark.port);
    *len = (uint32_t)size;
    return 0;
}

/*
 * Sends a frame on a port: 0 to 5, or 29. It is the library's, and gone after the call. src_port
 * and vlan say of the last frame received what a switch may want to know: its port, its group VLAN.
 * Several threads call it at once, one sendmsg a frame needs no lock. The library hands the result
 * on, and prints it under the error category.
 */
int32_t L2_multicast_send_msg(uint8_t* frame, uint8_t port, uint16_t len, uint8_t src_port,
                              uint32_t vlan) {
    struct Mark mark;
    struct iovec parts[3] = {{NULL, ADDRESSES}, {NULL, sizeof mark}, {NULL, 0}};
    struct msghdr message = {0};
    if (len < ADDRESSES) return 1;
    mark.type = htons(PORT_MARK);
    mark.port = htons(port);
    parts[0].iov_base = frame;
    parts[1].iov_base = &mark;
    parts[2].iov_base = frame + ADDRESSES;
    parts[2].iov_len = (size_t)(len - ADDRESSES);
    message.msg_iov = parts;
    message.msg_iovlen = 3;
    return sendmsg(port_socket, &message, 0) == -1 ? 1 : 0;
}

/*
 * The switch's forwarding entry of a group MAC address in a VLAN: the port joins it, or leaves it.
 * A real one writes the table, makes the entry with its first port and takes it away with the last.
 * It is asked again for a port that is in already: that is no failure. Called on the core's
 * threads; what it answers goes back to the core.
 */
int32_t L2_multicast_set_port_iptv_entry(int16_t port, L2MulticastMac mac, uint16_t vlan) {
    return 0;
}
int32_t L2_multicast_remove_port_iptv_entry(int16_t port, L2MulticastMac mac, uint16_t vlan) {
    return 0;
}

/* The PON gives the node an id, which control mode puts into tags; the result is not looked at. */
int32_t L2_multicast_get_onu_id(uint8_t* onu_id) {
    *onu_id = L2_MULTICAST_NO_ONU_ID;
    return 0;
}
