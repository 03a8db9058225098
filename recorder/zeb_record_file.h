/* A file of a recording, which belongs to the recorder alone. A program that closes descriptors which are not its own
 * may get this descriptor's number for a file of its own. So zeb_record_file_look is called before the file is used. */
#ifndef ZEB_RECORD_FILE_H
#define ZEB_RECORD_FILE_H

#include <cstdint>
#include <sys/stat.h>

struct zeb_record_file {
    int fd; /* -1: none */
    dev_t device;
    ino_t number;
};

/* Opens a file to record to, or creates it. A file that exists must be a regular file of this user, empty, without
 * another name, and not in use by another recorder; with `fresh` no file may exist. Returns null, or the reason why
 * nothing can be recorded there; *error is then an errno value, or 0. */
const char *zeb_record_file_open(zeb_record_file *file, const char *path, bool fresh, int *error);

/* Whether the descriptor is still this file's; if so, fills *status. */
bool zeb_record_file_look(const zeb_record_file *file, struct stat *status);

/* Whether the file still has this name. */
bool zeb_record_file_is_at(const zeb_record_file *file, const char *path);

/* The process's limit for the size of a file, in bytes: a write beyond it would raise a signal. */
uint64_t zeb_record_file_most();

/* Adds bytes at the file's end. Returns 0 or an errno value; *written says how many bytes were added, also on
 * failure. */
int zeb_record_file_add(const zeb_record_file *file, const char *bytes, uint32_t len, uint32_t *written);

/* The file of a descriptor. */
zeb_record_file zeb_record_file_of(int fd);

/* A second descriptor of the same file, or -1. */
int zeb_record_file_again(const zeb_record_file *file);

/* Closes the descriptor if it is still this file's. */
void zeb_record_file_close(zeb_record_file *file);

#endif
