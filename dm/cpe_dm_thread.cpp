#include "cpe_dm_thread.h"

#include "cpe_dm_log.h"

int32_t cpe_dm_thread_check(int error, const char *primitive) {
    if (error == 0) {
        return 0;
    }
    CPE_DM_LOG_ERROR("%s failed:", primitive);
    return -1;
}

int32_t cpe_dm_mutex_lock(pthread_mutex_t *mutex) {
    return cpe_dm_thread_check(pthread_mutex_lock(mutex), "pthread_mutex_lock");
}

int32_t cpe_dm_mutex_unlock(pthread_mutex_t *mutex) {
    return cpe_dm_thread_check(pthread_mutex_unlock(mutex), "pthread_mutex_unlock");
}

int32_t cpe_dm_mutex_leave(pthread_mutex_t *mutex) {
    const int32_t status = cpe_dm_mutex_unlock(mutex);
    if (status != 0) {
        cpe_dm_mutex_unlock(mutex);
    }
    return status;
}
