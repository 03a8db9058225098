/* A short overview of what happened in a recording: a few rows, one for each subject. */
#ifndef OVERVIEW_H
#define OVERVIEW_H

#include "facts.h"

/* A row of the overview: `label` names the subject, and each of `texts` is one line about this subject. */
struct overview_row {
    std::string label;
    std::vector<std::string> texts;
};

std::vector<overview_row> overview_rows(const session &s, const facts &f);

/* Warnings about the recording as a whole, such as that it was cut short, that lines are missing, or that a callback
 * never returned. */
std::vector<std::string> overview_notices(const session &s, const facts &f);

/* The place of a line: "line 12", or "line 12 of FILE" when the session has several files. */
std::string overview_place(const session &s, const session_line &line);

#endif
