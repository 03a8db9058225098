#ifndef ZEB_THREAD_H
#define ZEB_THREAD_H

#include <functional>
#include <thread>

/* Starts a thread of the stand-in. The thread blocks all signals but those of a fault of its own (SIGSEGV, SIGBUS,
 * SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT). So signals that are sent to the process go to the program's own
 * threads. */
std::thread zeb_start_thread(std::function<void()> body);

/* Whether all other threads of the process sleep. The player takes that as a sign that they have finished what they had
 * begun. Returns true as well where the state of the threads cannot be read. */
bool zeb_other_threads_sleep();

#endif
