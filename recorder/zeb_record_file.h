/* A file of a recording. Its descriptor belongs to the recorder alone. But the program may close the descriptor by
 * mistake, and a file that the program opens later may get the same number. So zeb_record_file_look, which detects
 * this, is called before the descriptor is used. */
#ifndef ZEB_RECORD_FILE_H
#define ZEB_RECORD_FILE_H

#include <cstdint>
#include <sys/stat.h>

struct zeb_record_file {
    int fd; /* -1: the file is not open */
    dev_t device;
    ino_t number;
};

/* Opens a file to record to, or creates it. A file that exists must be a regular file of this user, empty, without
 * another hard link, and not in use by another recorder. If `fresh` is true, the file must not exist yet. Returns null
 * on success. Otherwise returns the reason why nothing can be recorded there, and stores an errno value or 0 in
 * *error. */
const char *zeb_record_file_open(zeb_record_file *file, const char *path, bool fresh, int *error);

/* Whether the descriptor still refers to this file. If it does, fills *status. */
bool zeb_record_file_look(const zeb_record_file *file, struct stat *status);

/* Whether `path` is still a name of this file. */
bool zeb_record_file_is_at(const zeb_record_file *file, const char *path);

/* The process's limit for the size of a file, in bytes: a write beyond it would raise a signal. */
uint64_t zeb_record_file_most();

/* Adds bytes at the file's end. Returns 0 or an errno value. Stores in *written how many bytes were added, even when an
 * error is returned. */
int zeb_record_file_add(const zeb_record_file *file, const char *bytes, uint32_t len, uint32_t *written);

/* Returns the zeb_record_file of an open descriptor. If `fd` is not open, the result has the descriptor -1. */
zeb_record_file zeb_record_file_of(int fd);

/* Returns a duplicate of the file's descriptor, or -1 on failure. */
int zeb_record_file_again(const zeb_record_file *file);

/* Closes the descriptor if it still refers to this file. */
void zeb_record_file_close(zeb_record_file *file);

#endif
