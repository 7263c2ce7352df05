/*
 * A host whose neighbours do something wrong.
 *
 *     host CASE [LIBRARY]      LIBRARY: loaded when it runs, by this name
 */
#include <dlfcn.h>
#include <stdio.h>
#include <unistd.h>

#include "adapt/adapt.h"
#include "adapt/status_layout.h"
#include "igmp/igmp.h"
#include "tests/check/case.h"

#ifdef LOADS_LATER
static int32_t initialise(const char* library) {
    __typeof__(IgmpInit)* found;
    void* const handle = dlopen(library, RTLD_NOW);
    if (handle == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    *(void**)&found = dlsym(handle, "IgmpInit");
    return found();
}
static void call_library(void) {}
#else
static int32_t initialise(const char* library) {
    (void)library;
    return IgmpInit();
}

static void send_frames(void) {
    static uint8_t frame[3000];
    l2_igmp_send_pkt(frame, 2009, 0);
    l2_igmp_send_pkt(frame, 13, 0);
    l2_igmp_send_pkt(frame, 64, 7);
    l2_igmp_send_pkt(NULL, 64, 0);
}

/* What readers of the segment see. */
static void print_segment(void) {
    if (mc_status_global == NULL || mc_status_global == (uint8_t*)~(uintptr_t)0) return;
    for (int i = 0; i < MC_STATUS_SIZE; ++i) {
        if (mc_status_global[i] != 0) printf("segment %d: %d\n", i, mc_status_global[i]);
    }
}

static void forward_in_control_mode(void) {
    static uint8_t frame[2048] = {1, 0, 0x5E, 1, 1, 1, 2, 0, 0, 0, 0, 2, 0x08, 0x00};
    igmp_adapt_control_handle(frame, 0, 60, 0);
}

static void call_library(void) {
    igmp_hal_sync_if_status(0);
    igmp_hal_sync_grp_infor(255);
    print_segment();
    if (case_is("clean") || case_is("no_onu_id")) forward_in_control_mode();
    if (case_is("frames")) send_frames();
    if (case_is("again")) IgmpInit();
}
#endif

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    case_use(argv[1]);
    if (case_is("becomes_a_daemon") && fork() != 0) _exit(0);
    if (initialise(argc > 2 ? argv[2] : "") != 0) return 1;
    if (case_is("forks") && fork() == 0) _exit(0);
    case_wait();
    case_act();
    call_library();
    if (case_is("not_started")) usleep(1100000);
    if (case_is("leaves")) _exit(0);
    return 0;
}
