#include "cpe_dm_client_util.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <unistd.h>

/* Tells, the first time, that standard output does not take what is printed. */
static void tell_lost_output(int error) {
    static std::atomic<bool> told;
    if (!told.exchange(true)) {
        fprintf(stderr, "cpe_dm_client: standard output cannot be written, what is printed is lost: %s\n",
                strerror(error)); // NOLINT(concurrency-mt-unsafe): constant texts
    }
}

/* Writes the text, or what can be written of it. A write that a signal interrupts is tried again, and one that would
 * block, where whoever shares the descriptor has made it so, waits. */
static void write_text(const char *text, size_t len) {
    while (len > 0) {
        const ssize_t written = write(STDOUT_FILENO, text, len);
        if (written >= 0) {
            text += written;
            len -= static_cast<size_t>(written);
        } else if (errno == EAGAIN) {
            pollfd writable = {STDOUT_FILENO, POLLOUT, 0};
            poll(&writable, 1, -1);
        } else if (errno != EINTR) {
            tell_lost_output(errno);
            return;
        }
    }
}

void cpe_dm_client_print(const char *format, ...) {
    char text[512];
    va_list args;
    va_start(args, format);
    const int len = vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    if (len < 0) {
        return;
    }
    const auto room = static_cast<uint32_t>(len) + 1;
    const auto longer = room > sizeof(text) ? cpe_dm_client_alloc_list<char>(room) : nullptr;
    if (!longer && room > sizeof(text)) {
        tell_lost_output(ENOMEM);
    }
    if (longer) {
        va_start(args, format);
        vsnprintf(longer.get(), room, format, args);
        va_end(args);
    }
    flockfile(stdout);
    write_text(longer ? longer.get() : text, longer ? room - 1 : strlen(text));
    funlockfile(stdout);
}
