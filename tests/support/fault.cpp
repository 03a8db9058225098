#include "fault.h"
#include "fault_call.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <mutex>
#include <set>

namespace {

/* A spin lock. A mutex will not do, because calls of pthread_mutex_lock may be counted themselves. */
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

/* Which calls of which point fail. */
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

bool fails_onwards() {
    const std::lock_guard guard(books().lock);
    return books().plan.onwards;
}

} // namespace

extern "C" {
FAULT_CALL(int, clock_gettime, true, fault_with_errno(EINVAL, -1), (clockid_t clock, timespec *now), (clock, now))
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

/* When fault_arm was called with `onwards`, dlsym does not fail. If every call of dlsym failed, a library would never
 * find the real functions, and could not call them. */
void *__wrap_dlsym(void *library, const char *name) {
    return !fails_onwards() && fault_hit("dlsym") ? nullptr : __real_dlsym(library, name);
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

[[gnu::noinline]] static bool armed_hit(const char *point) {
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

/* While no fault is armed, this function takes no lock, so that a thread may be cancelled in it at any instruction. */
bool fault_hit(const char *point) {
    return armed && armed_hit(point);
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
