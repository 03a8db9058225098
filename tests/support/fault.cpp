#include "fault.h"

#include "cpe_dm_interface.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <thread>

namespace {

/* Which call of which point fails. */
struct fault_plan {
    bool armed = false;
    const char *point = nullptr;
    int nth = 0;
    bool onwards = false;
};

struct fault_books {
    std::mutex lock;
    fault_plan plan;
    int calls = 0;
    std::vector<std::string> fired;
    std::set<std::string> points;
    std::set<void *> live;
    std::set<pthread_mutex_t *> stuck;
};

/* Made at the first use, which may come before this file's own variables are, and never released. */
fault_books &books() {
    static auto *const the_books = new fault_books;
    return *the_books;
}

std::atomic<bool> thread_waiting;

bool of_module(const pthread_mutex_t *mutex) {
    return mutex == &cpe_dm_lock || mutex == &cpe_dm_state.cmdq.mutex;
}

} // namespace

/* Takes a thread primitive over: a call that counts fails with the given error when it has to. */
#define THREAD_PRIMITIVE(name, counts, error, params, args)                                                            \
    int __real_##name params;                                                                                          \
    int __wrap_##name params {                                                                                         \
        return (counts) && fault_hit(#name) ? (error) : __real_##name args;                                            \
    }

extern "C" {
THREAD_PRIMITIVE(pthread_mutex_lock, of_module(mutex), EINVAL, (pthread_mutex_t * mutex), (mutex))
THREAD_PRIMITIVE(pthread_mutex_destroy, of_module(mutex), EBUSY, (pthread_mutex_t * mutex), (mutex))
THREAD_PRIMITIVE(pthread_cond_init, true, ENOMEM, (pthread_cond_t * cond, const pthread_condattr_t *a), (cond, a))
THREAD_PRIMITIVE(pthread_cond_timedwait, true, EINVAL,
                 (pthread_cond_t * cond, pthread_mutex_t *mutex, const timespec *until), (cond, mutex, until))
THREAD_PRIMITIVE(pthread_cond_signal, true, EINVAL, (pthread_cond_t * cond), (cond))
THREAD_PRIMITIVE(pthread_cond_broadcast, true, EINVAL, (pthread_cond_t * cond), (cond))
THREAD_PRIMITIVE(pthread_cond_destroy, true, EBUSY, (pthread_cond_t * cond), (cond))
THREAD_PRIMITIVE(pthread_create, true, EAGAIN,
                 (pthread_t * thread, const pthread_attr_t *attr, void *(*start)(void *), void *arg),
                 (thread, attr, start, arg))
THREAD_PRIMITIVE(pthread_join, true, EINVAL, (pthread_t thread, void **result), (thread, result))

void *__real_calloc(size_t count, size_t size);
void __real_free(void *memory);
int __real_pthread_mutex_init(pthread_mutex_t *mutex, const pthread_mutexattr_t *attr);
int __real_pthread_mutex_unlock(pthread_mutex_t *mutex);
int __real_pthread_cond_wait(pthread_cond_t *cond, pthread_mutex_t *mutex);

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
    if (of_module(mutex)) {
        const std::lock_guard guard(books().lock);
        books().stuck.erase(mutex);
    }
    return of_module(mutex) && fault_hit("pthread_mutex_init") ? ENOMEM : __real_pthread_mutex_init(mutex, attr);
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t *mutex) {
    if (!of_module(mutex)) {
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
    thread_waiting = true;
    const int error = __real_pthread_cond_wait(cond, mutex);
    thread_waiting = false;
    return error;
}
}

void fault_arm(const char *point, int nth, bool onwards) {
    const std::lock_guard guard(books().lock);
    books().plan = {true, point, nth, onwards};
    books().calls = 0;
    books().fired.clear();
    books().points.clear();
}

void fault_clear() {
    const std::lock_guard guard(books().lock);
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

bool fault_hit(const char *point) {
    const std::lock_guard guard(books().lock);
    const fault_plan &plan = books().plan;
    if (!plan.armed || (plan.point != nullptr && strcmp(plan.point, point) != 0)) {
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

size_t fault_live_allocations() {
    const std::lock_guard guard(books().lock);
    return books().live.size();
}

bool fault_settle(int timeout_ms) {
    cpe_dm_cmdq &queue = cpe_dm_state.cmdq;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    while (std::chrono::steady_clock::now() < end) {
        const bool idle = thread_waiting && std::atomic_ref(queue.count).load() == 0;
        if (idle || std::atomic_ref(queue.ended).load() != 0 || std::atomic_ref(queue.running).load() == 0) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
    return false;
}
