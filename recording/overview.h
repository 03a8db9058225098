/* What happened in a recording, at a glance: a few rows, one for each subject. */
#ifndef OVERVIEW_H
#define OVERVIEW_H

#include "facts.h"

/* A row: its subject, and the texts about it, one text a line. */
struct overview_row {
    std::string label;
    std::vector<std::string> texts;
};

std::vector<overview_row> overview_rows(const session &s, const facts &f);

/* What a reader has to know before reading the rest: that the recording was cut short, that lines are missing, and the
 * like. */
std::vector<std::string> overview_notices(const session &s, const facts &f);

/* The place of a line: "line 12", with the name of the file when there are several files. */
std::string overview_place(const session &s, const session_line &line);

#endif
