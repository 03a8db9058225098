/* The place where rows go: standard output, a pipe or a file. A slow reader does not block the program. */
#ifndef CPE_DM_TOOL_SINK_H
#define CPE_DM_TOOL_SINK_H

#include <cstddef>
#include <cstdint>

/* An output with a buffer for one row. A new row is dropped while the descriptor has not taken all bytes of the earlier
 * row. So a row is written whole or not at all. */
struct cpe_dm_tool_sink {
    int fd;
    const char *name;
    uint32_t dropped; /* the number of rows that were dropped */
    size_t len;       /* bytes of the row in `data` */
    size_t done;      /* bytes of this row that are written already */
    char data[16384];
};

/* Makes standard output the sink. If standard output is a terminal, the function tries to open the terminal again in
 * non-blocking mode, so that a terminal that takes no output does not block the program. */
void cpe_dm_tool_use_stdout(cpe_dm_tool_sink *sink);

/* Opens the file at this path as the sink. Without `append` the file must not exist. With `append` the file may have
 * rows already. Such a file has to begin with `header` (a line with its newline; null or "": no header), and an
 * incomplete last row is removed. Sets *empty to whether the caller still has to write the header. Returns an exit
 * status; after a failure a message has been written. */
int cpe_dm_tool_open_sink(cpe_dm_tool_sink *sink, const char *path, bool append, const char *header, bool *empty);

/* Takes a new row, or drops the new row while the earlier row is not fully written. Writes as much as the descriptor
 * takes without waiting. Returns 0 or an errno value. */
int cpe_dm_tool_send(cpe_dm_tool_sink *sink, const char *row, size_t len);

/* Writes as much of the rest of the row as the descriptor takes without waiting. Returns 0 or an errno value. */
int cpe_dm_tool_flush(cpe_dm_tool_sink *sink);

/* Writes the rest of the row, and waits patience_ms at most for the descriptor to take it. Returns 0 or an errno
 * value. */
int cpe_dm_tool_finish(cpe_dm_tool_sink *sink, int64_t patience_ms);

inline bool cpe_dm_tool_pending(const cpe_dm_tool_sink *sink) {
    return sink->done < sink->len;
}

#endif
