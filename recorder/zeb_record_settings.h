/* What the environment asked of the recorder when the library was loaded. The environment is read so early because the
 * program may change it, or the current folder, before the first call of the platform. */
#ifndef ZEB_RECORD_SETTINGS_H
#define ZEB_RECORD_SETTINGS_H

#include <cstdint>

enum {
    ZEB_RECORD_PATH_MAX = 4096,
    ZEB_RECORD_FIRST_LINE_MAX = 272,
    ZEB_RECORD_END_MAX = 96, /* bytes of the line that ends a recording */
    ZEB_RECORD_LIMIT_MIN = ZEB_RECORD_FIRST_LINE_MAX + ZEB_RECORD_END_MAX,
    ZEB_RECORD_KEEP_MIN = 16384,
};

struct zeb_record_settings {
    char path[ZEB_RECORD_PATH_MAX]; /* ZEB_RECORD, absolute; empty: nothing is to be recorded */
    uint64_t limit;                 /* bytes of a recording in one file */
    uint64_t keep;                  /* bytes of both files of a recording in parts; 0: a recording in one file */
    const char *refused;            /* why nothing can be recorded as asked, or null */
};

/* The settings, which never change. */
const zeb_record_settings *zeb_record_settings_get();

#endif
