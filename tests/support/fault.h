/* Failing calls of the module under test, injected at link time: allocations, thread primitives, and whatever the fake
 * platform offers to fail. Counts the calls that can fail, makes chosen ones fail, and keeps the books of the module's
 * heap. The mutex calls that count are those on cpe_dm_lock and on the module's queue. */
#ifndef FAULT_H
#define FAULT_H

#include <cstddef>
#include <string>
#include <vector>

/* Fails the nth call (from 1) of the point, of any point when point is null; with onwards, all later ones too. */
void fault_arm(const char *point, int nth, bool onwards = false);

/* Ends the faults. A mutex whose release was made to fail, and was not released since, is released now. */
void fault_clear();

/* The points made to fail since fault_arm, in order. */
std::vector<std::string> fault_fired();

/* The points called since fault_arm. */
std::vector<std::string> fault_points();

/* One call of a point; true when it has to fail. */
bool fault_hit(const char *point);

/* Allocations of the module that are not released. */
size_t fault_live_allocations();

/* Waits until the module's command thread has nothing to do or has ended; false when that takes too long. */
bool fault_settle(int timeout_ms);

#endif
