/* A file of a recording: the recorder's alone, from its opening on. A program that closes descriptors which are not its
 * own may give this one's number to a file of its own, so each use looks whether it still is what it was. */
#ifndef ZEB_RECORD_FILE_H
#define ZEB_RECORD_FILE_H

#include <cstdint>
#include <sys/stat.h>

struct zeb_record_file {
    int fd; /* -1: none */
    dev_t device;
    ino_t number;
};

/* Opens a file, which must be a regular one of this user's, without another link, without content and not in use by
 * another recorder, or, with fresh, new. Returns null, or why it cannot be recorded to, with *error set to an errno
 * value or 0. */
const char *zeb_record_file_open(zeb_record_file *file, const char *path, bool fresh, int *error);

/* Whether the descriptor is still this file's; fills *status then. */
bool zeb_record_file_look(const zeb_record_file *file, struct stat *status);

/* Whether the name is still this file's. */
bool zeb_record_file_is_at(const zeb_record_file *file, const char *path);

/* How many bytes the process may have in a file: beyond them a write would raise a signal. */
uint64_t zeb_record_file_most();

/* Adds bytes at the file's end. On failure returns an errno value, and *written says how many of them are there all the
 * same. */
int zeb_record_file_add(const zeb_record_file *file, const char *bytes, uint32_t len, uint32_t *written);

/* The file of a descriptor. */
zeb_record_file zeb_record_file_of(int fd);

/* A second descriptor of the same file, or -1. */
int zeb_record_file_again(const zeb_record_file *file);

/* Closes it if it is still this file's. */
void zeb_record_file_close(zeb_record_file *file);

#endif
