#include "check/attach.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include "check/report.h"
#include "check/watch.h"

/* ---- What is to be exchanged ----------------------------------------------------------------- */

typedef struct Exchange {
    const char* name;
    uintptr_t wrapper;
    const void* own; /* where the neighbour's function is kept, null while there is none */
} Exchange;

static const Exchange* find_exchange(const char* name) {
    static const Exchange exchanges[] = {
#define EXCHANGE(name) {#name, (uintptr_t)checked_##name, &neighbours.name},
        WATCHED_IMPORTS(EXCHANGE)
#undef EXCHANGE
    };
    for (size_t i = 0; i < sizeof exchanges / sizeof *exchanges; ++i) {
        if (strcmp(exchanges[i].name, name) == 0) return &exchanges[i];
    }
    return NULL;
}

/* Finds the neighbours' own functions, and names those that nobody has. */
static void find_neighbours(void) {
    static char missing[4096];
    size_t length = 0;
    void* found;
#define LOOK_FOR(name)                                                                       \
    found = dlsym(RTLD_DEFAULT, #name);                                                      \
    if (found == NULL) {                                                                     \
        length += (size_t)snprintf(missing + length, sizeof missing - length, " %s", #name); \
    }
#define TAKE(name) \
    LOOK_FOR(name) \
    *(void**)&neighbours.name = found; /* the form that POSIX asks for */
    WATCHED_IMPORTS(TAKE)
    OTHER_IMPORTS(LOOK_FOR)
#undef TAKE
#undef LOOK_FOR
    if (length == 0) return;
    report_list("mc_check: missing:", missing);
    BREACH(NO_PLACE, "functions that it calls are missing");
}

/* ---- The library in memory ------------------------------------------------------------------- */

#if __SIZEOF_POINTER__ == 8
typedef Elf64_Phdr Part;
typedef Elf64_Dyn DynamicEntry;
typedef Elf64_Sxword DynamicTag;
typedef Elf64_Sym Symbol;
typedef Elf64_Rel Relocation;
typedef Elf64_Rela RelocationWithAddend;
#define SYMBOL_OF(info) ELF64_R_SYM(info)
#else
typedef Elf32_Phdr Part;
typedef Elf32_Dyn DynamicEntry;
typedef Elf32_Sword DynamicTag;
typedef Elf32_Sym Symbol;
typedef Elf32_Rel Relocation;
typedef Elf32_Rela RelocationWithAddend;
#define SYMBOL_OF(info) ELF32_R_SYM(info)
#endif

typedef struct Library {
    uintptr_t inside; /* an address in it */
    uintptr_t base;   /* what addresses of the file are counted from */
    const DynamicEntry* dynamic;
    uintptr_t read_only; /* what the loader has made read-only behind itself */
    size_t read_only_size;
} Library;

static bool contains(const struct dl_phdr_info* object, uintptr_t address) {
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        const Part* const part = &object->dlpi_phdr[i];
        const uintptr_t begin = object->dlpi_addr + part->p_vaddr;
        if (part->p_type == PT_LOAD && address >= begin && address - begin < part->p_memsz) {
            return true;
        }
    }
    return false;
}

static int take_if_library(struct dl_phdr_info* object, size_t size, void* wanted) {
    Library* const library = wanted;
    (void)size;
    if (!contains(object, library->inside)) return 0;
    library->base = object->dlpi_addr;
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        const Part* const part = &object->dlpi_phdr[i];
        const uintptr_t begin = library->base + part->p_vaddr;
        if (part->p_type == PT_DYNAMIC) library->dynamic = (const DynamicEntry*)begin;
        if (part->p_type == PT_GNU_RELRO) {
            library->read_only = begin;
            library->read_only_size = part->p_memsz;
        }
    }
    return 1;
}

static uintptr_t dynamic_value(const Library* library, DynamicTag tag) {
    const DynamicEntry* entry = library->dynamic;
    while (entry->d_tag != DT_NULL && entry->d_tag != tag) ++entry;
    return entry->d_tag == tag ? entry->d_un.d_ptr : 0;
}

