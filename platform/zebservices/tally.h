/* Compares a play with its recording: says on standard error where the play first differs, and sums up at the end of
 * the play. The player calls these functions one at a time. */
#ifndef TALLY_H
#define TALLY_H

#include "recording.h"

/* Two things that happened less than this apart count as simultaneous: the recording cannot tell which of two threads
 * was first. */
inline constexpr uint64_t TALLY_MOMENT_US = 200;

/* APART: the order of this line is not compared (a decoding, a kept call, a call that takes no part in a play, or a
 * line like `lost`). OPEN: the line is still to be played. PASSED: the line was not played before a later line was. */
enum class tally_state : uint8_t { APART, OPEN, PASSED, PLAYED };

struct tally_calls {
    size_t recorded = 0;
    size_t as_recorded = 0;
    size_t out_of_order = 0;
    size_t repeated = 0; /* made more often than recorded */
    size_t never_recorded = 0;
};

struct tally {
    const char *file = nullptr;
    const recording *played = nullptr;
    std::vector<tally_state> states; /* by entry of the recording */
    std::vector<size_t> moments; /* by entry: the line of an indication or event simultaneous with the call; 0: none */
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
    size_t unrecorded = 0; /* clients and notifiers to which the recording gives no number */
    bool differed = false;
};

/* The recording outlives the tally; so does the file's name. */
void tally_begin(tally &t, const char *file, const recording &played);

/* Whether the entry is a call that takes part in a play. Calls that the libraries refuse by themselves do not. */
bool tally_takes_part(const recording_entry &call);

/* The next call to be played: the first one that is open; null: there is none. */
const recording_entry *tally_expected_call(const tally &t);

/* What is known of a call when it comes. */
struct tally_arrival {
    const recording_entry *entry;     /* the recorded call that answers it; null: none does */
    bool again;                       /* the entry has answered a call before */
    size_t position;                  /* the highest line answered so far */
    const recording_entry *unsettled; /* an indication or event with which the program may still be dealing, when the
                                       * program makes the call by itself; null: none */
};

/* A call has come from the client or notifier with the number `handle`. */
void tally_came(tally &t, const zeb_call &call, uint32_t handle, const tally_arrival &arrival);

/* The call is answered. `unprompted`: the program made the call by itself, not to deal with an indication or event.
 * Whether such a call came before or after a simultaneous indication or event cannot be told. */
void tally_answered(tally &t, const recording_entry &entry, bool unprompted);

/* An indication or event is delivered, or could not be. */
void tally_delivered(tally &t, const recording_entry &entry, bool delivered);

/* `line` is played although the callback for the indication or event of `callback_line` still runs. On the box, that
 * callback had returned before. */
void tally_overtook(tally &t, size_t line, size_t callback_line);

/* Says on standard error whether the play was exact, and if not, why. `unfinished_line` is the line of an indication or
 * event that the program had not dealt with when it ended; 0: none. Returns whether the play was exact. */
bool tally_sum_up(const tally &t, size_t unfinished_line);

#endif
