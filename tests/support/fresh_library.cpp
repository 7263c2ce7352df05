#include "tests/support/fresh_library.h"

#include <link.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "adapt/adapt.h"
#include "tests/support/ipc.h"

namespace mc_test {

namespace {

struct Extent {
    std::uintptr_t begin;
    std::uintptr_t end;
};

struct Saved {
    std::uintptr_t begin;
    std::vector<std::uint8_t> bytes;
};

// A byte at a time and volatile, so that it neither becomes a call of memcpy nor is checked: under
// a sanitizer the red zones between the variables are copied along.
__attribute__((no_sanitize("address", "undefined"))) void copy_unchecked(std::uint8_t* to,
                                                                         const std::uint8_t* from,
                                                                         std::size_t size) {
    auto* target = static_cast<volatile std::uint8_t*>(to);
    const auto* source = static_cast<const volatile std::uint8_t*>(from);
    for (std::size_t i = 0; i < size; ++i) target[i] = source[i];
}

class Snapshot {
 public:
    Snapshot() {
        dl_iterate_phdr(visit, this);
        if (saved_.empty()) {
            std::fputs("libmc_hal.so is not loaded\n", stderr);
            std::abort();
        }
    }

    void restore() const {
        for (const Saved& part : saved_) {
            copy_unchecked(reinterpret_cast<std::uint8_t*>(part.begin), part.bytes.data(),
                           part.bytes.size());
        }
    }

 private:
    static int visit(dl_phdr_info* object, std::size_t /*size*/, void* self) {
        if (std::string_view(object->dlpi_name).find("libmc_hal.so") == std::string_view::npos) {
            return 0;
        }
        // The loader makes whole pages read-only again after relocation.
        Extent read_only = {0, 0};
        const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
        for (int i = 0; i < object->dlpi_phnum; ++i) {
            const auto& header = object->dlpi_phdr[i];
            if (header.p_type != PT_GNU_RELRO) continue;
            const std::uintptr_t begin = object->dlpi_addr + header.p_vaddr;
            read_only = {begin & ~(page - 1), (begin + header.p_memsz) & ~(page - 1)};
        }
        for (int i = 0; i < object->dlpi_phnum; ++i) {
            const auto& header = object->dlpi_phdr[i];
            if (header.p_type != PT_LOAD || (header.p_flags & PF_W) == 0) continue;
            const std::uintptr_t begin = object->dlpi_addr + header.p_vaddr;
            static_cast<Snapshot*>(self)->save_around({begin, begin + header.p_memsz}, read_only);
        }
        return 1;
    }

    void save_around(Extent extent, Extent hole) {
        if (hole.begin >= hole.end || hole.end <= extent.begin || hole.begin >= extent.end) {
            save(extent);
            return;
        }
        if (extent.begin < hole.begin) save({extent.begin, hole.begin});
        if (hole.end < extent.end) save({hole.end, extent.end});
    }

    void save(Extent extent) {
        Saved& part = saved_.emplace_back();
        part.begin = extent.begin;
        part.bytes.resize(extent.end - extent.begin);
        copy_unchecked(part.bytes.data(), reinterpret_cast<const std::uint8_t*>(extent.begin),
                       part.bytes.size());
    }

    std::vector<Saved> saved_;
};

// Taken before main: the library was loaded before any initialiser of the executable ran.
const Snapshot at_start;

void detach_segment() {
    // All-ones is what shmat left where it was refused.
    if (mc_status_global == nullptr ||
        reinterpret_cast<std::uintptr_t>(mc_status_global) == ~std::uintptr_t{0}) {
        return;
    }
    shmdt(mc_status_global);  // fails, as it may, when a test put memory of its own there
    mc_status_global = nullptr;
}

}  // namespace

void restore_library() { at_start.restore(); }

void begin_anew() {
    detach_segment();
    remove_ipc();
    restore_library();
    reset_neighbours();
}

LibraryTest::LibraryTest() { begin_anew(); }

LibraryTest::~LibraryTest() {
    detach_segment();
    remove_ipc();
    reset_neighbours();
}

StartedTest::StartedTest() {
    EXPECT_EQ(adapt_init(), 0);
    forget_calls();
}

}  // namespace mc_test
