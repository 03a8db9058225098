/* Measures how long an indication waits for its delivery while threads call operations without a pause, and how many
 * deliveries an operation waits for while indications come without a pause. */
#include "bench.h"
#include "cpe_dm.h"
#include "platform.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace {

enum {
    RUNS = 5,
    STORM = 100000, /* indications in one run of deliveries_before_an_operation */
};

constexpr auto RUN_TIME = std::chrono::milliseconds(1500);
constexpr auto BETWEEN_INDICATIONS = std::chrono::microseconds(7300);

cpe_dm_hndl handle;
std::atomic<int> delivered;
std::chrono::milliseconds answer_time;

void on_event(cpe_dm_hndl, cpe_dm_info *info, void *) {
    delivered++;
    free(info);
}

void answer_slowly(uint32_t, uint32_t) {
    std::this_thread::sleep_for(answer_time);
}

/* Calls one operation of the module, which sends two requests to the platform. */
void ask() {
    cpe_dm_info info = {CPE_DM_INFO_TYPE_REQUEST, CPE_DM_METRIC_LTE_RSRP, 0, {}, 0};
    cpe_dm_get_info(handle, &info);
}

/* Sends the module an indication whose LTE RSRP differs from that of the indication before. */
void indicate() {
    static bool odd;
    odd = !odd;
    zeb_nas_sig_info info = {};
    info.lte_sig_info_valid = 1;
    info.lte_sig.rsrp = odd ? -93 : -94;
    bench_indicate(ZEB_NAS_SIG_INFO_IND, &info, sizeof(info));
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/* Sends indications during RUN_TIME while `threads` threads call operations without a pause. Returns the longest time
 * that an indication waited for its delivery, in microseconds. */
double longest_wait(int threads) {
    std::atomic<bool> over{false};
    std::vector<std::thread> asking;
    for (int i = 0; i < threads; i++) {
        asking.emplace_back([&over] {
            while (!over) {
                ask();
            }
        });
    }
    double longest = 0;
    const auto end = bench_clock::now() + RUN_TIME;
    while (bench_clock::now() < end) {
        const int before = delivered;
        const auto start = bench_clock::now();
        indicate();
        while (delivered == before) {
            std::this_thread::sleep_for(std::chrono::microseconds(20));
        }
        longest = std::max(longest, bench_ns_since(start) / 1000);
        std::this_thread::sleep_for(BETWEEN_INDICATIONS);
    }
    over = true;
    for (std::thread &thread : asking) {
        thread.join();
    }
    return longest;
}

double median_of_longest_waits(int threads, std::chrono::milliseconds answers) {
    answer_time = answers;
    bench_on_request = answers.count() != 0 ? answer_slowly : nullptr;
    std::vector<double> longest;
    for (int run = 0; run < RUNS; run++) {
        longest.push_back(longest_wait(threads));
    }
    bench_on_request = nullptr;
    return median(longest);
}

/* Returns the highest number of deliveries between the call of an operation and the first request of the operation,
 * while indications come without a pause. */
double deliveries_before_an_operation() {
    static int at_request;
    std::vector<double> waited;
    for (int run = 0; run < RUNS; run++) {
        const int first = delivered;
        std::thread framework([] {
            for (int i = 0; i < STORM; i++) {
                indicate();
            }
        });
        bench_on_request = [](uint32_t, uint32_t) { at_request = delivered; };
        while (delivered - first < STORM / 2) {
            const int before = delivered;
            ask();
            waited.push_back(at_request - before);
        }
        bench_on_request = nullptr;
        framework.join();
        while (delivered - first < STORM) {
            std::this_thread::yield();
        }
    }
    return *std::max_element(waited.begin(), waited.end());
}

} // namespace

int main(int argc, char **argv) {
    const cpe_dm_info rsrp = {CPE_DM_INFO_TYPE_IND, CPE_DM_IND_LTE_RSRP, CPE_DM_VALUE_INT64, {.i64_val = 1}, 0};
    if (cpe_dm_init(&handle, nullptr, on_event) != CPE_DM_SUCCESS ||
        cpe_dm_set_ind_info(handle, &rsrp) != CPE_DM_SUCCESS) {
        fprintf(stderr, "bench: the module does not come up\n");
        return 1;
    }
    for (const int threads : {1, 3, 8}) {
        for (const int milliseconds : {0, 1, 5, 20}) {
            const std::string asking = std::to_string(threads) + (threads == 1 ? " thread asks" : " threads ask");
            const int operation_us = 2 * 1000 * milliseconds;
            bench_number("longest wait of an indication while " + asking + " without a pause, answers of " +
                             std::to_string(milliseconds) + " ms",
                         "an operation, " + std::to_string(operation_us) + " us, and 50 ms", "us",
                         "at most " + std::to_string(operation_us + 50000),
                         [=] { return median_of_longest_waits(threads, std::chrono::milliseconds(milliseconds)); });
        }
    }
    bench_number("longest wait of an operation in a storm of indications", "16 deliveries, and the one that runs",
                 "deliveries", "at most 17", deliveries_before_an_operation);
    return bench_run(argc, argv);
}
