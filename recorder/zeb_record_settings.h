/* The recorder's settings, from environment variables. The variables are read when the library is loaded, because the
 * program may change them, or its current folder, before it calls the platform for the first time. */
#ifndef ZEB_RECORD_SETTINGS_H
#define ZEB_RECORD_SETTINGS_H

#include <cstdint>

enum {
    ZEB_RECORD_PATH_MAX = 4096,
    ZEB_RECORD_FIRST_LINE_MAX = 272,
    ZEB_RECORD_END_MAX = 96, /* bytes of the longest `end` line, the last line of a recording */
    ZEB_RECORD_LIMIT_MIN = ZEB_RECORD_FIRST_LINE_MAX + ZEB_RECORD_END_MAX,
    ZEB_RECORD_KEEP_MIN = 16384,
};

struct zeb_record_settings {
    char path[ZEB_RECORD_PATH_MAX]; /* ZEB_RECORD as an absolute path; empty: ZEB_RECORD is not set */
    uint64_t limit;                 /* greatest size in bytes of a recording in one file */
    uint64_t keep; /* greatest size in bytes of the two parts of a recording together; 0: the recording is one file */
    const char *refused; /* why nothing is recorded although ZEB_RECORD is set; otherwise null */
};

/* The settings, which never change. */
const zeb_record_settings *zeb_record_settings_get();

#endif
