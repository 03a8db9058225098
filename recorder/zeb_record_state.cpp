#include "zeb_record_state.h"

#include "zeb_record_settings.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

std::atomic<int> zeb_record_phase{ZEB_RECORD_NOT_STARTED};

static uint64_t start_us;

uint64_t zeb_record_clock(clockid_t clock) {
    timespec now = {};
    clock_gettime(clock, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000 + static_cast<uint64_t>(now.tv_nsec) / 1000;
}

timespec zeb_record_timespec(uint64_t us) {
    return {static_cast<time_t>(us / 1000000), static_cast<long>(us % 1000000 * 1000)};
}

void zeb_record_time_start() {
    start_us = zeb_record_clock(CLOCK_MONOTONIC);
}

uint64_t zeb_record_time() {
    return std::max(zeb_record_clock(CLOCK_MONOTONIC), start_us) - start_us;
}

/* Writes a line to standard error. A failed write can raise SIGPIPE (nobody reads the pipe) or SIGXFSZ (the file has
 * reached its limit). Both signals are blocked during the write. If the write made one of these signals pending,
 * sigtimedwait removes the pending signal, so that the program does not get the signal. */
static void say_line(const char *line, size_t len) {
    sigset_t raised;
    sigset_t pending;
    sigset_t previous;
    sigemptyset(&raised);
    sigaddset(&raised, SIGPIPE);
    sigaddset(&raised, SIGXFSZ);
    if (pthread_sigmask(SIG_BLOCK, &raised, &previous) != 0) {
        return;
    }
    sigpending(&pending);
    if (write(STDERR_FILENO, line, len) < 0) {
        for (int signal : {SIGPIPE, SIGXFSZ}) {
            sigset_t one;
            const timespec now = {};
            sigemptyset(&one);
            sigaddset(&one, signal);
            if (sigismember(&pending, signal) == 0) {
                sigtimedwait(&one, nullptr, &now);
            }
        }
    }
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

void zeb_record_say(const char *subject, const char *reason, int error) {
    char line[512];
    const char *text = error != 0 ? strerror(error) : ""; // NOLINT(concurrency-mt-unsafe): texts are constants
    const int len = snprintf(line, sizeof(line), "zeb_record: %.300s: %.120s%s%.60s\n", subject, reason,
                             error != 0 ? ": " : "", text);
    pollfd standard_error = {STDERR_FILENO, POLLOUT, 0};
    if (len > 0 && poll(&standard_error, 1, 0) == 1 && standard_error.revents == POLLOUT) {
        say_line(line, std::min(static_cast<size_t>(len), sizeof(line) - 1));
    }
}

void zeb_record_fail(const char *reason, int error) {
    if (zeb_record_phase.exchange(ZEB_RECORD_OFF) != ZEB_RECORD_OFF) {
        zeb_record_say(zeb_record_settings_get()->path, reason, error);
    }
}

bool zeb_record_check(const char *primitive, int error) {
    if (error != 0) {
        zeb_record_fail(primitive, error);
    }
    return error == 0;
}
