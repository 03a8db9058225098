/* The recorded calls of a recording that is played, by what they asked for. */
#ifndef ANSWERS_H
#define ANSWERS_H

#include "recording.h"

#include <unordered_map>

/* The calls that were recorded with the same key. Kept ones come first. */
struct answers_of_key {
    std::vector<const recording_entry *> entries;
    size_t next = 0;
};

struct answers {
    std::unordered_map<std::string, answers_of_key> by_key;
};

/* Calls are added in the order of their lines. The entry outlives the answers. */
void answers_add(answers &a, const recording_entry &call);

/* The recorded call that answers a call of the client or notifier with the number `handle`: the next one with the same
 * key, or the last of them again; null: there is none. In a later part of a recording, a kept call answers as often as
 * the program asks, until the program makes the part's own calls, of which one has been answered when `begun` is set.
 * The first of these to be played must be the call that is expected next; any other is still answered from a kept
 * call. */
const recording_entry *answers_find(answers &a, const zeb_call &call, uint32_t handle, bool begun,
                                    const recording_entry *expected, bool &again);

/* Writes what the recorded call wrote. From version 2 on, a call that failed leaves the caller's bytes as they are, and
 * a service list writes no entries but those that were returned. */
void answers_fill(const recording &played, const recording_entry &entry, const zeb_call &call);

#endif
