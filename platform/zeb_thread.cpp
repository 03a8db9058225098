#include "zeb_thread.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

std::thread zeb_start_thread(std::function<void()> body) {
    sigset_t blocked;
    sigset_t before;
    sigfillset(&blocked);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) {
        sigdelset(&blocked, fault);
    }
    pthread_sigmask(SIG_SETMASK, &blocked, &before);
    std::thread thread;
    try {
        thread = std::thread(std::move(body));
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

/* Reads a file of a thread of this process; "" when it cannot be read. */
static const char *thread_file(char (&text)[512], long thread, const char *file) {
    char name[64];
    text[0] = '\0';
    snprintf(name, sizeof(name), "/proc/self/task/%ld/%s", thread, file);
    FILE *stream = fopen(name, "re");
    if (stream != nullptr) {
        text[fread(text, 1, sizeof(text) - 1, stream)] = '\0';
        fclose(stream);
    }
    return text;
}

static zeb_threads thread_state(long thread) {
    char text[512];
    const char *state = strrchr(thread_file(text, thread, "stat"), ')');
    if (state != nullptr && (strncmp(state, ") R", 3) == 0 || strncmp(state, ") D", 3) == 0)) {
        return zeb_threads::RUN;
    }
    // The system call in which the thread sleeps, and its arguments. The number of the call is that of the machine,
    // which an emulator hides, so the call is known by its arguments: a futex, the operation, and a mutex that has
    // waiters.
    constexpr unsigned long PRIVATE_WAIT = 0x80;
    constexpr unsigned long HAS_WAITERS = 2;
    unsigned long futex = 0;
    unsigned long operation = 0;
    unsigned long value = 0;
    const bool known = sscanf(thread_file(text, thread, "syscall"), "%*d %lx %lx %lx", &futex, &operation, &value) == 3;
    return known && futex != 0 && operation == PRIVATE_WAIT && value == HAS_WAITERS ? zeb_threads::WAIT_FOR_LOCK
                                                                                    : zeb_threads::SLEEP;
}

zeb_threads zeb_other_threads(pid_t but) {
    zeb_threads state = zeb_threads::SLEEP;
    DIR *tasks = opendir("/proc/self/task");
    if (tasks == nullptr) {
        return state;
    }
    const long self = syscall(SYS_gettid);
    while (const dirent *task = readdir(tasks)) { // NOLINT(concurrency-mt-unsafe): no other thread reads this stream
        const long id = strtol(task->d_name, nullptr, 10);
        if (id != 0 && id != self && id != but) {
            state = std::min(state, thread_state(id));
        }
    }
    closedir(tasks);
    return state;
}

bool zeb_other_threads_rest(pid_t but) {
    return zeb_other_threads(but) == zeb_threads::SLEEP && zeb_other_threads(but) == zeb_threads::SLEEP;
}

bool zeb_wait_for_rest(pid_t but, double limit_us) {
    using namespace std::chrono;
    constexpr int WAITS_FOR_LOCK = 3; // fewer in a row may be a wait that ends soon
    const auto limit = steady_clock::now() + duration<double, std::micro>(limit_us);
    for (int waits = 0; waits < WAITS_FOR_LOCK && steady_clock::now() < limit;) {
        if (zeb_other_threads_rest(but)) {
            return true;
        }
        waits = zeb_other_threads(but) == zeb_threads::WAIT_FOR_LOCK ? waits + 1 : 0;
        std::this_thread::sleep_for(microseconds(100));
    }
    return false;
}
