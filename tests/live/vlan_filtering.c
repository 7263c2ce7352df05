// Shows a program bridges with vlan_filtering on, on a kernel that has no such thing and says 0:
// preloaded, it changes that in what rtnetlink tells, while the file exists that VLAN_FILTERING
// names.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

static void switch_on_in(struct rtattr* attribute, int size, int kind) {
    int is_bridge = 0;
    for (; RTA_OK(attribute, size); attribute = RTA_NEXT(attribute, size)) {
        const int type = attribute->rta_type & NLA_TYPE_MASK;
        if (kind == IFLA_INFO_DATA && type == IFLA_BR_VLAN_FILTERING) {
            *(unsigned char*)RTA_DATA(attribute) = 1;
        } else if (kind == IFLA_LINKINFO && type == IFLA_INFO_KIND) {
            is_bridge = strcmp(RTA_DATA(attribute), "bridge") == 0;
        } else if (kind == IFLA_LINKINFO && type == IFLA_INFO_DATA && is_bridge) {
            switch_on_in(RTA_DATA(attribute), RTA_PAYLOAD(attribute), IFLA_INFO_DATA);
        } else if (kind == 0 && type == IFLA_LINKINFO) {
            switch_on_in(RTA_DATA(attribute), RTA_PAYLOAD(attribute), IFLA_LINKINFO);
        }
    }
}

ssize_t recvmsg(int descriptor, struct msghdr* message, int flags) {
    ssize_t (*const real)(int, struct msghdr*, int) = dlsym(RTLD_NEXT, "recvmsg");
    const ssize_t size = real(descriptor, message, flags);
    const char* const file = getenv("VLAN_FILTERING");
    if (size <= 0 || file == NULL || access(file, F_OK) != 0) return size;
    unsigned left = (unsigned)size;
    for (struct nlmsghdr* one = message->msg_iov->iov_base; NLMSG_OK(one, left);
         one = NLMSG_NEXT(one, left)) {
        if (one->nlmsg_type != RTM_NEWLINK) continue;
        switch_on_in(IFLA_RTA(NLMSG_DATA(one)), IFLA_PAYLOAD(one), 0);
    }
    return size;
}
