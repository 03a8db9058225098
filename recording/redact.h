/* The command redact: copies of a recording, and of its log and output, without what tells where and when it was
 * made. */
#ifndef REDACT_H
#define REDACT_H

#include <string>
#include <vector>

/* A file on its way. */
struct redact_file {
    std::string name;
    std::string text;        /* the original; redact_texts takes it away */
    std::string result = {}; /* redacted */
    std::string report = {}; /* remarks on this file, one a line */
};

/* Redacts files with the same replacements. The first is a recording; the others are parts of it, or a log or a
 * console's output. A message that is not known is refused, or with `blank` its bytes are left out. `report` says what
 * was replaced. On failure returns false, with the reason in error. */
bool redact_texts(std::vector<redact_file> &files, bool blank, std::string &report, std::string &error);

#endif
