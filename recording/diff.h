/* The command diff: what differs between two recordings but for times. */
#ifndef DIFF_H
#define DIFF_H

#include "session.h"

/* What the command prints; empty when the recordings are the same. The lines are compared in their order, with
 * everything in them but times and how long things took. Of an indication or event it is compared too whether the
 * callback returned, unless a recording has version 1, which does not tell. First lines are not compared: the same
 * session may have been recorded on another machine. */
std::string diff_text(const session_file &a, const session_file &b);

#endif
