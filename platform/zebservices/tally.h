/* Compares a play with its recording. Prints on standard error where the play first differs, and prints a summary at
 * the end of the play. Only one thread at a time may call these functions. */
#ifndef TALLY_H
#define TALLY_H

#include "recording.h"

/* In microseconds. Two things in a recording that happened less than this time apart count as simultaneous, because the
 * recording cannot tell which of two threads was first. */
inline constexpr uint64_t TALLY_MOMENT_US = 200;

/* The state of an entry of the recording. APART: the order of the entry is not compared; it is a decoding, a kept call,
 * a call for which tally_takes_part is false, or a line that is no call, indication or event. OPEN: the entry has not
 * been played yet. PASSED: the entry had not been played when a later entry was played. */
enum class tally_state : uint8_t { APART, OPEN, PASSED, PLAYED };

struct tally_calls {
    size_t recorded = 0;
    size_t as_recorded = 0;
    size_t out_of_order = 0;
    size_t repeated = 0; /* calls that came more often than they were recorded */
    size_t never_recorded = 0;
};

struct tally {
    const char *file = nullptr;
    const recording *played = nullptr;
    std::vector<tally_state> states; /* for each entry of the recording */
    std::vector<size_t> moments;     /* for each call: the line of an indication or event at the same moment, or 0 */
    size_t turn = 0;                 /* an index; no entry before this index is OPEN */

    tally_calls requests;
    tally_calls decodings;
    tally_calls others; /* calls that are neither requests nor decodings */
    tally_calls deliveries;
    size_t early = 0;
    size_t at_a_moment = 0;
    size_t first_early_line = 0;
    size_t first_moment_line = 0;
    size_t overtaking = 0; /* lines played while a callback was still running that had returned earlier on the box */
    size_t first_overtaken_line = 0;
    size_t unrecorded = 0; /* clients and notifiers that have no number in the recording */
    bool differed = false;
};

/* Begins a tally. The recording and the file's name must outlive the tally. */
void tally_begin(tally &t, const char *file, const recording &played);

/* Whether the entry is a call that takes part in a play. A call with an unknown handle that was refused as an invalid
 * argument does not, because the stand-in refuses such a call before the player sees it. */
bool tally_takes_part(const recording_entry &call);

/* Returns the first OPEN call, which is the call that should come next. Returns null when no call is OPEN. */
const recording_entry *tally_expected_call(const tally &t);

/* What is known of a call when it comes. */
struct tally_arrival {
    const recording_entry *entry;     /* the recorded call that answers the call; null: none */
    bool again;                       /* `entry` has answered an earlier call already */
    size_t position;                  /* the highest line number among the calls answered so far */
    const recording_entry *unsettled; /* an indication or event that the program has not dealt with yet; null: there is
                                         none, or the call may be how the program deals with it */
};

/* To be called when a call comes. `handle` is the number of its client or notifier in the recording; 0: none. */
void tally_came(tally &t, const zeb_call &call, uint32_t handle, const tally_arrival &arrival);

/* To be called when `entry` answers a call. `unprompted` means that the program did not make this call to deal with an
 * indication or event. If such a call is simultaneous with an indication or event, nobody can tell which of the two
 * came first. So these calls are counted. */
void tally_answered(tally &t, const recording_entry &entry, bool unprompted);

/* To be called for every indication or event that is due. `delivered` says whether it could be delivered. */
void tally_delivered(tally &t, const recording_entry &entry, bool delivered);

/* To be called when line number `line` is played while the callback for the indication or event of line `callback_line`
 * still runs. On the box, this callback had returned before `line`. */
void tally_overtook(tally &t, size_t line, size_t callback_line);

/* Says on standard error whether the play was exact, and if not, why. `unfinished_line` is the line of an indication or
 * event that the program had not dealt with when the program ended; 0: there is none. Returns whether the play was
 * exact. */
bool tally_sum_up(const tally &t, size_t unfinished_line);

#endif
