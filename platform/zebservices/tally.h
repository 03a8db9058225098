/* Compares a play with its recording. Says on standard error where the play first differs, and sums up at the end of
 * the play. The player calls these functions one at a time. */
#ifndef TALLY_H
#define TALLY_H

#include "recording.h"

/* Two things in a recording that happened less than this time apart count as simultaneous: the recording cannot tell
 * which of two threads was first. */
inline constexpr uint64_t TALLY_MOMENT_US = 200;

/* The state of a line. APART: the order of this line is not compared (a decoding, a kept call, a call that takes no
 * part in a play, or a line such as `lost`). OPEN: the line is still to be played. PASSED: a later line was played
 * before this line. */
enum class tally_state : uint8_t { APART, OPEN, PASSED, PLAYED };

struct tally_calls {
    size_t recorded = 0;
    size_t as_recorded = 0;
    size_t out_of_order = 0;
    size_t repeated = 0; /* calls made again after their last recorded occurrence */
    size_t never_recorded = 0;
};

struct tally {
    const char *file = nullptr;
    const recording *played = nullptr;
    std::vector<tally_state> states; /* by entry of the recording */
    std::vector<size_t> moments; /* by entry; for a call: the line of an indication or event at the same moment, or 0 */
    size_t turn = 0;             /* no entry before this one is open */

    tally_calls requests;
    tally_calls decodings;
    tally_calls others; /* all other calls */
    tally_calls deliveries;
    size_t early = 0;
    size_t at_a_moment = 0;
    size_t first_early_line = 0;
    size_t first_moment_line = 0;
    size_t overtaking = 0; /* lines played although a callback that they have to wait for still ran */
    size_t first_overtaken_line = 0;
    size_t unrecorded = 0; /* clients and notifiers that have no number in the recording */
    bool differed = false;
};

/* Begins a tally. The recording and the file's name must outlive the tally. */
void tally_begin(tally &t, const char *file, const recording &played);

/* Whether the entry is a call that takes part in a play. A call that the libraries refuse by themselves takes no
 * part. */
bool tally_takes_part(const recording_entry &call);

/* The next call to be played, which is the first open call; null when none is open. */
const recording_entry *tally_expected_call(const tally &t);

/* What is known of a call when it comes. */
struct tally_arrival {
    const recording_entry *entry;     /* the recorded call that answers it; null: none does */
    bool again;                       /* the entry has answered a call before */
    size_t position;                  /* the highest line answered so far */
    const recording_entry *unsettled; /* an indication or event that the program has not dealt with, although it makes
                                         the call by itself; null: none */
};

/* To be called when a call has come, from the client or notifier with the number `handle`. */
void tally_came(tally &t, const zeb_call &call, uint32_t handle, const tally_arrival &arrival);

/* To be called when the call is answered. `unprompted` says that the program made the call by itself, and not to deal
 * with an indication or event. Nobody can tell whether such a call came before or after a simultaneous indication or
 * event, so these calls are counted. */
void tally_answered(tally &t, const recording_entry &entry, bool unprompted);

/* To be called for every indication or event that is due. `delivered` says whether it could be delivered. */
void tally_delivered(tally &t, const recording_entry &entry, bool delivered);

/* To be called when `line` is played while the callback for the indication or event of `callback_line` still runs. On
 * the box, this callback had returned before. */
void tally_overtook(tally &t, size_t line, size_t callback_line);

/* Says on standard error whether the play was exact, and if not, why. `unfinished_line` is the line of an indication or
 * event that the program had not dealt with when the program ended; 0: there is none. Returns whether the play was
 * exact. */
bool tally_sum_up(const tally &t, size_t unfinished_line);

#endif
