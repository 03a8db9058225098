/* Rows of the benchmark table. Each row is a Google Benchmark of many repetitions. A repetition is one round of the
 * measured code, and then one round of the code to compare with. So both meet the same changes of the machine's
 * speed. */
#ifndef BENCH_H
#define BENCH_H

#include <chrono>
#include <functional>
#include <string>

using bench_clock = std::chrono::steady_clock;

inline double bench_ns_since(bench_clock::time_point start) {
    return std::chrono::duration<double, std::nano>(bench_clock::now() - start).count();
}

/* One round; returns its result for one operation, normally nanoseconds. */
using bench_round = std::function<double()>;

enum bench_sense {
    BENCH_TIME, /* ratio: ours / theirs */
    BENCH_RATE, /* ratio: theirs / ours, since a round returns ns an operation and not a rate */
};

/* A row with the median of the rounds' ratios. The texts stand in the table; `reach` tells what the ratio should be. */
void bench_compare(const std::string &what, const std::string &against, bench_sense sense, const std::string &reach,
                   bench_round ours, bench_round theirs, int rounds = 41);

/* A row with a plain number, measured once. */
void bench_number(const std::string &what, const std::string &against, const std::string &unit,
                  const std::string &reach, bench_round measure);

/* Runs the rows and prints them as the lines of a Markdown table. Returns the exit status. */
int bench_run(int argc, char **argv);

#endif
