#include "cpe_dm_tool_out.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <poll.h>
#include <unistd.h>

bool cpe_dm_tool_ready(int fd, short events, int patience_ms) {
    pollfd one = {fd, events, 0};
    return poll(&one, 1, patience_ms) > 0;
}

int cpe_dm_tool_write(int fd, const char *data, size_t len) {
    while (len > 0) {
        const ssize_t written = write(fd, data, len);
        if (written >= 0) {
            data += written;
            len -= static_cast<size_t>(written);
        } else if (errno == EAGAIN) {
            cpe_dm_tool_ready(fd, POLLOUT, -1);
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

int cpe_dm_tool_print(cpe_dm_tool_text *text) {
    const int error = cpe_dm_tool_write(STDOUT_FILENO, text->data, text->used);
    text->used = 0;
    if (error != 0) {
        cpe_dm_tool_tell_unwritten("standard output", error);
        return CPE_DM_TOOL_FAILED;
    }
    return CPE_DM_TOOL_DONE;
}

void cpe_dm_tool_tell(const char *format, ...) {
    char line[400];
    cpe_dm_tool_text text = {line, sizeof(line) - 1, 0}; // leaves room for the newline
    cpe_dm_tool_add(&text, "cpe_dm: ");
    va_list args;
    va_start(args, format);
    cpe_dm_tool_add_args(&text, format, args);
    va_end(args);
    line[text.used++] = '\n';
    if (cpe_dm_tool_ready(STDERR_FILENO, POLLOUT, 1000)) {
        // A failed write is ignored, because its error message would need standard error too.
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line, text.used);
    }
}

/* strerror_r has two forms: the POSIX form writes the text into the buffer and returns a status; the GNU form returns
 * the text. The type of the result selects the overload. */
[[maybe_unused]] static const char *error_text(int /*status*/, const char *buffer) {
    return buffer;
}

[[maybe_unused]] static const char *error_text(const char *text, const char * /*buffer*/) {
    return text;
}

void cpe_dm_tool_tell_unwritten(const char *file, int error) {
    char buffer[100] = "";
    cpe_dm_tool_tell("%s cannot be written: %s", file, error_text(strerror_r(error, buffer, sizeof(buffer)), buffer));
}
