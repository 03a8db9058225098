#include "bench.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

enum {
    TRIES = 5, /* the maximum number of attempts to measure without a disturbance by other processes */
};

/* The value below which `percent` percent of the values lie. */
template <int percent> double quantile(const std::vector<double> &values) {
    std::vector<double> sorted = values;
    std::sort(sorted.begin(), sorted.end());
    return sorted[(sorted.size() - 1) * percent / 100];
}

/* Processor time used so far, in seconds: by all processes together, and by this process. */
struct processor_time {
    double all;
    double own;
};

processor_time processor_now() {
    double user = 0;
    double nice = 0;
    double system = 0;
    FILE *stat = fopen("/proc/stat", "r");
    if (stat == nullptr || fscanf(stat, "cpu %lf %lf %lf", &user, &nice, &system) != 3) {
        user = nice = system = 0;
    }
    if (stat != nullptr) {
        fclose(stat);
    }
    const auto ticks = static_cast<double>(sysconf(_SC_CLK_TCK));
    rusage own = {};
    getrusage(RUSAGE_SELF, &own);
    const auto seconds = [](const timeval &t) {
        return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
    };
    return {(user + nice + system) / ticks, seconds(own.ru_utime) + seconds(own.ru_stime)};
}

/* Whether other processes used more processor time since `before` than a twentieth of `elapsed_s`. The kernel counts
 * the time of all processes in steps of 10 ms, so 10 ms more are allowed. An `elapsed_s` below 0.1 is too short for a
 * useful result. */
bool disturbed(const processor_time &before, double elapsed_s) {
    const processor_time now = processor_now();
    return (now.all - before.all) - (now.own - before.own) > elapsed_s / 20 + 0.01;
}

/* Prints each row of the table as soon as the measurements of the row are complete. */
struct table_reporter : benchmark::BenchmarkReporter {
    bool ReportContext(const Context &) override {
        return true;
    }

    void ReportRuns(const std::vector<Run> &runs) override {
        std::map<std::string, std::map<std::string, double>> counters; /* counters[statistic][name] */
        for (const Run &run : runs) {
            for (const auto &[counter, value] : run.counters) {
                counters[run.aggregate_name][counter] = value.value;
            }
        }
        auto &median = counters["median"];
        printf("| %s | ", runs[0].run_name.function_name.c_str());
        if (median.empty()) {
            const auto &[unit, value] = *counters[""].begin();
            printf("%.0f %s | %s | - |\n", value, unit.c_str(), runs[0].report_label.c_str());
        } else {
            printf("%.2f (%.2f to %.2f) | %s | %.0f ns |\n", median["ratio"], counters["low"]["ratio"],
                   counters["high"]["ratio"], runs[0].report_label.c_str(), median["ns"]);
            warn(counters["mean"]["disturbed"]);
        }
        fflush(stdout);
    }

    static void warn(double share) {
        if (share > 0.1) {
            fprintf(stderr, "bench: other processes ran during %.0f %% of this row's rounds\n", 100 * share);
        }
    }
};

} // namespace

void bench_compare(const std::string &what, const std::string &against, bench_sense sense, const std::string &reach,
                   bench_round ours, bench_round theirs, int rounds) {
    const auto repetition = [=, round = 0](benchmark::State &state) mutable {
        for ([[maybe_unused]] auto once : state) {
            const bool first = round++ % 2 == 0;
            double our_ns = 0;
            double their_ns = 0;
            bool again = true;
            for (int tries = 0; again && tries < TRIES; tries++) {
                const processor_time before = processor_now();
                const auto start = bench_clock::now();
                our_ns = first ? ours() : 0;
                their_ns = theirs();
                our_ns = first ? our_ns : ours();
                again = disturbed(before, bench_ns_since(start) * 1e-9);
            }
            state.counters["disturbed"] = again;
            state.SetIterationTime(our_ns * 1e-9);
            state.counters["ratio"] = sense == BENCH_TIME ? our_ns / their_ns : their_ns / our_ns;
            state.counters["ns"] = our_ns;
        }
        state.SetLabel(reach);
    };
    benchmark::RegisterBenchmark((what + " | " + against).c_str(), repetition)
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(rounds)
        ->ReportAggregatesOnly()
        ->ComputeStatistics("low", quantile<25>)
        ->ComputeStatistics("high", quantile<75>);
}

void bench_number(const std::string &what, const std::string &against, const std::string &unit,
                  const std::string &reach, bench_round measure) {
    const auto repetition = [=](benchmark::State &state) {
        for ([[maybe_unused]] auto once : state) {
            state.counters[unit] = measure();
        }
        state.SetLabel(reach);
    };
    benchmark::RegisterBenchmark((what + " | " + against).c_str(), repetition)->Iterations(1);
}

int bench_run(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    table_reporter reporter;
    return benchmark::RunSpecifiedBenchmarks(&reporter) > 0 ? 0 : 1;
}
