/* Plays a recording: answers calls as they were answered, and delivers the indications and events in between. A process
 * plays one recording, from player_start until the process ends. After player_start has returned true, every other
 * function may be called from any thread. */
#ifndef PLAYER_H
#define PLAYER_H

#include "zeb_call.h"
#include "zeb_service.h"

#include <string>

/* Reads the recording and starts to play it. `speed` is a multiple of the box's speed; with 0, every line is played as
 * soon as it can be. When the recording is not right, returns false, with "file:line: reason" in `error`. Throws when
 * out of memory or of threads. */
bool player_start(const char *file, double speed, std::string &error);

/* As in zeb_replay. Never throws. */
int32_t player_answer(const zeb_call &call);
void player_returned(uint64_t peer);

/* As in zeb_service. */
uint64_t player_attach(const zeb_sink &sink);
void player_detach(uint64_t peer);

/* To be called in a child of fork. The child has no part in its parent's play: in the child every call fails from then
 * on. */
void player_forget_parent();

/* Returns true when the recording has no service event left that could end a wait, and says this on standard error. Not
 * to be called in a child of fork. */
bool player_tell_endless_wait();

/* Says on standard error whether the play so far was exact, and if not, why. Returns whether it was exact. Not to be
 * called in a child of fork. */
bool player_sum_up();

#endif
