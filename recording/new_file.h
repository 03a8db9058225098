/* Writes the output files of this program. As with recordings, only the owner of such a file may read it. */
#ifndef NEW_FILE_H
#define NEW_FILE_H

#include <string>
#include <string_view>

/* Writes `text` to a new file. If a file of this name exists already, it is replaced when it begins with `own`, the
 * text with which earlier output of this program begins. In any other case, and when `own` is empty, the existing file
 * stays and the function fails. On failure returns false, with "file: reason" in `error`, and leaves no new file
 * behind. */
bool new_file_write(const char *name, std::string_view text, std::string_view own, std::string &error);

#endif
