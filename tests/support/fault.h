/* Calls that fail on demand. A point is a name under which calls can fail: a function for which the program or library
 * is linked with --wrap, or a name that a test passes to fault_hit. Counts the calls of the points, makes chosen calls
 * fail, and keeps account of allocated memory. This code can be linked into the tested program, or lie beside it in a
 * library. */
#ifndef FAULT_H
#define FAULT_H

#include <cstddef>
#include <pthread.h>
#include <string>
#include <vector>

/* The declarations below are visible even when a library hides its other symbols. */
#pragma GCC visibility push(default)

/* From here on the nth call (counted from 1) of the point fails; of all points together when point is null. With
 * onwards all later calls fail too. */
void fault_arm(const char *point, int nth, bool onwards = false);

/* Ends the faults. When the release of a mutex was made to fail and the mutex is still locked, releases the mutex. */
void fault_clear();

/* The points of the calls that were made to fail since fault_arm, in order. */
std::vector<std::string> fault_fired();

/* The points called since fault_arm. */
std::vector<std::string> fault_points();

/* How many calls of the point that fault_arm named have begun since. */
int fault_calls();

/* To be called for each call of a point. Returns true when this call has to fail. */
bool fault_hit(const char *point);

/* How many blocks of memory from calloc are not released. */
size_t fault_live_allocations();

/* Whether a thread is inside pthread_cond_wait. */
bool fault_waiting();

/* Whether calls on this mutex count. By default all do; a test may define this function to leave mutexes out. */
bool fault_counts(const pthread_mutex_t *mutex);

/* Waits until the module's command thread has nothing to do or has ended. Returns false when this takes too long. */
bool fault_settle(int timeout_ms = 20000);

#pragma GCC visibility pop

#endif
