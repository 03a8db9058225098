/* The command diff: what differs between two recordings but for times. */
#ifndef DIFF_H
#define DIFF_H

#include "session.h"

/* What the command prints, nothing when the two are the same. What is compared are the lines, in their order, with
 * everything in them but times and how long things took; of an indication and an event also whether the callback
 * returned, which version 1 does not tell. First lines are not compared: the same session may have been recorded on
 * another machine. */
std::string diff_text(const session_file &a, const session_file &b);

#endif
