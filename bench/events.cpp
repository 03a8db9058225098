/* Measures how long a burst of signal indications takes, from the framework's first call of the module to the module's
 * last call of the user's callback. The time is compared with the sum of two separate measurements. The first is a
 * burst of commands through the queue. The second is the decoding, and the allocation and release of the records. */
#include "bench.h"
#include "cpe_dm.h"
#include "cpe_dm_cmdq.h"
#include "platform.h"

#include <cstdio>
#include <cstdlib>
#include <semaphore>
#include <thread>

namespace {

enum {
    BURST = 200000,
};

int delivered;
std::binary_semaphore all_delivered{0};

void on_event(cpe_dm_hndl, cpe_dm_info *info, void *) {
    free(info);
    if (++delivered == BURST) {
        all_delivered.release();
    }
}

/* The indication with number `i`. Its LTE RSRP differs from that of the indication before. */
zeb_nas_sig_info indication(int i) {
    zeb_nas_sig_info info = {};
    info.lte_sig_info_valid = 1;
    info.lte_sig.rsrp = i % 2 != 0 ? -93 : -94;
    return info;
}

/* Runs `play`, which sends BURST indications or commands, on a new thread in place of the framework's thread. Waits
 * until the last indication or command was delivered. Returns the nanoseconds per delivery. */
template <typename F> double burst(F play) {
    delivered = 0;
    const auto start = bench_clock::now();
    std::thread framework(play);
    all_delivered.acquire();
    const double ns = bench_ns_since(start) / static_cast<double>(BURST);
    framework.join();
    return ns;
}

double events() {
    return burst([] {
        for (int i = 0; i < BURST; i++) {
            const zeb_nas_sig_info info = indication(i);
            bench_indicate(ZEB_NAS_SIG_INFO_IND, &info, sizeof(info));
        }
    });
}

cpe_dm_cmdq queue;

/* Measures a burst through the queue alone. Each command is allocated on the heap, as in bench_queue. */
double queue_alone() {
    cpe_dm_cmdq_init(&queue, INT32_MAX);
    const double ns = burst([] {
        for (int i = 0; i < BURST; i++) {
            auto *cmd = static_cast<cpe_dm_cmd *>(calloc(1, sizeof(cpe_dm_cmd)));
            *cmd = {[](cpe_dm_cmd *, void *) {
                        if (++delivered == BURST) {
                            all_delivered.release();
                        }
                    },
                    [](cpe_dm_cmd *done, void *) { free(done); }, nullptr};
            cpe_dm_cmdq_enq(&queue, cmd);
        }
    });
    cpe_dm_cmdq_deinit(&queue);
    return ns;
}

/* Measures decoding, and the allocation and release of the message, the command's data and the user's record. The
 * allocations of the command and of the list node are part of queue_alone. */
double decode_and_allocate() {
    const auto start = bench_clock::now();
    for (int i = 0; i < BURST; i++) {
        const zeb_nas_sig_info info = indication(i);
        void *message = calloc(1, sizeof(zeb_nas_sig_info));
        zeb_client_message_decode(nullptr, ZEB_MESSAGE_INDICATION, ZEB_NAS_SIG_INFO_IND, &info, sizeof(info), message,
                                  sizeof(info));
        void *records[] = {message, calloc(1, 2 * sizeof(void *)), calloc(1, sizeof(cpe_dm_info))};
        for (void *&record : records) {
            // Keeps the compiler from removing an allocation whose memory is never read.
            __asm__ volatile("" : "+r"(record) : : "memory");
            free(record);
        }
    }
    return bench_ns_since(start) / static_cast<double>(BURST);
}

} // namespace

int main(int argc, char **argv) {
    cpe_dm_hndl handle = nullptr;
    const cpe_dm_info rsrp = {CPE_DM_INFO_TYPE_IND, CPE_DM_IND_LTE_RSRP, CPE_DM_VALUE_INT64, {.i64_val = 1}, 0};
    if (cpe_dm_init(&handle, nullptr, on_event) != CPE_DM_SUCCESS ||
        cpe_dm_set_ind_info(handle, &rsrp) != CPE_DM_SUCCESS) {
        fprintf(stderr, "bench: the module does not come up\n");
        return 1;
    }
    bench_compare(
        "signal indication to user's callback, burst of " + std::to_string(BURST),
        "the queue, decoding and allocations, each alone", BENCH_TIME, "at most 1.3", events,
        [] { return queue_alone() + decode_and_allocate(); }, 21);
    return bench_run(argc, argv);
}
