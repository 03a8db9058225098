#include "cpe_dm_client_util.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <poll.h>

/* Reports on standard error that standard output cannot be written. Does this for the first failure only. */
static void tell_lost_output(int error) {
    static std::atomic<bool> told;
    if (!told.exchange(true)) {
        fprintf(stderr, "cpe_dm_client: standard output cannot be written, what is printed is lost: %s\n",
                strerror(error)); // NOLINT(concurrency-mt-unsafe): the texts are constants
    }
}

/* Writes the text. Gives up on a write error, and the remaining text is lost. After a signal the writing goes on. The
 * descriptor may be non-blocking, since another process that shares it may have set O_NONBLOCK; the function then waits
 * with poll. */
static void write_text(const char *text, size_t len) {
    while (len > 0) {
        const size_t written = fwrite(text, 1, len, stdout);
        const int error = errno;
        text += written;
        len -= written;
        if (len > 0 && error == EAGAIN) {
            pollfd writable = {fileno(stdout), POLLOUT, 0};
            poll(&writable, 1, -1);
        } else if (len > 0 && error != EINTR) {
            tell_lost_output(error);
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
