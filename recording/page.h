/* The command `page` of zeb_recording: shows a recording as one HTML file, which needs no other file and no network. */
#ifndef PAGE_H
#define PAGE_H

#include "facts.h"

std::string page_text(const session &s, const facts &f);

/* Writes the page `text` to the file `name`. An existing file is replaced only if it begins like a page of this
 * command. On failure returns false, with the reason in `error`. */
bool page_write(const char *name, const std::string &text, std::string &error);

#endif
