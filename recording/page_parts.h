/* The parts of the HTML page that are the same for every recording. The build takes their texts from the files in
 * page/. */
#ifndef PAGE_PARTS_H
#define PAGE_PARTS_H

/* The HTML page with placeholders such as @STYLE and @TITLE. page_text replaces the placeholders by page_css, page_js
 * and texts that depend on the recording. */
extern const char *const page_html;
extern const char *const page_css;
extern const char *const page_js;

#endif
