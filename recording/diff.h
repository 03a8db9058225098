/* The command diff: the differences between two recordings. Times and durations are not compared. */
#ifndef DIFF_H
#define DIFF_H

#include "session.h"

/* Returns what the command prints; empty when there is no difference. Lines are compared in their order, without times
 * and durations. For an indication or event, it is also compared whether the callback returned, unless one of the
 * recordings has version 1, which does not record that. First lines are not compared, because the same session may have
 * been recorded on another machine. The lines `before` and `end` are not compared either. */
std::string diff_text(const session_file &a, const session_file &b);

#endif
