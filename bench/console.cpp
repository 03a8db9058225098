/* Measures how fast the client's console processes lines from a pipe. The comparison is a program that reads the same
 * lines with fgets and prints texts of nearly the same length. */
#include "bench.h"
#include "cpe_dm_client.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

enum {
    LINES = 20000,
};

/* A line without a number. The client reads the line, prints that the line is invalid and prints its menu. It does not
 * call the module. */
const char option_line[] = "# signal values of both technologies, then the cell locks\n";

/* Runs `reader` with a pipe as standard input and the null device as standard output. The pipe carries LINES copies of
 * option_line. Returns the nanoseconds per line. */
double play(void (*reader)()) {
    std::string text;
    for (int i = 0; i < LINES; i++) {
        text += option_line;
    }
    int ends[2];
    if (pipe(ends) != 0 || dup2(ends[0], STDIN_FILENO) < 0) {
        exit(1);
    }
    close(ends[0]);
    fflush(stdout);
    const int console = dup(STDOUT_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
    std::thread feed([&text, end = ends[1]] {
        for (size_t done = 0; done < text.size();) {
            const ssize_t len = write(end, text.data() + done, text.size() - done);
            if (len <= 0) {
                exit(1);
            }
            done += static_cast<size_t>(len);
        }
        close(end);
    });
    const auto start = bench_clock::now();
    reader();
    const double ns = bench_ns_since(start) / static_cast<double>(LINES);
    feed.join();
    dup2(console, STDOUT_FILENO);
    close(console);
    return ns;
}

void client() {
    cpe_dm_client_run("no such file");
}

/* The program to compare with. For each line it makes the same number of writes as the client, with nearly the same
 * number of characters in each write. */
void plain() {
    setvbuf(stdout, nullptr, _IONBF, 0);
    clearerr(stdin);
    char line[300];
    while (fgets(line, sizeof(line), stdin) != nullptr) {
        printf("%-78s", "CPE DEMO APP");
        printf("\n\n%s\n\n", "Please select an option to test from the items listed below.");
        for (int i = 1; i <= 10; i++) {
            printf("%02d. %-49s\n", i, "CPE DM");
        }
        printf("Option > ");
    }
}

} // namespace

int main(int argc, char **argv) {
    bench_compare(
        "console, lines from a pipe", "`fgets` and the same printing", BENCH_RATE, "at least 1",
        [] { return play(client); }, [] { return play(plain); }, 21);
    return bench_run(argc, argv);
}
