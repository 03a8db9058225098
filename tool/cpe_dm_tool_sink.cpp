#include "cpe_dm_tool_sink.h"

#include "cpe_dm_tool_out.h"
#include "cpe_dm_tool_thread.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

void cpe_dm_tool_use_stdout(cpe_dm_tool_sink *sink) {
    const int fd =
        isatty(STDOUT_FILENO) != 0 ? open("/proc/self/fd/1", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC) : -1;
    sink->fd = fd >= 0 ? fd : STDOUT_FILENO;
    sink->name = "standard output";
}

/* Prepares an existing file for more rows: the file has to begin with `header`, and an incomplete last row is removed.
 * Returns CPE_DM_TOOL_DONE when rows can be added. Otherwise returns CPE_DM_TOOL_USAGE or CPE_DM_TOOL_FAILED, after a
 * message. */
static int join_rows(int fd, const char *path, const char *header, off_t size) {
    char start[1024];
    char last = '\0';
    const size_t len = header != nullptr ? strlen(header) : 0;
    if (len > sizeof(start) ||
        (len > 0 && (pread(fd, start, len, 0) != static_cast<ssize_t>(len) || strncmp(start, header, len) != 0))) {
        cpe_dm_tool_tell("%s has other columns; name the same keys in the same order, or another file", path);
        return CPE_DM_TOOL_USAGE;
    }
    off_t end = size;
    while (end > 0 && pread(fd, &last, 1, end - 1) == 1 && last != '\n') {
        end--;
    }
    if (end == size) {
        return CPE_DM_TOOL_DONE;
    }
    if (ftruncate(fd, end) != 0) {
        cpe_dm_tool_tell_unwritten(path, errno);
        return CPE_DM_TOOL_FAILED;
    }
    cpe_dm_tool_tell("%s ends in the middle of a row, which is removed", path);
    return CPE_DM_TOOL_DONE;
}

int cpe_dm_tool_open_sink(cpe_dm_tool_sink *sink, const char *path, bool append, const char *header, bool *empty) {
    // O_NONBLOCK: a named pipe that is full, because nobody reads it, must not block the program.
    const int flags = append ? O_RDWR | O_CREAT | O_APPEND : O_RDWR | O_CREAT | O_EXCL;
    struct stat file = {};
    sink->name = path;
    sink->fd = open(path, flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    if (sink->fd < 0 && errno == EEXIST) {
        cpe_dm_tool_tell("%s is there already; add to it with --append, or name another file", path);
        return CPE_DM_TOOL_USAGE;
    }
    if (sink->fd < 0 || fstat(sink->fd, &file) != 0) {
        cpe_dm_tool_tell_unwritten(path, errno);
        return CPE_DM_TOOL_FAILED;
    }
    *empty = file.st_size == 0;
    return *empty ? int{CPE_DM_TOOL_DONE} : join_rows(sink->fd, path, header, file.st_size);
}

/* Removes an incompletely written row from the end of a regular file, so that all rows in the file are whole. */
static void remove_part(const cpe_dm_tool_sink *sink) {
    struct stat file = {};
    if (sink->done > 0 && fstat(sink->fd, &file) == 0 && S_ISREG(file.st_mode)) {
        // If ftruncate fails, the incomplete row stays in the file. The caller reports the failed write in any case.
        [[maybe_unused]] const int truncated = ftruncate(sink->fd, file.st_size - static_cast<off_t>(sink->done));
    }
}

int cpe_dm_tool_flush(cpe_dm_tool_sink *sink) {
    // No write is longer than PIPE_BUF bytes, because a pipe that poll reports as writable takes that many bytes
    // without blocking.
    while (cpe_dm_tool_pending(sink) && cpe_dm_tool_ready(sink->fd, POLLOUT, 0)) {
        const ssize_t written =
            write(sink->fd, sink->data + sink->done, std::min<size_t>(sink->len - sink->done, PIPE_BUF));
        if (written < 0 && errno != EINTR) {
            const int error = errno;
            if (error == EAGAIN) {
                break;
            }
            remove_part(sink);
            sink->len = 0;
            sink->done = 0;
            return error;
        }
        sink->done += written > 0 ? static_cast<size_t>(written) : 0;
    }
    return 0;
}

int cpe_dm_tool_send(cpe_dm_tool_sink *sink, const char *row, size_t len) {
    if (cpe_dm_tool_pending(sink)) {
        sink->dropped++;
        return cpe_dm_tool_flush(sink);
    }
    sink->len = std::min(len, sizeof(sink->data));
    sink->done = 0;
    memcpy(sink->data, row, sink->len);
    return cpe_dm_tool_flush(sink);
}

int cpe_dm_tool_finish(cpe_dm_tool_sink *sink, int64_t patience_ms) {
    const int64_t until_ms = cpe_dm_tool_now_ms() + patience_ms;
    int error = cpe_dm_tool_flush(sink);
    while (error == 0 && cpe_dm_tool_pending(sink) &&
           cpe_dm_tool_ready(sink->fd, POLLOUT, cpe_dm_tool_ms_until(until_ms))) {
        error = cpe_dm_tool_flush(sink);
    }
    return error;
}
