/* Measures by how many bytes the module's heap use grows during many events and during many initialisations, and how
 * many allocations one event makes. mallinfo2 gives the bytes in use. Its count is exact only when the C library caches
 * no freed chunks per thread: run with GLIBC_TUNABLES=glibc.malloc.tcache_count=0. */
#include "bench.h"
#include "cpe_dm.h"
#include "platform.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <thread>

extern "C" {
void *__real_calloc(size_t count, size_t size);
}

namespace {

enum {
    FIRST = 100,
    EVENTS = 1000000,
    INITS = 10000,
};

std::atomic<int> allocations;
std::atomic<int> delivered;
cpe_dm_hndl handle;

void on_event(cpe_dm_hndl, cpe_dm_info *info, void *) {
    free(info);
    delivered++;
}

void init() {
    const cpe_dm_info rsrp = {CPE_DM_INFO_TYPE_IND, CPE_DM_IND_LTE_RSRP, CPE_DM_VALUE_INT64, {.i64_val = 1}, 0};
    if (cpe_dm_init(&handle, nullptr, on_event) != CPE_DM_SUCCESS ||
        cpe_dm_set_ind_info(handle, &rsrp) != CPE_DM_SUCCESS) {
        fprintf(stderr, "bench: the module does not come up\n");
        exit(1);
    }
}

/* Sends `count` indications to the module. After every 50, waits until all of them were delivered, so that the queue
 * stays short. */
void play_events(int count) {
    for (int i = 1; i <= count; i++) {
        zeb_nas_sig_info info = {};
        info.lte_sig_info_valid = 1;
        info.lte_sig.rsrp = i % 2 != 0 ? -93 : -94;
        bench_indicate(ZEB_NAS_SIG_INFO_IND, &info, sizeof(info));
        while ((i % 50 == 0 || i == count) && delivered != i) {
            std::this_thread::yield();
        }
    }
    delivered = 0;
}

double in_use() {
    return static_cast<double>(mallinfo2().uordblks);
}

double growth_of_events() {
    init();
    play_events(FIRST);
    cpe_dm_deinit(handle);
    const double before = in_use();
    init();
    play_events(EVENTS);
    cpe_dm_deinit(handle);
    return in_use() - before;
}

double growth_of_inits() {
    for (int i = 0; i < FIRST; i++) {
        init();
        cpe_dm_deinit(handle);
    }
    const double before = in_use();
    for (int i = FIRST; i < INITS; i++) {
        init();
        cpe_dm_deinit(handle);
    }
    return in_use() - before;
}

double allocations_of_event() {
    init();
    play_events(FIRST);
    allocations = 0;
    play_events(FIRST);
    const double each = allocations / static_cast<double>(FIRST);
    cpe_dm_deinit(handle);
    return each;
}

} // namespace

extern "C" void *__wrap_calloc(size_t count, size_t size) {
    allocations++;
    return __real_calloc(count, size);
}

int main(int argc, char **argv) {
    bench_number("heap in use after " + std::to_string(EVENTS) + " events", "after the first " + std::to_string(FIRST),
                 "bytes more", "0", growth_of_events);
    bench_number("heap in use after " + std::to_string(INITS) + " initialisations",
                 "after the first " + std::to_string(FIRST), "bytes more", "0", growth_of_inits);
    bench_number("allocations of a signal indication", "message, command, its data, node and record", "allocations",
                 "5", allocations_of_event);
    return bench_run(argc, argv);
}
