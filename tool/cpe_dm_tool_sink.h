/* The place where rows go: standard output, a pipe or a file. Its reader may be slow. */
#ifndef CPE_DM_TOOL_SINK_H
#define CPE_DM_TOOL_SINK_H

#include <cstddef>
#include <cstdint>

/* Holds the row that is being written, never more than one. While this row has not been taken whole, a new row is
 * dropped. So a row is written whole or not at all. */
struct cpe_dm_tool_sink {
    int fd;
    const char *name;
    uint32_t dropped; /* rows */
    size_t len;       /* bytes of the row that is being written */
    size_t done;
    char data[16384];
};

/* Makes standard output the sink. A terminal is opened anew where possible, without blocking, so that a terminal that
 * takes no output does not stop the program. */
void cpe_dm_tool_use_stdout(cpe_dm_tool_sink *sink);

/* Opens the file at this path as the sink. Without `append` the file must not exist. With `append` the file may have
 * rows under the same header (the first line with its line end; null: no header), and a row that was cut short is
 * removed. *empty tells whether the header is still to be written. Returns an exit status; after a failure a message
 * has been written. */
int cpe_dm_tool_open_sink(cpe_dm_tool_sink *sink, const char *path, bool append, const char *header, bool *empty);

/* Sends a row out, or drops the row. Writes as much as the descriptor takes without waiting. Returns 0 or an errno
 * value. */
int cpe_dm_tool_send(cpe_dm_tool_sink *sink, const char *row, size_t len);

/* Writes the rest of the row, as far as the descriptor takes it without waiting. Returns 0 or an errno value. */
int cpe_dm_tool_flush(cpe_dm_tool_sink *sink);

/* Writes the rest of the row, and waits patience_ms at most for the descriptor to take it. Returns 0 or an errno
 * value. */
int cpe_dm_tool_finish(cpe_dm_tool_sink *sink, int64_t patience_ms);

inline bool cpe_dm_tool_pending(const cpe_dm_tool_sink *sink) {
    return sink->done < sink->len;
}

#endif
