/* The command page: a recording as one HTML file that needs nothing else. */
#ifndef PAGE_H
#define PAGE_H

#include "facts.h"

std::string page_text(const session &s, const facts &f);

/* Writes the page. Replaces an older page of this name, but no other file. */
bool page_write(const char *name, const std::string &text, std::string &error);

#endif
