/* Plays a recording: answers the program's calls as they were answered on the box, and delivers the recorded
 * indications and events in between. A process plays one recording, from player_start until the process ends. After
 * player_start has returned true, every other function may be called from any thread. */
#ifndef PLAYER_H
#define PLAYER_H

#include "zeb_call.h"
#include "zeb_service.h"

#include <string>

/* Reads the recording and starts to play it, `speed` times as fast as it was recorded. If `speed` is 0, every line is
 * played as soon as the order of the lines allows. When the recording is not valid, returns false and sets `error`
 * to "file:line: reason". Throws when there is no memory or no thread can be started. */
bool player_start(const char *file, double speed, std::string &error);

/* The struct zeb_replay describes these functions at its members `answer` and `returned`. They never throw. */
int32_t player_answer(const zeb_call &call);
void player_returned(uint64_t peer);

/* The struct zeb_service describes these functions at its members `attach` and `detach`. */
uint64_t player_attach(const zeb_sink &sink);
void player_detach(uint64_t peer);

/* To be called in a child of fork. The child cannot go on with its parent's play: from then on, every call in the child
 * fails. */
void player_forget_parent();

/* To be called when the program waits for the service without a time limit. When the recording has no service event
 * left that could end this wait, says so on standard error and returns true. Must not be called in a child of fork. */
bool player_tell_endless_wait();

/* Says on standard error whether the play so far was exact, and if not, why. Returns whether it was exact. Must not be
 * called in a child of fork. */
bool player_sum_up();

#endif
