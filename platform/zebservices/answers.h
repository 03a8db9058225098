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

/* Finds the recorded call that answers a call of the client or notifier with the number `handle`: the next recorded
 * call with the same key. When none is left, the one that answered last answers again, and `again` is set; but a wait
 * is never answered a second time. Null when no recorded call answers.
 *
 * A kept call is a call of an earlier part of a recording, repeated at the head of a later part. When the next call of
 * a key is one of the part's own calls and the last was kept, the kept call answers again until one of the part's own
 * calls has been answered (`begun`), unless the next call is the one that is `expected`. */
const recording_entry *answers_find(answers &a, const zeb_call &call, uint32_t handle, bool begun,
                                    const recording_entry *expected, bool &again);

/* Writes to the caller's buffers what the recorded call wrote. From version 2 on, a call that failed leaves these
 * buffers as they are, and a service list writes only the entries that were returned. */
void answers_fill(const recording &played, const recording_entry &entry, const zeb_call &call);

#endif
