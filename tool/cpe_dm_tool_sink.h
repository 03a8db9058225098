/* Where rows go: standard output, a pipe or a file, whose reader may be slow. */
#ifndef CPE_DM_TOOL_SINK_H
#define CPE_DM_TOOL_SINK_H

#include <cstddef>
#include <cstdint>

/* Holds what is on its way out: never more than one row. A row that comes while the one before has not been taken is
 * dropped. Rows are written whole, or not at all. */
struct cpe_dm_tool_sink {
    int fd;
    const char *name;
    uint32_t dropped; /* rows */
    size_t len;       /* of the row that is on its way out */
    size_t done;
    char data[16384];
};

/* Standard output; a terminal is opened anew where that can be done, so that a terminal that stands still stops nobody.
 */
void cpe_dm_tool_use_stdout(cpe_dm_tool_sink *sink);

/* The file at path, which must not exist unless append; then it goes on with rows of the same header (the first line,
 * line end included; null: without one), and a row that was cut short is removed. *empty says whether the header is
 * still to be written. Returns an exit status; what is wrong has been told. */
int cpe_dm_tool_open_sink(cpe_dm_tool_sink *sink, const char *path, bool append, const char *header, bool *empty);

/* Sends a row out, or drops it; writes as much as is taken without waiting. Returns 0 or an errno value. */
int cpe_dm_tool_send(cpe_dm_tool_sink *sink, const char *row, size_t len);

/* Writes as much of what is left as is taken without waiting. Returns 0 or an errno value. */
int cpe_dm_tool_flush(cpe_dm_tool_sink *sink);

/* Waits, so long at most, until what is left has been taken. Returns 0 or an errno value. */
int cpe_dm_tool_finish(cpe_dm_tool_sink *sink, int64_t patience_ms);

inline bool cpe_dm_tool_pending(const cpe_dm_tool_sink *sink) {
    return sink->done < sink->len;
}

#endif
