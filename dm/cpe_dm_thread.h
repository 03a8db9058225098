/* Thread primitives whose failure is logged: the primitive's name and "failed:" at error level. */
#ifndef CPE_DM_THREAD_H
#define CPE_DM_THREAD_H

#include <cstdint>
#include <pthread.h>

/* Returns 0 when error is 0; otherwise logs the failure of the primitive and returns -1. */
int32_t cpe_dm_thread_check(int error, const char *primitive);

/* Returns 0, or -1 with the mutex not taken. */
int32_t cpe_dm_mutex_lock(pthread_mutex_t *mutex);

/* Returns 0, or -1 with the mutex still taken. */
int32_t cpe_dm_mutex_unlock(pthread_mutex_t *mutex);

/* Sleeps for a millisecond: for who waits for a thread that cannot tell when it is done. Unlike a yield it lets threads
 * of any priority go on. */
void cpe_dm_pause();

#endif
