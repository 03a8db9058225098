#ifndef ZEB_THREAD_H
#define ZEB_THREAD_H

#include <functional>
#include <thread>

/* Starts a thread of the stand-in. It leaves the signals that are sent to the process to the program's own threads: all
 * are blocked but those of a fault of the thread itself (SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT). */
std::thread zeb_start_thread(std::function<void()> body);

/* Whether all other threads of the process sleep, so that whatever they had begun is done. Where the threads cannot be
 * looked at, they count as sleeping. */
bool zeb_other_threads_sleep();

#endif
