/* Thread primitives whose failure is logged: the primitive's name and "failed:" at error level. */
#ifndef CPE_DM_THREAD_H
#define CPE_DM_THREAD_H

#include <cstdint>
#include <pthread.h>

/* Returns 0 when error is 0; otherwise logs the failure of the primitive and returns -1. */
int32_t cpe_dm_thread_check(int error, const char *primitive);

/* Returns 0, or -1 with the mutex not taken. */
int32_t cpe_dm_mutex_lock(pthread_mutex_t *mutex);

/* Returns 0, or -1 when releasing failed. A mutex that stays taken stops every thread that wants it, so a release that
 * fails is tried once more before it is reported. */
int32_t cpe_dm_mutex_unlock(pthread_mutex_t *mutex);

#endif
