/* The kept lines. Every part of a recording except the first part begins with the kept lines, so that the part can be
 * played without the earlier parts. The kept lines are the calls that created and set up the clients and notifiers now
 * in use, and the last answer that each client received to each request. The kept lines are collected from the lines
 * that are written to the file. Only one thread at a time may call these functions. */
#ifndef ZEB_RECORD_KEPT_H
#define ZEB_RECORD_KEPT_H

#include <cstdint>

enum {
    ZEB_RECORD_KEPT_MAX = 256 * 1024, /* bytes; the oldest answers to requests are dropped to make room for new lines */
    ZEB_RECORD_KEPT_LINES_MAX = 512,
    ZEB_RECORD_KEPT_PREFIX_MAX = 32, /* bytes of the "TIME kept " before a kept line */
};

/* Sets the limit for the total size of the kept lines. Each line counts with the prefix "TIME kept ", which is written
 * before the line. Drops answers to requests, the oldest first, until the lines fit. Lines of other kinds stay even if
 * they do not fit. */
void zeb_record_kept_limit(uint64_t bytes);

/* To be called for each whole line that is added to the recording. Keeps the line if a later part needs it, and drops
 * the kept lines that it replaces. */
void zeb_record_kept_note(const char *line, uint32_t len);

/* Writes the kept lines into `out`, each with the time `time`. `out` must have room for ZEB_RECORD_KEPT_MAX bytes.
 * Returns the number of bytes written. */
uint32_t zeb_record_kept_print(char *out, uint64_t time);

#endif
