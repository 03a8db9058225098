/* Calls that fail on demand. A point is a name under which calls can fail: a function for which the program or library
 * is linked with --wrap, or a name that a test passes to fault_hit. This code counts the calls of the points, makes
 * chosen calls fail, and keeps account of allocated memory. It can be linked into the tested program or a library. */
#ifndef FAULT_H
#define FAULT_H

#include <cstddef>
#include <pthread.h>
#include <string>
#include <vector>

/* The declarations below are visible even when a library hides its other symbols. */
#pragma GCC visibility push(default)

/* From here on the `nth` call of `point` fails, counted from 1; 0: none fails. When `point` is null, the calls of all
 * points are counted together. With `onwards` all later calls fail too. */
void fault_arm(const char *point, int nth, bool onwards = false);

/* Ends the faults. A mutex that is still locked, because its release was made to fail, is released now. */
void fault_clear();

/* The points of the calls that were made to fail since fault_arm, in order. */
std::vector<std::string> fault_fired();

/* The points called since fault_arm. */
std::vector<std::string> fault_points();

/* How many calls of the armed point have begun since fault_arm; of all points when fault_arm was given null. */
int fault_calls();

/* To be called for each call of a point. Returns true when this call has to fail. */
bool fault_hit(const char *point);

/* How many blocks of memory from calloc are not released. */
size_t fault_live_allocations();

/* Whether a thread is inside pthread_cond_wait. */
bool fault_waiting();

/* Whether calls on this mutex are counted. A test may define this function to leave mutexes out; by default it returns
 * true. */
bool fault_counts(const pthread_mutex_t *mutex);

/* Waits until the module's command thread has nothing to do or has ended. Returns false when this takes too long. */
bool fault_settle(int timeout_ms = 20000);

#pragma GCC visibility pop

#endif
