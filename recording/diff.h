/* The command diff: the differences between two recordings. Times and durations are not compared. */
#ifndef DIFF_H
#define DIFF_H

#include "session.h"

/* Returns what the command prints; empty when there is no difference. Lines are compared in their order, without times
 * and durations. An indication whose callback returned differs from an indication whose callback did not return; the
 * same is true of events. The returns are not compared when one of the recordings has format version 1, because
 * version 1 does not record them. The first line of a recording is not compared, because the first line names the
 * machine, and the same session may have been recorded on different machines. The lines `before` and `end` are not
 * compared either. */
std::string diff_text(const session_file &a, const session_file &b);

#endif
