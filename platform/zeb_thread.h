#ifndef ZEB_THREAD_H
#define ZEB_THREAD_H

#include <cstdint>
#include <functional>
#include <sys/types.h>
#include <thread>

/* Starts a thread of the stand-in. The thread blocks all signals except SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP,
 * SIGSYS and SIGABRT, which a fault of the thread itself raises. So signals that are sent to the process go to the
 * program's own threads. */
std::thread zeb_start_thread(std::function<void()> body);

/* What the other threads of the process do: the result of zeb_other_threads. */
enum class zeb_threads : uint8_t {
    RUN,           /* at least one thread runs, or waits for a processor or a disk */
    WAIT_FOR_LOCK, /* all threads sleep, and at least one of them waits for a mutex */
    SLEEP,         /* all threads sleep, and none of them waits for a mutex; or /proc cannot be read */
};

/* Tells what all threads of this process do, except the caller and the thread with the ID `but` (as gettid returns it;
 * 0 excludes no further thread). A thread counts as asleep only if it sleeps during the whole call. A thread that wakes
 * up or falls asleep during the call counts as running. */
zeb_threads zeb_other_threads(pid_t but);

#endif
