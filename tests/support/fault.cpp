#include "fault.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstring>
#include <ctime>
#include <mutex>
#include <poll.h>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace {

/* A spin lock, as calls of pthread_mutex_lock may be among the calls that are counted. */
struct fault_spin {
    std::atomic_flag taken;
    void lock() {
        while (taken.test_and_set(std::memory_order_acquire)) {
        }
    }
    void unlock() {
        taken.clear(std::memory_order_release);
    }
};

/* Which call of which point fails. */
struct fault_plan {
    const char *point = nullptr;
    int nth = 0;
    bool onwards = false;
};

struct fault_books {
    fault_spin lock;
    fault_plan plan;
    int calls = 0;
    std::vector<std::string> fired;
    std::set<std::string> points;
    std::set<void *> live;
    std::set<pthread_mutex_t *> stuck;
};

/* Made at the first use, because a call may come before the variables of this file are initialised. Never released. */
fault_books &books() {
    static auto *const the_books = new fault_books;
    return *the_books;
}

std::atomic<bool> armed;
std::atomic<int> waiting;
std::atomic<int> slow_us;
std::atomic<int> slow_calls;

bool fails_onwards() {
    const std::lock_guard guard(books().lock);
    return books().plan.onwards;
}

template <typename T> T with_errno(int error, T result) {
    errno = error;
    return result;
}

} // namespace

/* Wraps a function: a call that counts gives the result `failure` when the plan lets it fail. The real function is a
 * weak reference, because a program that is not linked with --wrap for the function has no real function under this
 * name. */
#define FAULT_CALL(type, name, counts, failure, params, args)                                                          \
    __attribute__((weak)) type __real_##name params;                                                                   \
    type __wrap_##name params {                                                                                        \
        return (counts) && fault_hit(#name) ? (failure) : __real_##name args;                                          \
    }

