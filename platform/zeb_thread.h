#ifndef ZEB_THREAD_H
#define ZEB_THREAD_H

#include <functional>
#include <thread>

/* Starts a thread of the stand-in. It leaves the signals that are sent to the process to the program's own threads: all
 * are blocked but those of a fault of the thread itself (SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT). */
std::thread zeb_start_thread(std::function<void()> body);

#endif
