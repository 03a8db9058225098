/* What goes out: results on standard output, messages on standard error. */
#ifndef CPE_DM_TOOL_OUT_H
#define CPE_DM_TOOL_OUT_H

#include "cpe_dm_tool_text.h"

/* The exit statuses. Where several apply, the greatest one is the program's. */
enum {
    CPE_DM_TOOL_DONE = 0,
    CPE_DM_TOOL_NO = 1,       /* an expression does not hold, a value is impossible */
    CPE_DM_TOOL_USAGE = 2,    /* wrong usage; nothing was done */
    CPE_DM_TOOL_NO_VALUE = 3, /* a value that was asked for is not to be had */
    CPE_DM_TOOL_FAILED = 4,   /* modem, module or output failed, or the time ran out */
};

/* Waits until the descriptor is ready for these events of poll; whether it was in time. -1 ms: without limit. */
bool cpe_dm_tool_ready(int fd, short events, int patience_ms);

/* Writes it all, waiting where a descriptor that does not block is full. Returns 0 or an errno value. */
int cpe_dm_tool_write(int fd, const char *data, size_t len);

/* Writes the text on standard output and empties it. Returns CPE_DM_TOOL_DONE; or CPE_DM_TOOL_FAILED, of which a
 * message has been written. */
int cpe_dm_tool_print(cpe_dm_tool_text *text);

/* A message: one line on standard error, "cpe_dm: " and the text. From any thread. A line that nobody takes for a
 * second is dropped. */
void cpe_dm_tool_tell(const char *format, ...) __attribute__((format(printf, 1, 2)));

/* Tells that FILE (or standard output) cannot be written, and why. */
void cpe_dm_tool_tell_unwritten(const char *file, int error);

#endif
