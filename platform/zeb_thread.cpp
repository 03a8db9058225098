#include "zeb_thread.h"

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

bool zeb_other_threads_sleep() {
    DIR *tasks = opendir("/proc/self/task");
    if (tasks == nullptr) {
        return true;
    }
    const long self = syscall(SYS_gettid);
    bool rest = true;
    while (const dirent *task = readdir(tasks)) { // NOLINT(concurrency-mt-unsafe): no other thread reads this stream
        const long id = strtol(task->d_name, nullptr, 10);
        char text[512];
        char name[64];
        snprintf(name, sizeof(name), "/proc/self/task/%ld/stat", id);
        FILE *stat = id == 0 || id == self ? nullptr : fopen(name, "re");
        if (stat != nullptr) {
            text[fread(text, 1, sizeof(text) - 1, stat)] = '\0';
            fclose(stat);
            const char *state = strrchr(text, ')');
            rest = rest && (state == nullptr || (strncmp(state, ") R", 3) != 0 && strncmp(state, ") D", 3) != 0));
        }
    }
    closedir(tasks);
    return rest;
}