/* Some loaders write the addresses over what stands in the file, others leave it. */
static const void* dynamic_address(const Library* library, DynamicTag tag) {
    const uintptr_t value = dynamic_value(library, tag);
    if (value == 0) return NULL;
    return (const void*)(value < library->base ? library->base + value : value);
}

/* ---- The exchange ---------------------------------------------------------------------------- */

static uint32_t exchanged;

/* Puts the wrapper into a word of the table that stands for a symbol. */
static void exchange(const Library* library, uint32_t symbol_number, uintptr_t* word) {
    const Symbol* const symbols = dynamic_address(library, DT_SYMTAB);
    const char* const names = dynamic_address(library, DT_STRTAB);
    const Symbol* const symbol = &symbols[symbol_number];
    if (symbol->st_shndx != SHN_UNDEF) return;
    const Exchange* const found = find_exchange(names + symbol->st_name);
    if (found == NULL || *(void* const*)found->own == NULL) return;
    *word = found->wrapper;
    ++exchanged;
}

/* Relocations with and without an addend begin alike. */
static void exchange_relocated(const Library* library, DynamicTag table, DynamicTag table_size,
                               size_t size_of_one) {
    const char* at = dynamic_address(library, table);
    if (at == NULL) return;
    const char* const end = at + dynamic_value(library, table_size);
    for (; at < end; at += size_of_one) {
        const Relocation* const one = (const void*)at;
        exchange(library, (uint32_t)SYMBOL_OF(one->r_info),
                 (uintptr_t*)(library->base + one->r_offset));
    }
}

static void exchange_in_tables(const Library* library) {
    const size_t of_jumps = dynamic_value(library, DT_PLTREL) == DT_RELA
                                ? sizeof(RelocationWithAddend)
                                : sizeof(Relocation);
    exchange_relocated(library, DT_JMPREL, DT_PLTRELSZ, of_jumps);
    exchange_relocated(library, DT_RELA, DT_RELASZ, sizeof(RelocationWithAddend));
    exchange_relocated(library, DT_REL, DT_RELSZ, sizeof(Relocation));
#ifdef __mips__
    /* The end of the global offset table belongs to symbols in their order, without relocations. */
    uintptr_t* const table = (uintptr_t*)dynamic_address(library, DT_PLTGOT);
    uintptr_t* word = table + dynamic_value(library, DT_MIPS_LOCAL_GOTNO);
    const uint32_t end = (uint32_t)dynamic_value(library, DT_MIPS_SYMTABNO);
    for (uint32_t i = (uint32_t)dynamic_value(library, DT_MIPS_GOTSYM); i < end; ++i, ++word) {
        exchange(library, i, word);
    }
#endif
}

static bool protect(const Library* library, int access) {
    if (library->read_only_size == 0) return true;
    const uintptr_t page = (uintptr_t)sysconf(_SC_PAGESIZE);
    const uintptr_t begin = library->read_only / page * page;
    const uintptr_t end = (library->read_only + library->read_only_size) / page * page;
    return end <= begin || mprotect((void*)begin, end - begin, access) == 0;
}

bool attach_to_library(void) {
    /* No program takes the address of its task, so this one is no stand-in of the linker's. */
    Library library = {(uintptr_t)dlsym(RTLD_DEFAULT, "igmp_adapt_pkt_recv_task"), 0, NULL, 0, 0};
    if (library.inside == 0 || dl_iterate_phdr(take_if_library, &library) == 0) {
        /* What is preloaded is so in each program that a script starts: only a host is told. */
        if (dlsym(RTLD_DEFAULT, "igmpv3_snd") != NULL) {
            report_note("the library is not loaded: nothing is checked");
        }
        return false;
    }
    find_neighbours();
    if (!protect(&library, PROT_READ | PROT_WRITE)) {
        report_note("the library's table of functions can not be written: nothing is checked");
        return false;
    }
    exchange_in_tables(&library);
    protect(&library, PROT_READ);
    if (exchanged != 0) return true;
    report_note("the library calls none of its neighbours by its table: nothing is checked");
    return false;
}
