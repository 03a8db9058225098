/* Calls that fail on demand: those that a program or a library is linked with --wrap for, and whatever a test offers to
 * fail under a name of its own. Counts the calls that can fail, makes chosen ones fail, and keeps the books of the
 * heap. What is tested may have it linked in, or beside it in a library. */
#ifndef FAULT_H
#define FAULT_H

#include <cstddef>
#include <pthread.h>
#include <string>
#include <vector>

/* A library that hides the rest of what it has shows these. */
#pragma GCC visibility push(default)

/* Fails the nth call (from 1) of the point, of any point when point is null; with onwards, all later ones too. A point
 * is the name of a function. */
void fault_arm(const char *point, int nth, bool onwards = false);

/* Ends the faults. A mutex whose release was made to fail, and was not released since, is released now. */
void fault_clear();

/* The points made to fail since fault_arm, in order. */
std::vector<std::string> fault_fired();

/* The points called since fault_arm. */
std::vector<std::string> fault_points();

/* How many calls of the point have begun since fault_arm, which then has named it. */
int fault_calls();

/* One call of a point; true when it has to fail. */
bool fault_hit(const char *point);

/* Memory from calloc that is not released. */
size_t fault_live_allocations();

/* Whether a thread waits on a condition, for however long. */
bool fault_waiting();

/* Whether calls on this mutex count; with a definition of its own a test leaves others out. */
bool fault_counts(const pthread_mutex_t *mutex);

/* Waits until the module's command thread has nothing to do or has ended; false when that takes too long. */
bool fault_settle(int timeout_ms = 20000);

#pragma GCC visibility pop

#endif
