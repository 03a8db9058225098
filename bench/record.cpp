/* Measures how much time recording adds to a query, and to the delivery of an indication to the user's callback. The
 * platform of this program (platform.h) takes almost no time to answer. The recorder is switched on or off only when a
 * process starts, so each round runs in a new process. */
#include "bench.h"
#include "cpe_dm.h"
#include "platform.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <sched.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

enum {
    CALLS = 10000,
};

cpe_dm_hndl handle;
std::atomic<int> delivered;

double queries() {
    const auto start = bench_clock::now();
    for (int i = 0; i < CALLS; i++) {
        cpe_dm_info info = {CPE_DM_INFO_TYPE_REQUEST, CPE_DM_METRIC_LTE_RSRP, 0, {}, 0};
        cpe_dm_get_info(handle, &info);
    }
    return bench_ns_since(start) / static_cast<double>(CALLS);
}

double events() {
    const auto start = bench_clock::now();
    for (int i = 0; i < CALLS; i++) {
        zeb_nas_sig_info info = {};
        info.lte_sig_info_valid = 1;
        info.lte_sig.rsrp = i % 2 != 0 ? -93 : -94;
        bench_indicate(ZEB_NAS_SIG_INFO_IND, &info, sizeof(info));
    }
    while (delivered < CALLS) {
        sched_yield();
    }
    return bench_ns_since(start) / static_cast<double>(CALLS);
}

double measure(double (*round)()) {
    const cpe_dm_info rsrp = {CPE_DM_INFO_TYPE_IND, CPE_DM_IND_LTE_RSRP, CPE_DM_VALUE_INT64, {.i64_val = 1}, 0};
    const auto on_event = [](cpe_dm_hndl, cpe_dm_info *info, void *) {
        free(info);
        delivered++;
    };
    if (cpe_dm_init(&handle, nullptr, on_event) != CPE_DM_SUCCESS ||
        cpe_dm_set_ind_info(handle, &rsrp) != CPE_DM_SUCCESS) {
        return 0;
    }
    return round();
}

constexpr const char *ROUNDS[] = {"queries", "events"};

/* Runs one round and writes its result to the descriptor `result`. Called in the process that the function
 * `in_a_process` has started for this round. Returns the exit status of the process. */
int run_round(const std::string &round, int result) {
    const double ns = measure(round == ROUNDS[0] ? queries : events);
    return write(result, &ns, sizeof(ns)) == sizeof(ns) ? 0 : 1;
}

double in_a_process(const char *round, bool recorded) {
    std::string name = "/tmp/bench_record_XXXXXX";
    int ends[2];
    double ns = 0;
    const int file = mkstemp(name.data());
    if (file < 0 || pipe(ends) != 0) {
        return 0;
    }
    const pid_t child = fork();
    if (child == 0) {
        setenv("ZEB_RECORD", recorded ? name.c_str() : "", 1);
        execl("/proc/self/exe", "bench_record", round, std::to_string(ends[1]).c_str(), nullptr);
        _exit(1);
    }
    close(ends[1]);
    if (read(ends[0], &ns, sizeof(ns)) != sizeof(ns) || ns == 0 ||
        recorded != (lseek(file, 0, SEEK_END) > CALLS * 100)) {
        fprintf(stderr, "bench: a round of the recorder has failed\n");
        exit(1);
    }
    close(ends[0]);
    close(file);
    waitpid(child, nullptr, 0);
    unlink(name.c_str());
    return ns;
}

} // namespace

int main(int argc, char **argv) {
    if (argc == 3 && (argv[1] == std::string(ROUNDS[0]) || argv[1] == std::string(ROUNDS[1]))) {
        return run_round(argv[1], atoi(argv[2]));
    }
    const char *const rows[][2] = {{"`cpe_dm_get_info`, signal, 2 requests, recorded", ROUNDS[0]},
                                   {"signal indication to user's callback, recorded", ROUNDS[1]}};
    for (const auto &[what, round] : rows) {
        bench_compare(
            what, "not recorded", BENCH_TIME, "-", [round] { return in_a_process(round, true); },
            [round] { return in_a_process(round, false); }, 21);
    }
    return bench_run(argc, argv);
}
