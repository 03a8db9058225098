#ifndef ZEB_THREAD_H
#define ZEB_THREAD_H

#include <cstdint>
#include <functional>
#include <sys/types.h>
#include <thread>

/* Starts a thread of the stand-in. The thread blocks all signals but those of a fault of its own (SIGSEGV, SIGBUS,
 * SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT). So signals that are sent to the process go to the program's own
 * threads. */
std::thread zeb_start_thread(std::function<void()> body);

/* What the other threads of the process do. */
enum class zeb_threads : uint8_t {
    RUN,           /* at least one thread runs, or would if it had a processor */
    WAIT_FOR_LOCK, /* all threads sleep, and at least one of them waits for a mutex */
    SLEEP,         /* all threads sleep, and none of them waits for a mutex; also where nothing can be read */
};

/* Looks at all threads but the caller and the thread with this ID (as gettid returns it; 0: none). Threads are looked
 * at one after the other: a thread that is about to sleep can wake a thread that was looked at before. */
zeb_threads zeb_other_threads(pid_t but);

/* Whether the program is at rest: two looks in a row have found SLEEP. */
bool zeb_other_threads_rest(pid_t but);

/* Waits until the program is at rest. Returns false when it is not at rest after limit_us, or earlier when a thread
 * stays in a wait for a mutex, which the caller may hold. */
bool zeb_wait_for_rest(pid_t but, double limit_us);

#endif
