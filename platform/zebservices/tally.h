/* Compares a play with its recording. Prints on standard error where the play first differs, and prints a summary at
 * the end of the play. Only one thread at a time may call these functions. */
#ifndef TALLY_H
#define TALLY_H

#include "recording.h"

/* In microseconds. Two things in a recording that happened less than this time apart count as simultaneous, because the
 * recording cannot tell which of two threads was first. */
inline constexpr uint64_t TALLY_MOMENT_US = 200;

/* The state of an entry of the recording. APART: the entry's place in the order is not compared. This state is used for
 * decodings (calls that decode a message), kept calls, calls for which tally_takes_part is false, and lines that are
 * not a call, an indication or an event. OPEN: the entry has not been played yet. PASSED: the entry had not been played
 * when a later entry was played. */
enum class tally_state : uint8_t { APART, OPEN, PASSED, PLAYED };

struct tally_calls {
    size_t recorded = 0;
    size_t as_recorded = 0;
    size_t out_of_order = 0;
    size_t repeated = 0; /* calls answered with a recorded result that had answered an earlier call already */
    size_t never_recorded = 0;
};

struct tally {
    const char *file = nullptr;
    const recording *played = nullptr;
    std::vector<tally_state> states; /* for each entry of the recording */
    std::vector<size_t> moments;     /* for each recorded call: the line of a simultaneous indication or event, or 0 */
    size_t turn = 0;                 /* an index; no entry before this index is OPEN */

    tally_calls requests;
    tally_calls decodings;
    tally_calls others; /* calls that are neither requests nor decodings */
    tally_calls deliveries;
    size_t early = 0;
    size_t at_a_moment = 0;
    size_t first_early_line = 0;
    size_t first_moment_line = 0;
    size_t overtaking = 0; /* lines played during a callback; on the box they came after the callback's return */
    size_t first_overtaken_line = 0;
    size_t unrecorded = 0; /* clients and notifiers that have no number in the recording */
    bool differed = false;
};

/* Begins a tally. The recording and the file's name must outlive the tally. */
void tally_begin(tally &t, const char *file, const recording &played);

/* Returns whether the entry is a call that takes part in a play. A recorded call does not take part if its handle was
 * unknown and the call was refused as an invalid argument. The stand-in refuses such a call before the player sees the
 * call. */
bool tally_takes_part(const recording_entry &call);

/* Returns the first OPEN call, which is the call that should come next. Returns null when no call is OPEN. */
const recording_entry *tally_expected_call(const tally &t);

/* What is known of a call when it comes. */
struct tally_arrival {
    const recording_entry *entry; /* the recorded call whose result answers the new call; null: none matches */
    bool again;                   /* `entry` has answered an earlier call already */
    size_t position; /* the highest line number of the recorded calls that have served as answers; kept calls do not
                        count */
    const recording_entry *unsettled; /* the indication or event with which the program is still busy; null if there is
                                         none, or if the new call may be a reaction to the indication or event */
};

/* To be called when the program makes a call. `handle` is the number that the call's client or notifier has in the
 * recording; 0: it has no number. */
void tally_came(tally &t, const zeb_call &call, uint32_t handle, const tally_arrival &arrival);

/* To be called when a call is answered with the result of the recorded call `entry`. `unprompted` means that the call
 * is not a reaction to an indication or event. Counts the unprompted calls that were recorded at the same moment as an
 * indication or event, because nobody can tell which of the two came first. */
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
