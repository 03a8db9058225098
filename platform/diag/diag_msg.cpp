#pragma GCC visibility push(default)
#include "diag_msg.h"
#pragma GCC visibility pop

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>

namespace {

/* Size in bytes of the buffer for one line; a longer line is cut. */
constexpr size_t LINE_ROOM = 2048;

enum { NOT_OPENED = -2, NO_LOG = -1 };

/* Opens the log that the environment variable DIAG_LOG names. Returns the log's descriptor, or NO_LOG. */
int open_log() {
    const char *name = getenv("DIAG_LOG"); // NOLINT(concurrency-mt-unsafe): nobody sets it while the process runs
    if (name == nullptr || *name == '\0') {
        return NO_LOG;
    }
    if (strcmp(name, "stderr") == 0) {
        return STDERR_FILENO;
    }
    // Only the owner may read the log: it holds the identities of cells, and these tell where the device is.
    const int fd = open(name, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (fd < 0) {
        fprintf(stderr, "%s: cannot be opened for the log: %s\n", name, std::generic_category().message(errno).c_str());
        return NO_LOG;
    }
    return fd;
}

/* Returns the descriptor of the log. The first call opens the log. The function uses no mutex, because a mutex that
 * another thread holds during a fork stays locked in the child for ever. */
int log_descriptor() {
    static std::atomic<int> log = NOT_OPENED;
    int fd = log;
    if (fd == NOT_OPENED) {
        const int opened = open_log();
        if (log.compare_exchange_strong(fd, opened)) {
            return opened;
        }
        if (opened > STDERR_FILENO) {
            close(opened);
        }
    }
    return fd;
}

/* Writes a line. If a limit on the size of files (ulimit -f) forbids the line, the line is lost, as on a full disk. The
 * kernel then also sends SIGXFSZ, which is blocked here and removed, so that the signal does not end the program. */
void write_line(int fd, const char *line, size_t length) {
    sigset_t too_large;
    sigset_t before;
    sigset_t pending;
    ssize_t written = 0;
    sigemptyset(&too_large);
    sigaddset(&too_large, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &too_large, &before);
    sigpending(&pending);
    while ((written = write(fd, line, length)) < 0 && errno == EINTR) {
    }
    if (written < 0 && errno == EFBIG && sigismember(&pending, SIGXFSZ) == 0) {
        const timespec at_once = {};
        sigtimedwait(&too_large, nullptr, &at_once);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

const char *level_name(uint32_t level_mask) {
    switch (level_mask) {
    case DIAG_MSG_LEVEL_ERROR:
        return "error";
    case DIAG_MSG_LEVEL_INFO:
        return "info";
    case DIAG_MSG_LEVEL_MED:
        return "medium";
    case DIAG_MSG_LEVEL_LOW:
        return "low";
    default:
        return "?";
    }
}

/* Writes the head of a line: time, level, thread ID, file and line, such as
 * "2024-05-01T10:00:00.123Z error 4711 file.cpp:12 ". Returns the length of the head. */
size_t put_prefix(char *line, size_t room, const diag_msg_desc *desc) {
    timespec now;
    tm utc;
    clock_gettime(CLOCK_REALTIME, &now);
    gmtime_r(&now.tv_sec, &utc);
    const char *path = desc->fname == nullptr ? "?" : desc->fname;
    const char *slash = strrchr(path, '/');
    size_t used = strftime(line, room, "%Y-%m-%dT%H:%M:%S", &utc);
    const int n = snprintf(line + used, room - used, ".%03ldZ %s %ld %.128s:%u ", now.tv_nsec / 1000000L,
                           level_name(desc->level_mask), static_cast<long>(syscall(SYS_gettid)),
                           slash == nullptr ? path : slash + 1, static_cast<unsigned>(desc->line));
    return used + (n > 0 ? static_cast<size_t>(n) : 0);
}

/* Appends `text` to the line, without the newline at the end of `text`. Other control characters become escapes, so
 * that one call of msg_sprintf logs one line. Returns the new length of the line. */
size_t put_text(char *line, size_t used, size_t room, const char *text) {
    size_t length = strlen(text);
    if (length > 0 && text[length - 1] == '\n') {
        length--;
    }
    for (size_t i = 0; i < length && used + 5 < room; i++) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c == '\n') {
            used += static_cast<size_t>(snprintf(line + used, room - used, "\\n"));
        } else if (c < 0x20 || c == 0x7F) {
            used += static_cast<size_t>(snprintf(line + used, room - used, "\\x%02x", static_cast<unsigned>(c)));
        } else {
            line[used++] = text[i];
        }
    }
    return used;
}

} // namespace

void msg_sprintf(const diag_msg_desc *desc, ...) {
    const int fd = log_descriptor();
    if (fd < 0 || desc == nullptr || desc->fmt == nullptr) {
        return;
    }
    char text[LINE_ROOM];
    va_list args;
    va_start(args, desc);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral" // the caller passes the format
    const int n = vsnprintf(text, sizeof(text), desc->fmt, args);
#pragma GCC diagnostic pop
    va_end(args);

    char line[LINE_ROOM];
    size_t used = put_prefix(line, sizeof(line), desc);
    used = put_text(line, used, sizeof(line), n < 0 ? "(text cannot be formatted)" : text);
    line[used++] = '\n';
    write_line(fd, line, used);
}
