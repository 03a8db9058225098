/* The calls of a recording that is played, found by what they asked for. */
#ifndef ANSWERS_H
#define ANSWERS_H

#include "recording.h"

#include <string>
#include <unordered_map>
#include <vector>

/* The recorded calls that have the same key. Kept calls come first. */
struct answers_of_key {
    std::vector<const recording_entry *> entries;
    size_t next = 0;
};

struct answers {
    std::unordered_map<std::string, answers_of_key> by_key;
};

/* Adds a call. Calls are added in the order of their lines. The entry must outlive the answers. */
void answers_add(answers &a, const recording_entry &call);

/* The recorded call that answers a call of the client or notifier with the number `handle`: the next recorded call with
 * the same key or, when there is none left, the last one again (`again` is set); null when no call has that key. In a
 * later part of a recording, kept calls answer as often as the program asks, until the program makes the part's own
 * calls. The part's own calls begin with the call that is `expected`; until it has come, any other call is still
 * answered from a kept call. `begun` says that one of the part's own calls has been answered. */
const recording_entry *answers_find(answers &a, const zeb_call &call, uint32_t handle, bool begun,
                                    const recording_entry *expected, bool &again);

/* Writes to the caller's buffers what the recorded call wrote. From version 2 on, a call that failed leaves these
 * buffers as they are, and a service list writes only the entries that were returned. */
void answers_fill(const recording &played, const recording_entry &entry, const zeb_call &call);

#endif
