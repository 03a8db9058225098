/* The command diff: the differences between two recordings. Times and durations are not compared. */
#ifndef DIFF_H
#define DIFF_H

#include "session.h"

/* Returns what the command prints; empty when there is no difference. Lines are compared in their order, without times
 * and durations. An indication whose callback returned differs from an indication whose callback did not return; the
 * same is true of events. This difference is ignored when one of the recordings has format version 1, in which the
 * returns of callbacks are not recorded. First lines are not compared, because the same session may have been recorded
 * on another machine. The lines `before` and `end` are not compared either. */
std::string diff_text(const session_file &a, const session_file &b);

#endif
