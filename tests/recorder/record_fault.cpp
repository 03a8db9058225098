/* Wraps the calls of libc that only the recorder makes, so that they can be made to fail. The names are those in the
 * recorder's object files, such as open64 for open. */
#include "record_fault.h"

#include "fault_call.h"

#include <atomic>
#include <chrono>
#include <cstdarg>
#include <ctime>
#include <poll.h>
#include <sys/utsname.h>
#include <thread>
#include <unistd.h>

static std::atomic<int> writes_do;
static std::atomic<int> begun;
static std::atomic<int> begun_by_main;

void record_fault_writes(record_writes how) {
    writes_do = how;
}

int record_fault_begun() {
    return begun;
}

int record_fault_begun_by_main() {
    return begun_by_main;
}

/* Defines the wrapper of a function of libc. When a call is to fail, the wrapper sets errno to `error` and returns -1.
 */
#define FILE_CALL(name, error, params, args) FAULT_CALL(int, name, true, fault_with_errno(error, -1), params, args)

extern "C" {
FILE_CALL(open64, EMFILE, (const char *path, int flags, mode_t mode), (path, flags, mode))
FILE_CALL(fstat64, EIO, (int fd, void *status), (fd, status))
FILE_CALL(lstat64, EIO, (const char *path, void *status), (path, status))
FILE_CALL(fstatvfs64, EIO, (int fd, void *status), (fd, status))
FILE_CALL(fcntl64, EMFILE, (int fd, int command, int value), (fd, command, value))
FILE_CALL(getrlimit64, EINVAL, (int resource, void *value), (resource, value))
FILE_CALL(ftruncate64, EIO, (int fd, int64_t length), (fd, length))
FILE_CALL(truncate64, EIO, (const char *path, int64_t length), (path, length))
FILE_CALL(flock, ENOLCK, (int fd, int operation), (fd, operation))
FILE_CALL(fchmod, EPERM, (int fd, mode_t mode), (fd, mode))
FILE_CALL(fdatasync, EIO, (int fd), (fd))
FILE_CALL(rename, EIO, (const char *from, const char *to), (from, to))
FILE_CALL(unlink, EIO, (const char *path), (path))
FILE_CALL(getrusage, EINVAL, (int who, void *usage), (who, usage))
FILE_CALL(uname, EFAULT, (utsname * machine), (machine))
FILE_CALL(poll, ENOMEM, (pollfd * fds, nfds_t count, int timeout), (fds, count, timeout))
FAULT_CALL(tm *, gmtime_r, true, fault_with_errno(EOVERFLOW, nullptr), (const time_t *time, tm *utc), (time, utc))

/* vsnprintf and __vsnprintf_chk are one point of failure: the compiler may call the latter in place of the former. */
__attribute__((weak)) int __real_vsnprintf(char *text, size_t size, const char *format, va_list values);
__attribute__((weak)) int __real___vsnprintf_chk(char *text, size_t size, int flag, size_t room, const char *format,
                                                 va_list values);
__attribute__((weak)) ssize_t __real_write(int fd, const void *bytes, size_t len);

[[gnu::format(printf, 3, 0)]] int __wrap_vsnprintf(char *text, size_t size, const char *format, va_list values) {
    return fault_hit("vsnprintf") ? -1 : __real_vsnprintf(text, size, format, values);
}

[[gnu::format(printf, 5, 0)]] int __wrap___vsnprintf_chk(char *text, size_t size, int flag, size_t room,
                                                         const char *format, va_list values) {
    return fault_hit("vsnprintf") ? -1 : __real___vsnprintf_chk(text, size, flag, room, format, values);
}

/* A write that is made to fail writes half of its bytes, and the next write of the thread fails with ENOSPC. A write to
 * standard error fails at once. */
ssize_t __wrap_write(int fd, const void *bytes, size_t len) {
    static thread_local bool was_short;
    const int how = fd == STDERR_FILENO ? RECORD_WRITES_GO : writes_do.load();
    if (how != RECORD_WRITES_GO) {
        begun++;
        begun_by_main += gettid() == getpid();
    }
    if (how == RECORD_WRITES_SLEEP) {
        usleep(150000);
    }
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(250);
    while (how == RECORD_WRITES_SPIN && std::chrono::steady_clock::now() < until) {
    }
    while (how == RECORD_WRITES_HANG && writes_do == RECORD_WRITES_HANG) {
        usleep(1000);
    }
    if (!was_short && !fault_hit("write")) {
        return __real_write(fd, bytes, len);
    }
    was_short = !was_short && fd != STDERR_FILENO && len > 1;
    return was_short ? __real_write(fd, bytes, len / 2) : fault_with_errno(ENOSPC, ssize_t{-1});
}
}
