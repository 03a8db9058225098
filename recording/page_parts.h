/* The parts of the page that are the same for every recording: the files in page/. */
#ifndef PAGE_PARTS_H
#define PAGE_PARTS_H

extern const char *const page_html; /* with a line `@NAME` for each of the other parts, and for what differs */
extern const char *const page_css;
extern const char *const page_js;

#endif
