#ifndef ZEB_FILE_H
#define ZEB_FILE_H

#include <cstddef>
#include <string>

/* Appends a file's content to `text`. Reading stops soon after `text` has become longer than `enough` bytes, so that a
 * caller can refuse a huge file without reading all of it. Returns 0 or an errno value. Throws std::bad_alloc, and
 * nothing else. */
int zeb_read_file(const char *name, size_t enough, std::string &text);

#endif
