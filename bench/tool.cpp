/* Measures the command-line tool with the virtual modem: the time until the tool has answered and ended, and the
 * processor time that the tool's command `watch` uses. */
#include "bench.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

enum {
    STARTS = 41,
};

/* Runs the tool with the arguments `words` and with standard output on the null device. Returns the processor time that
 * the tool used, in seconds. */
template <typename... Words> double run(Words... words) {
    const char *const args[] = {CPE_DM_TOOL_PROGRAM, words..., nullptr};
    const pid_t child = fork();
    if (child == 0) {
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        execv(args[0], const_cast<char *const *>(args));
        _exit(127);
    }
    int status = 0;
    rusage used = {};
    if (wait4(child, &status, 0, &used) != child || status != 0) {
        fprintf(stderr, "bench: %s %s does not end well\n", args[0], args[1]);
        exit(1);
    }
    const auto seconds = [](const timeval &t) {
        return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
    };
    return seconds(used.ru_utime) + seconds(used.ru_stime);
}

/* The time that the tool takes to get one metric, from its start to its end, in microseconds: the median of STARTS
 * runs. */
double first_answer() {
    double times[STARTS];
    for (double &time : times) {
        const auto start = bench_clock::now();
        run("get", "lte.rsrp");
        time = bench_ns_since(start) / 1000;
    }
    std::nth_element(times, times + STARTS / 2, times + STARTS);
    return times[STARTS / 2];
}

/* The processor time that the tool's command `watch` uses, in millionths of the elapsed time (one processor core in
 * full use is 1000000). The start and the end of the tool are included. */
double watching(const char *interval, const char *rows) {
    const auto start = bench_clock::now();
    return run("watch", "-i", interval, "-n", rows) / (bench_ns_since(start) * 1e-9) * 1e6;
}

} // namespace

int main(int argc, char **argv) {
    bench_number("`cpe_dm get lte.rsrp`, start to end", "-", "us", "at most 20000", first_answer);
    bench_number("`cpe_dm watch`, a row a second", "-", "millionths of a core", "at most 1000",
                 [] { return watching("1", "31"); });
    bench_number("`cpe_dm watch`, a row in 15 s", "-", "millionths of a core", "at most 500",
                 [] { return watching("15", "3"); });
    return bench_run(argc, argv);
}
