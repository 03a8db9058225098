/* Help with threads: a scoped lock, the start of a thread, and a bell, with which one thread wakes another thread. */
#ifndef CPE_DM_TOOL_THREAD_H
#define CPE_DM_TOOL_THREAD_H

#include <cstdint>
#include <pthread.h>

struct cpe_dm_tool_guard {
    explicit cpe_dm_tool_guard(pthread_mutex_t *mutex) : mutex_(mutex) {
        pthread_mutex_lock(mutex_);
    }
    ~cpe_dm_tool_guard() {
        pthread_mutex_unlock(mutex_);
    }
    cpe_dm_tool_guard(const cpe_dm_tool_guard &) = delete;
    cpe_dm_tool_guard &operator=(const cpe_dm_tool_guard &) = delete;

    pthread_mutex_t *mutex_;
};

/* Creates a bell: a descriptor that becomes readable when cpe_dm_tool_ring is called. The caller closes the descriptor.
 * Returns -1, after a message, when the system has no descriptor left. */
int cpe_dm_tool_new_bell();

void cpe_dm_tool_ring(int bell);

/* Waits until the bell is rung, but not beyond until_ms (monotonic clock, ms). Returns at once if the bell was rung
 * before the call. Returns true and silences the bell, or returns false when the bell was not rung in time. */
bool cpe_dm_tool_wait(int bell, int64_t until_ms);

/* Starts a thread. Returns false, after a message, when the system cannot create another thread. */
bool cpe_dm_tool_start_thread(pthread_t *thread, void *(*run)(void *));

/* The time from now until then_ms (monotonic clock, ms), as a timeout for poll, in ms. Returns 0 when then_ms has
 * passed, and never more than an hour. */
int cpe_dm_tool_ms_until(int64_t then_ms);

#endif
