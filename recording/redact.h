/* The command redact: a recording, and what goes with it, without what tells where and when it was. */
#ifndef REDACT_H
#define REDACT_H

#include <string>
#include <vector>

/* A file on its way. */
struct redact_file {
    std::string name;
    std::string text;        /* as it is; taken by redact_texts */
    std::string result = {}; /* redacted */
    std::string report = {}; /* what there is to say of it, one thing a line */
};

/* Redacts files with the same replacements. The first is a recording; the others are parts of it, or a log or a
 * console's output. A message that is not known is refused, or with `blank` its bytes are left out. What was replaced
 * is in report. On failure returns false, with the reason in error. */
bool redact_texts(std::vector<redact_file> &files, bool blank, std::string &report, std::string &error);

#endif
