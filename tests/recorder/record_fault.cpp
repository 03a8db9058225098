// The recorder's calls of libc, any of which can be made to fail or to be slow.
#include "record_test.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <ctime>
#include <poll.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

record_fault_plan record_fault;

static bool hit() {
    const int call = ++record_fault.calls;
    return record_fault.onwards ? call >= record_fault.nth : call == record_fault.nth;
}

#define CALL(type, name, failure, error, params, args)                                                                 \
    type __real_##name params;                                                                                         \
    type __wrap_##name params {                                                                                        \
        return hit() ? (errno = (error), failure) : __real_##name args;                                                \
    }

extern "C" {
CALL(int, open, -1, EMFILE, (const char *path, int flags, mode_t mode), (path, flags, mode))
CALL(int, fstat, -1, EIO, (int fd, struct stat *status), (fd, status))
CALL(int, flock, -1, ENOLCK, (int fd, int operation), (fd, operation))
CALL(int, fchmod, -1, EPERM, (int fd, mode_t mode), (fd, mode))
CALL(int, fcntl, -1, EMFILE, (int fd, int command, int value), (fd, command, value))
CALL(int, getrlimit, -1, EINVAL, (int resource, rlimit *value), (resource, value))
CALL(int, fdatasync, -1, EIO, (int fd), (fd))
CALL(int, clock_gettime, -1, EINVAL, (clockid_t clock, timespec *now), (clock, now))
CALL(tm *, gmtime_r, nullptr, EOVERFLOW, (const time_t *time, tm *utc), (time, utc))
CALL(int, uname, -1, EFAULT, (utsname * machine), (machine))
CALL(int, poll, -1, ENOMEM, (pollfd * fds, nfds_t count, int timeout), (fds, count, timeout))
CALL(int, vsnprintf, -1, ENOMEM, (char *text, size_t size, const char *format, va_list values),
     (text, size, format, values))
CALL(int, pthread_once, EINVAL, 0, (pthread_once_t * once, void (*start)()), (once, start))
CALL(int, pthread_mutex_lock, EINVAL, 0, (pthread_mutex_t * mutex), (mutex))
CALL(int, pthread_cond_wait, EINVAL, 0, (pthread_cond_t * cond, pthread_mutex_t *mutex), (cond, mutex))
CALL(int, pthread_cond_timedwait, EINVAL, 0, (pthread_cond_t * cond, pthread_mutex_t *mutex, const timespec *until),
     (cond, mutex, until))
CALL(int, pthread_cond_signal, EINVAL, 0, (pthread_cond_t * cond), (cond))
CALL(int, pthread_condattr_init, ENOMEM, 0, (pthread_condattr_t * attr), (attr))
CALL(int, pthread_condattr_setclock, EINVAL, 0, (pthread_condattr_t * attr, clockid_t clock), (attr, clock))
CALL(int, pthread_cond_init, ENOMEM, 0, (pthread_cond_t * cond, const pthread_condattr_t *attr), (cond, attr))
CALL(int, pthread_atfork, ENOMEM, 0, (void (*before)(), void (*parent)(), void (*child)()), (before, parent, child))
CALL(int, pthread_sigmask, EINVAL, 0, (int how, const sigset_t *set, sigset_t *previous), (how, set, previous))
CALL(int, pthread_create, EAGAIN, 0,
     (pthread_t * thread, const pthread_attr_t *attr, void *(*start)(void *), void *arg), (thread, attr, start, arg))

void *__real_dlsym(void *library, const char *name);
ssize_t __real_write(int fd, const void *bytes, size_t len);

/* What is never found cannot be passed through to. */
void *__wrap_dlsym(void *library, const char *name) {
    return !record_fault.onwards && hit() ? nullptr : __real_dlsym(library, name);
}

ssize_t __wrap_write(int fd, const void *bytes, size_t len) {
    if (record_fault.slow_us != 0) {
        record_fault.slow_calls += gettid() == getpid();
        usleep(static_cast<useconds_t>(record_fault.slow_us));
    }
    return hit() ? (errno = ENOSPC, -1) : __real_write(fd, bytes, len);
}
}
