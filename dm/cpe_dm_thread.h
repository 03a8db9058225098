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

/* As cpe_dm_mutex_unlock, for who can do nothing about a mutex that stays taken: it would stop every thread that wants
 * it, so a release that failed, which -1 reports, has been tried once more. */
int32_t cpe_dm_mutex_leave(pthread_mutex_t *mutex);

#endif
