/* Compares a play with its recording: says on standard error where the play first differs, and sums up at its end.
 * Whoever plays calls these functions one at a time. */
#ifndef TALLY_H
#define TALLY_H

#include "recording.h"

/* What lies less than this apart happened at the same moment: which of two threads was first cannot be told. */
inline constexpr uint64_t TALLY_MOMENT_US = 200;

/* APART: a line whose order is not compared (a decoding, a kept call, no call at all). OPEN: a line that is still to be
 * played. PASSED: a line that should have been played before one that has been. */
enum class tally_state : uint8_t { APART, OPEN, PASSED, PLAYED };

struct tally_calls {
    size_t recorded = 0;
    size_t as_recorded = 0;
    size_t out_of_order = 0;
    size_t repeated = 0; /* beyond those recorded */
    size_t never_recorded = 0;
};

struct tally {
    const char *file = nullptr;
    const recording *played = nullptr;
    std::vector<tally_state> states; /* of the recording's entries */
    std::vector<size_t> moments; /* by entry: the line of an indication or event at the moment of the call; 0: none */
    size_t turn = 0;             /* no entry before this one is open */

    tally_calls requests;
    tally_calls decodings;
    tally_calls others; /* all other calls */
    tally_calls deliveries;
    size_t early = 0;
    size_t at_a_moment = 0;
    size_t first_early_line = 0;
    size_t first_moment_line = 0;
    size_t overtaking = 0; /* lines played before a callback had returned that they came after */
    size_t first_overtaken_line = 0;
    size_t unrecorded = 0; /* clients and notifiers, in a recording that does not count them itself */
    bool differed = false;
};

/* The recording outlives the tally; so does the file's name. */
void tally_begin(tally &t, const char *file, const recording &played);

/* Whether the call takes part in a play. Not those that the libraries refuse by themselves. */
bool tally_takes_part(const recording_entry &call);

/* The first call of those that are still to be played, or null. */
const recording_entry *tally_expected_call(const tally &t);

/* A call has come, of the client or notifier with that number. entry is the recorded call that answers it, which stands
 * there for the first time unless `again`; null: there is none. `position` is the last line played. */
void tally_came(tally &t, const zeb_call &call, uint32_t handle, const recording_entry *entry, bool again,
                size_t position);

/* The call is answered. unprompted: the thread that makes it may be another one than that which dealt with an
 * indication or event of the same moment. */
void tally_answered(tally &t, const recording_entry &entry, bool unprompted);

/* An indication or event is delivered, or could not be. */
void tally_delivered(tally &t, const recording_entry &entry, bool delivered);

/* A line is played although the callback for the line of an indication or event, which should have returned before, has
 * not. */
void tally_overtook(tally &t, size_t line, size_t callback_line);

/* Says on standard error whether the play was exact, and in what it was not. unfinished_line is that of an indication
 * or event that the program had not dealt with when it ended; 0: none. Returns whether it was exact. */
bool tally_sum_up(const tally &t, size_t unfinished_line);

#endif
