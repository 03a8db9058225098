#include "zeb_thread.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>
#include <vector>

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

/* Reads a file in the /proc directory of a thread of this process, at most 511 bytes. Returns `text`, which is empty
 * when the file cannot be read. */
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
    // The file "syscall" holds the number of the system call in which the thread sleeps, and its arguments. Numbers of
    // system calls differ between processors, and under an emulator the number is that of the host. So a wait for a
    // mutex is recognised by the arguments: the address of a futex, the futex operation, and the value that a mutex
    // with waiters has.
    constexpr unsigned long PRIVATE_WAIT = 0x80;
    constexpr unsigned long HAS_WAITERS = 2;
    unsigned long futex = 0;
    unsigned long operation = 0;
    unsigned long value = 0;
    const bool known = sscanf(thread_file(text, thread, "syscall"), "%*d %lx %lx %lx", &futex, &operation, &value) == 3;
    return known && futex != 0 && operation == PRIVATE_WAIT && value == HAS_WAITERS ? zeb_threads::WAIT_FOR_LOCK
                                                                                    : zeb_threads::SLEEP;
}

/* Returns the processor time that a thread has used, in nanoseconds, or 0 when the thread does not exist. The ID of the
 * clock is computed from the thread's ID, in the way that the kernel defines. */
static int64_t processor_time(long thread) {
    constexpr uint32_t THREAD_TIME = 6;
    timespec used = {};
    clock_gettime(static_cast<clockid_t>(~static_cast<uint32_t>(thread) << 3 | THREAD_TIME), &used);
    return used.tv_sec * INT64_C(1000000000) + used.tv_nsec;
}

zeb_threads zeb_other_threads(pid_t but) {
    struct thread {
        long id;
        int64_t used;
    };
    DIR *tasks = opendir("/proc/self/task");
    if (tasks == nullptr) {
        return zeb_threads::SLEEP;
    }
    const long self = syscall(SYS_gettid);
    std::vector<thread> others;
    while (const dirent *task = readdir(tasks)) { // NOLINT(concurrency-mt-unsafe): no other thread reads this stream
        const long id = strtol(task->d_name, nullptr, 10);
        if (id != 0 && id != self && id != but) {
            others.push_back({id, processor_time(id)});
        }
    }
    closedir(tasks);
    zeb_threads state = zeb_threads::SLEEP;
    for (const thread &t : others) {
        state = std::min(state, thread_state(t.id));
    }
    const bool ran =
        std::any_of(others.begin(), others.end(), [](const thread &t) { return processor_time(t.id) != t.used; });
    return ran ? zeb_threads::RUN : state;
}
