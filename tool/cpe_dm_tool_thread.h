/* What threads share: a lock for a scope, and a bell that one thread rings and another waits for. */
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

/* A new bell: a descriptor that is readable while the bell rings. -1: the system has none left; a message has been
 * written. */
int cpe_dm_tool_new_bell();

void cpe_dm_tool_ring(int bell);

/* Waits until the bell rings, or until the given moment (monotonic clock, ms). Does not wait when the bell rings
 * already. Silences the bell. False: the bell did not ring. */
bool cpe_dm_tool_wait(int bell, int64_t until_ms);

/* Starts a thread. False: the system has none left; a message has been written. */
bool cpe_dm_tool_start_thread(pthread_t *thread, void *(*run)(void *));

/* The time until the given moment as a timeout of poll, in ms: from 0 to an hour, rounded up. */
int cpe_dm_tool_ms_until(int64_t then_ms);

#endif
