/* Output: results on standard output, messages on standard error. */
#ifndef CPE_DM_TOOL_OUT_H
#define CPE_DM_TOOL_OUT_H

#include "cpe_dm_tool_text.h"

/* The exit statuses. When several apply, the program's status is the greatest of them. */
enum {
    CPE_DM_TOOL_DONE = 0,
    CPE_DM_TOOL_NO = 1,       /* check: an expression does not hold; selftest: a value is impossible */
    CPE_DM_TOOL_USAGE = 2,    /* wrong usage; nothing was done */
    CPE_DM_TOOL_NO_VALUE = 3, /* a value that was asked for is missing */
    CPE_DM_TOOL_FAILED = 4,   /* modem, module or output failed, or the time ran out */
};

/* Waits with poll until the descriptor is ready for one of `events`, for patience_ms at most, or without limit if
 * patience_ms is -1. Returns false when the time ran out first or poll failed. */
bool cpe_dm_tool_ready(int fd, short events, int patience_ms);

/* Writes all bytes, and waits while a non-blocking descriptor is full. Returns 0 or an errno value. */
int cpe_dm_tool_write(int fd, const char *data, size_t len);

/* Writes the text on standard output and empties the text. Returns CPE_DM_TOOL_DONE. When the write fails, prints a
 * message and returns CPE_DM_TOOL_FAILED. */
int cpe_dm_tool_print(cpe_dm_tool_text *text);

/* Writes a message on standard error: one line with "cpe_dm: " and the formatted text. May be called on any thread. The
 * message is lost when standard error accepts no output for a second. */
void cpe_dm_tool_tell(const char *format, ...) __attribute__((format(printf, 1, 2)));

/* Writes the message that `file` (a path or "standard output") cannot be written, and why (`error`, an errno value). */
void cpe_dm_tool_tell_unwritten(const char *file, int error);

#endif
