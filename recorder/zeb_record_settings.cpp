#include "zeb_record_settings.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

enum {
    LIMIT_DEFAULT = 16 * 1024 * 1024,
};

static zeb_record_settings settings;
static bool settings_read;

static bool is_set(const char *value) {
    return value != nullptr && *value != '\0';
}

/* Converts a text of digits to a number of bytes. Returns false for a text that has anything but digits, for a number
 * of more than 64 bits, and for a number below `min`. */
static bool read_bytes(const char *text, uint64_t min, uint64_t *bytes) {
    char *end = nullptr;
    errno = 0;
    *bytes = strtoull(text, &end, 10);
    return *text >= '0' && *text <= '9' && *end == '\0' && errno == 0 && *bytes >= min;
}

static void settings_refuse(const char *reason) {
    settings.refused = settings.refused != nullptr ? settings.refused : reason;
}

static void read_path(const char *name) {
    char *path = settings.path;
    size_t folder = 0;
    if (*name != '/') {
        if (getcwd(path, ZEB_RECORD_PATH_MAX - 1) == nullptr) {
            settings_refuse("the current folder has no name that can be used, nothing is recorded");
            *path = '\0';
        }
        folder = strlen(path);
        path[folder++] = '/';
    }
    if (strlen(name) >= ZEB_RECORD_PATH_MAX - folder) {
        settings_refuse("the name is too long, nothing is recorded");
    }
    snprintf(path + folder, ZEB_RECORD_PATH_MAX - folder, "%s", name);
}

static void settings_take() {
    const char *name = secure_getenv("ZEB_RECORD");
    const char *limit = secure_getenv("ZEB_RECORD_LIMIT");
    const char *keep = secure_getenv("ZEB_RECORD_KEEP");
    settings.limit = LIMIT_DEFAULT;
    if (!is_set(name)) {
        return;
    }
    read_path(name);
    if (is_set(limit) && is_set(keep)) {
        settings_refuse("either ZEB_RECORD_LIMIT or ZEB_RECORD_KEEP, nothing is recorded");
    } else if (is_set(limit) && !read_bytes(limit, ZEB_RECORD_LIMIT_MIN, &settings.limit)) {
        settings_refuse("ZEB_RECORD_LIMIT is not a number of bytes, or too small, nothing is recorded");
    } else if (is_set(keep) && !read_bytes(keep, ZEB_RECORD_KEEP_MIN, &settings.keep)) {
        settings_refuse("ZEB_RECORD_KEEP is not a number of bytes, or too small, nothing is recorded");
    }
}

/* Runs when this library is loaded. zeb_record_settings_get calls this function too, because another library may be
 * loaded earlier, and the constructor of that library may already call the platform. */
[[gnu::constructor]] static void settings_read_once() {
    if (!settings_read) {
        const int error = errno;
        settings_take();
        settings_read = true;
        errno = error;
    }
}

const zeb_record_settings *zeb_record_settings_get() {
    settings_read_once();
    return &settings;
}
