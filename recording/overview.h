/* What happened in a recording, at a glance: a row for each thing that there is to say. */
#ifndef OVERVIEW_H
#define OVERVIEW_H

#include "facts.h"

/* A row: what it is about, and what there is to say, one text a line. */
struct overview_row {
    std::string label;
    std::vector<std::string> texts;
};

std::vector<overview_row> overview_rows(const session &s, const facts &f);

/* What a reader of the rest has to know first: that the recording was cut short, lines are missing, and the like. */
std::vector<std::string> overview_notices(const session &s, const facts &f);

/* The line of a file: "line 12", with the file where there are several. */
std::string overview_place(const session &s, const session_line &line);

#endif
