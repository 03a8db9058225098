/* The parts of the page that are the same for every recording: the files in page/. */
#ifndef PAGE_PARTS_H
#define PAGE_PARTS_H

extern const char *const page_html; /* a line `@NAME` stands for each other part, and for each varying text */
extern const char *const page_css;
extern const char *const page_js;

#endif
