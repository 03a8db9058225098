/* Files that this program writes. They are their owner's alone, as recordings are. */
#ifndef NEW_FILE_H
#define NEW_FILE_H

#include <string>
#include <string_view>

/* Writes a file that does not exist yet. A file that does exist is replaced if it begins with `own`, as this program's
 * own files do; an empty `own` replaces none. On failure nothing new is there, and the reason is in error: "file:
 * reason". */
bool new_file_write(const char *name, std::string_view text, std::string_view own, std::string &error);

#endif
