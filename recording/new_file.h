/* Writes the output files of zeb_recording. Like a recording, an output file can be read only by its owner. */
#ifndef NEW_FILE_H
#define NEW_FILE_H

#include <string>
#include <string_view>

/* Writes `text` to a new file. `own` is the text with which all outputs of the calling command begin. An existing file
 * of the same name is replaced only if the existing file begins with `own`. If the existing file begins differently, or
 * `own` is empty, the existing file stays and the function fails. On failure returns false, with "file: reason" in
 * `error`, and leaves no new file behind. */
bool new_file_write(const char *name, std::string_view text, std::string_view own, std::string &error);

#endif
