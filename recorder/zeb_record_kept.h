/* The kept lines: each part of a recording repeats them at its beginning, so that the part plays without the parts
 * before it. They are the calls that led to the clients and notifiers now in use, and the last answer to each request
 * of each client. They are gathered from the lines on their way to the file. One thread at a time may call these
 * functions. */
#ifndef ZEB_RECORD_KEPT_H
#define ZEB_RECORD_KEPT_H

#include <cstdint>

enum {
    ZEB_RECORD_KEPT_MAX = 256 * 1024, /* bytes; the oldest answers make room for new lines */
    ZEB_RECORD_KEPT_LINES_MAX = 512,
    ZEB_RECORD_KEPT_PREFIX_MAX = 32, /* "TIME kept " */
};

/* Sets a limit: from now on no more than `bytes` bytes are gathered, the "TIME kept " of each line included. */
void zeb_record_kept_limit(uint64_t bytes);

/* Takes note of a whole line of the recording. */
void zeb_record_kept_note(const char *line, uint32_t len);

/* Writes the kept lines into `out`, each with the given time. `out` has as many bytes as the limit. Returns the number
 * of bytes written. */
uint32_t zeb_record_kept_print(char *out, uint64_t time);

#endif
