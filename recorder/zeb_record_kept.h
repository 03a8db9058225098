/* What each part of a recording repeats at its beginning, so that it plays without those before it: the calls by which
 * the clients and notifiers that live came to be, and the last answer of each request of each client. It is gathered
 * from the lines on their way to the file, by one thread at a time. */
#ifndef ZEB_RECORD_KEPT_H
#define ZEB_RECORD_KEPT_H

#include <cstdint>

enum {
    ZEB_RECORD_KEPT_MAX = 256 * 1024, /* bytes; what has gone longest without an answer makes room for the new */
    ZEB_RECORD_KEPT_LINES_MAX = 512,
    ZEB_RECORD_KEPT_PREFIX_MAX = 32, /* "TIME kept " */
};

/* From here on no more than so many bytes are gathered, the "TIME kept " of each line included. */
void zeb_record_kept_limit(uint64_t bytes);

/* Takes note of a whole line of the recording. */
void zeb_record_kept_note(const char *line, uint32_t len);

/* Writes the lines that are to be repeated, as of this time, one behind the other; out has room for the limit. Returns
 * their length. */
uint32_t zeb_record_kept_print(char *out, uint64_t time);

#endif
