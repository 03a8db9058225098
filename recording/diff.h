/* The command diff: the differences between two recordings, times left out. */
#ifndef DIFF_H
#define DIFF_H

#include "session.h"

/* What the command prints; empty when the recordings are the same. The lines are compared in their order. Everything in
 * a line counts but times and durations. For an indication or event it counts too whether the callback returned, unless
 * one recording has version 1, which does not tell. First lines are not compared: the same session may have been
 * recorded on another machine. */
std::string diff_text(const session_file &a, const session_file &b);

#endif
