/* The command `redact` of zeb_recording: copies a recording, the log and the console's output. The copies do not tell
 * where or when the recording was made. */
#ifndef REDACT_H
#define REDACT_H

#include <string>
#include <vector>

/* A file to redact. */
struct redact_file {
    std::string name;
    std::string text;        /* the original; redact_texts moves it out */
    std::string result = {}; /* the redacted text */
    std::string report = {}; /* how many lines this file has, and how much was left out, emptied or set to 0 */
};

/* Redacts several files with the same replacements. The first file is a recording. Each further file is another part of
 * this recording, a log, or a console's output. Fails when a message has an unknown layout; with `blank`, empties such
 * a message instead. `report` becomes a text about what was replaced. On failure returns false, with the reason in
 * `error`. */
bool redact_texts(std::vector<redact_file> &files, bool blank, std::string &report, std::string &error);

#endif
