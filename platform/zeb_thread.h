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

/* Looks at all threads but the caller and the thread with this ID (as gettid returns it; 0: none). A thread sleeps when
 * it has slept from the beginning of the look to the end: so a thread that is woken meanwhile, or goes to sleep
 * meanwhile, runs. */
zeb_threads zeb_other_threads(pid_t but);

#endif
