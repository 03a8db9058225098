/* Finds the recorded call that answers a call of the program. */
#ifndef ANSWERS_H
#define ANSWERS_H

#include "recording.h"

#include <string>
#include <unordered_map>
#include <vector>

/* The recorded calls that have the same key (see recording_key), in the order of their lines. Each recorded call gives
 * its result to a call of the program. `next` is the index of the first recorded call whose result is still unused. */
struct answers_of_key {
    std::vector<const recording_entry *> entries;
    size_t next = 0;
};

struct answers {
    std::unordered_map<std::string, answers_of_key> by_key;
};

/* Adds a recorded call. Calls must be added in the order of their lines. `call` must outlive `a`. */
void answers_add(answers &a, const recording_entry &call);

/* Returns the recorded call that answers `call`; null when there is none. `handle` is the number that the client or
 * notifier of `call` has in the recording. The recorded calls with the same key answer one after the other. When all of
 * them have answered, the last one answers again, and `again` is set to true. This does not apply to calls in which the
 * program waits for a notifier's signal: each of these recorded calls answers only once.
 *
 * A kept call is a call of an earlier part of a recording, repeated at the head of a later part. Among the calls with
 * the same key, the kept calls come first. The last kept call answers again and again until the program has reached the
 * calls that are not kept. The program has reached these calls in two cases. In the first case `begun` is true,
 * because a call that is not kept has answered. In the second case `expected`, the recorded call that is due next, is
 * the first call with this key that has not answered yet. */
const recording_entry *answers_find(answers &a, const zeb_call &call, uint32_t handle, bool begun,
                                    const recording_entry *expected, bool &again);

/* Fills the buffers of `call` with what the recorded call `entry` returned. In a recording of version 2, a failed call
 * leaves `call.out` unchanged, and a call that lists services writes only as many entries as were returned. */
void answers_fill(const recording &played, const recording_entry &entry, const zeb_call &call);

#endif