extern "C" {
FAULT_CALL(int, open, true, with_errno(EMFILE, -1), (const char *path, int flags, mode_t mode), (path, flags, mode))
FAULT_CALL(int, fstat, true, with_errno(EIO, -1), (int fd, struct stat *status), (fd, status))
FAULT_CALL(int, flock, true, with_errno(ENOLCK, -1), (int fd, int operation), (fd, operation))
FAULT_CALL(int, fchmod, true, with_errno(EPERM, -1), (int fd, mode_t mode), (fd, mode))
FAULT_CALL(int, fcntl, true, with_errno(EMFILE, -1), (int fd, int command, int value), (fd, command, value))
FAULT_CALL(int, getrlimit, true, with_errno(EINVAL, -1), (int resource, rlimit *value), (resource, value))
FAULT_CALL(int, fdatasync, true, with_errno(EIO, -1), (int fd), (fd))
FAULT_CALL(int, clock_gettime, true, with_errno(EINVAL, -1), (clockid_t clock, timespec *now), (clock, now))
FAULT_CALL(tm *, gmtime_r, true, with_errno(EOVERFLOW, nullptr), (const time_t *time, tm *utc), (time, utc))
FAULT_CALL(int, uname, true, with_errno(EFAULT, -1), (utsname * machine), (machine))
FAULT_CALL(int, poll, true, with_errno(ENOMEM, -1), (pollfd * fds, nfds_t cnt, int timeout), (fds, cnt, timeout))
FAULT_CALL(int, vsnprintf, true, with_errno(ENOMEM, -1), (char *text, size_t size, const char *format, va_list values),
           (text, size, format, values))
FAULT_CALL(int, pthread_once, true, EINVAL, (pthread_once_t * once, void (*start)()), (once, start))
FAULT_CALL(int, pthread_atfork, true, ENOMEM, (void (*before)(), void (*parent)(), void (*child)()),
           (before, parent, child))
FAULT_CALL(int, pthread_sigmask, true, EINVAL, (int how, const sigset_t *set, sigset_t *previous), (how, set, previous))
FAULT_CALL(int, pthread_mutex_lock, fault_counts(mutex), EINVAL, (pthread_mutex_t * mutex), (mutex))
FAULT_CALL(int, pthread_mutex_destroy, fault_counts(mutex), EBUSY, (pthread_mutex_t * mutex), (mutex))
FAULT_CALL(int, pthread_condattr_init, true, ENOMEM, (pthread_condattr_t * attr), (attr))
FAULT_CALL(int, pthread_condattr_setclock, true, EINVAL, (pthread_condattr_t * attr, clockid_t clock), (attr, clock))
FAULT_CALL(int, pthread_cond_init, true, ENOMEM, (pthread_cond_t * cond, const pthread_condattr_t *attr), (cond, attr))
FAULT_CALL(int, pthread_cond_timedwait, true, EINVAL,
           (pthread_cond_t * cond, pthread_mutex_t *mutex, const timespec *until), (cond, mutex, until))
FAULT_CALL(int, pthread_cond_signal, true, EINVAL, (pthread_cond_t * cond), (cond))
FAULT_CALL(int, pthread_cond_broadcast, true, EINVAL, (pthread_cond_t * cond), (cond))
FAULT_CALL(int, pthread_cond_destroy, true, EBUSY, (pthread_cond_t * cond), (cond))
FAULT_CALL(int, pthread_create, true, EAGAIN,
           (pthread_t * thread, const pthread_attr_t *attr, void *(*start)(void *), void *arg),
           (thread, attr, start, arg))
FAULT_CALL(int, pthread_join, true, EINVAL, (pthread_t thread, void **result), (thread, result))

__attribute__((weak)) void *__real_calloc(size_t count, size_t size);
__attribute__((weak)) void __real_free(void *memory);
__attribute__((weak)) int __real_pthread_mutex_init(pthread_mutex_t *mutex, const pthread_mutexattr_t *attr);
__attribute__((weak)) int __real_pthread_mutex_unlock(pthread_mutex_t *mutex);
__attribute__((weak)) int __real_pthread_cond_wait(pthread_cond_t *cond, pthread_mutex_t *mutex);
__attribute__((weak)) void *__real_dlsym(void *library, const char *name);
__attribute__((weak)) ssize_t __real_write(int fd, const void *bytes, size_t len);

void *__wrap_calloc(size_t count, size_t size) {
    if (fault_hit("calloc")) {
        return nullptr;
    }
    void *memory = __real_calloc(count, size);
    const std::lock_guard guard(books().lock);
    books().live.insert(memory);
    return memory;
}

void __wrap_free(void *memory) {
    {
        const std::lock_guard guard(books().lock);
        books().live.erase(memory);
    }
    __real_free(memory);
}

int __wrap_pthread_mutex_init(pthread_mutex_t *mutex, const pthread_mutexattr_t *attr) {
    if (!fault_counts(mutex)) {
        return __real_pthread_mutex_init(mutex, attr);
    }
    {
        const std::lock_guard guard(books().lock);
        books().stuck.erase(mutex);
    }
    return fault_hit("pthread_mutex_init") ? ENOMEM : __real_pthread_mutex_init(mutex, attr);
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t *mutex) {
    if (!fault_counts(mutex)) {
        return __real_pthread_mutex_unlock(mutex);
    }
    const bool fail = fault_hit("pthread_mutex_unlock");
    {
        const std::lock_guard guard(books().lock);
        fail ? (void)books().stuck.insert(mutex) : (void)books().stuck.erase(mutex);
    }
    return fail ? EPERM : __real_pthread_mutex_unlock(mutex);
}

int __wrap_pthread_cond_wait(pthread_cond_t *cond, pthread_mutex_t *mutex) {
    if (fault_hit("pthread_cond_wait")) {
        return EINVAL;
    }
    waiting++;
    const int error = __real_pthread_cond_wait(cond, mutex);
    waiting--;
    return error;
}

/* Does not fail in a plan with onwards: a library that never finds the real functions could pass no call through to
 * them. */
void *__wrap_dlsym(void *library, const char *name) {
    return !fails_onwards() && fault_hit("dlsym") ? nullptr : __real_dlsym(library, name);
}

ssize_t __wrap_write(int fd, const void *bytes, size_t len) {
    if (slow_us != 0) {
        slow_calls += gettid() == getpid();
        usleep(static_cast<useconds_t>(slow_us));
    }
    return fault_hit("write") ? with_errno(ENOSPC, -1) : __real_write(fd, bytes, len);
}
}

void fault_arm(const char *point, int nth, bool onwards) {
    const std::lock_guard guard(books().lock);
    armed = true;
    books().plan = {point, nth, onwards};
    books().calls = 0;
    books().fired.clear();
    books().points.clear();
}

void fault_clear() {
    const std::lock_guard guard(books().lock);
    armed = false;
    books().plan = {};
    for (pthread_mutex_t *mutex : books().stuck) {
        __real_pthread_mutex_unlock(mutex);
    }
    books().stuck.clear();
}

std::vector<std::string> fault_fired() {
    const std::lock_guard guard(books().lock);
    return books().fired;
}

std::vector<std::string> fault_points() {
    const std::lock_guard guard(books().lock);
    return {books().points.begin(), books().points.end()};
}

int fault_calls() {
    const std::lock_guard guard(books().lock);
    return books().calls;
}

bool fault_hit(const char *point) {
    if (!armed) {
        return false;
    }
    const std::lock_guard guard(books().lock);
    const fault_plan &plan = books().plan;
    if (!armed || (plan.point != nullptr && strcmp(plan.point, point) != 0)) {
        return false;
    }
    const int call = ++books().calls;
    books().points.insert(point);
    const bool fail = call == plan.nth || (plan.onwards && call > plan.nth);
    if (fail) {
        books().fired.emplace_back(point);
    }
    return fail;
}

int fault_slow_writes(int microseconds) {
    slow_us = microseconds;
    return slow_calls.exchange(0);
}

size_t fault_live_allocations() {
    const std::lock_guard guard(books().lock);
    return books().live.size();
}

bool fault_waiting() {
    return waiting != 0;
}

__attribute__((weak)) bool fault_counts(const pthread_mutex_t *) {
    return true;
}
