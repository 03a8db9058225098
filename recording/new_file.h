/* Files that this program writes. Like recordings, they may be read by their owner only. */
#ifndef NEW_FILE_H
#define NEW_FILE_H

#include <string>
#include <string_view>

/* Writes a file that does not exist yet. A file that exists is replaced if it begins with `own`, as this program's own
 * files do; with an empty `own` no file is replaced. On failure no new file is there, and the reason is in `error`:
 * "file: reason". */
bool new_file_write(const char *name, std::string_view text, std::string_view own, std::string &error);

#endif
