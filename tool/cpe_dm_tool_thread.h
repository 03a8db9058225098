/* What threads share: a lock for a scope, and a bell that one rings and another waits for. */
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

/* A new bell: a descriptor that is readable while it rings. -1: there is none to be had, of which a message has been
 * written. */
int cpe_dm_tool_new_bell();

void cpe_dm_tool_ring(int bell);

/* Waits until the bell rings or the moment (monotonic clock, ms) has come, at once when it rings already; silences it.
 * False when it did not ring. */
bool cpe_dm_tool_wait(int bell, int64_t until_ms);

/* Starts a thread; false when there is none to be had, of which a message has been written. */
bool cpe_dm_tool_start_thread(pthread_t *thread, void *(*run)(void *));

/* What poll waits, in ms, for a moment to come: from 0 to an hour, rounded up. */
int cpe_dm_tool_ms_until(int64_t then_ms);

#endif
