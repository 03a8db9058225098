#ifndef ZEB_THREAD_H
#define ZEB_THREAD_H

#include <functional>
#include <thread>

/* Starts a thread of the stand-in with all signals blocked: signals sent to the process are for the program's own
 * threads. */
std::thread zeb_start_thread(std::function<void()> body);

#endif
