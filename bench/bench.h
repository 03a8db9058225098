/* Rows of the benchmark table. A row either compares two pieces of code, or shows a single number. A comparison
 * consists of many repetitions. Each repetition runs two rounds in direct succession: a round of the module's code, and
 * a round of the code with which it is compared. So a change of the machine's speed affects both rounds alike. */
#ifndef BENCH_H
#define BENCH_H

#include <chrono>
#include <functional>
#include <string>

using bench_clock = std::chrono::steady_clock;

inline double bench_ns_since(bench_clock::time_point start) {
    return std::chrono::duration<double, std::nano>(bench_clock::now() - start).count();
}

/* Runs one round, which is usually many operations. For bench_compare, returns the nanoseconds that one operation took.
 * For bench_number, returns the number to show. */
using bench_round = std::function<double()>;

enum bench_sense {
    BENCH_TIME, /* the ratio is our time / their time */
    BENCH_RATE, /* the ratio is our rate / their rate; it is calculated from the times as their time / our time */
};

/* Adds a row that compares `ours` with `theirs`. The comparison is repeated `rounds` times, and each repetition gives a
 * ratio, as `sense` defines it. The row shows the median and the quartiles of these ratios. The texts `what`, `against`
 * and `reach` are printed in the row; `reach` says which ratio is wanted. */
void bench_compare(const std::string &what, const std::string &against, bench_sense sense, const std::string &reach,
                   bench_round ours, bench_round theirs, int rounds = 41);

/* Adds a row that shows a single number, in the unit `unit`. `measure` runs once and returns this number. */
void bench_number(const std::string &what, const std::string &against, const std::string &unit,
                  const std::string &reach, bench_round measure);

/* Measures the rows that were added, and prints each as a line of a Markdown table. Returns the program's exit
 * status. */
int bench_run(int argc, char **argv);

#endif
