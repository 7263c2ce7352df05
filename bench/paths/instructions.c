/*
 * A plugin for QEMU's user-mode emulator that counts the instructions from the first time that one
 * address is reached to the next time that another one is:
 *
 *     qemu-mips -plugin instructions.so,begin=0x...,end=0x... program
 *
 * prints the number on standard error. Debian packages the emulator without the header of its
 * plugin interface, so what is needed of it is declared here.
 */
#include <inttypes.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef uint64_t qemu_plugin_id_t;
struct qemu_plugin_tb;
struct qemu_plugin_insn;
typedef void (*TranslateCallback)(qemu_plugin_id_t id, struct qemu_plugin_tb* block);
typedef void (*ExecuteCallback)(unsigned int vcpu, void* data);
typedef void (*ExitCallback)(qemu_plugin_id_t id, void* data);

size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);
struct qemu_plugin_insn* qemu_plugin_tb_get_insn(const struct qemu_plugin_tb* block, size_t index);
uint64_t qemu_plugin_insn_vaddr(const struct qemu_plugin_insn* instruction);
void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id, TranslateCallback callback);
void qemu_plugin_register_vcpu_insn_exec_cb(struct qemu_plugin_insn* instruction,
                                            ExecuteCallback callback, int registers, void* data);
void qemu_plugin_register_atexit_cb(qemu_plugin_id_t id, ExitCallback callback, void* data);

#define EXPORT __attribute__((visibility("default")))

EXPORT int qemu_plugin_version = 1;

static uint64_t begin;
static uint64_t end;
static uint64_t counted;
static enum { BEFORE, INSIDE, BEHIND } place = BEFORE;

static void on_instruction(unsigned int vcpu, void* data) {
    const uint64_t address = (uintptr_t)data;
    (void)vcpu;
    if (place == BEFORE && address == begin) place = INSIDE;
    if (place == INSIDE && address == end) place = BEHIND;
    if (place == INSIDE) ++counted;
}

static void on_translation(qemu_plugin_id_t id, struct qemu_plugin_tb* block) {
    const size_t count = qemu_plugin_tb_n_insns(block);
    (void)id;
    for (size_t i = 0; i < count; ++i) {
        struct qemu_plugin_insn* const instruction = qemu_plugin_tb_get_insn(block, i);
        void* const address = (void*)(uintptr_t)qemu_plugin_insn_vaddr(instruction);
        qemu_plugin_register_vcpu_insn_exec_cb(instruction, on_instruction, 0, address);
    }
}

static void print_count(qemu_plugin_id_t id, void* data) {
    (void)id;
    (void)data;
    if (place == BEHIND) fprintf(stderr, "%" PRIu64 "\n", counted);
}

EXPORT int qemu_plugin_install(qemu_plugin_id_t id, const void* info, int argc, char** argv) {
    (void)info;
    for (int i = 0; i < argc; ++i) {
        if (strncmp(argv[i], "begin=", 6) == 0) begin = strtoull(argv[i] + 6, NULL, 0);
        if (strncmp(argv[i], "end=", 4) == 0) end = strtoull(argv[i] + 4, NULL, 0);
    }
    if (begin == 0 || end == 0) {
        fprintf(stderr, "instructions: needs begin=ADDRESS,end=ADDRESS\n");
        return -1;
    }
    qemu_plugin_register_vcpu_tb_trans_cb(id, on_translation);
    qemu_plugin_register_atexit_cb(id, print_count, NULL);
    return 0;
}
