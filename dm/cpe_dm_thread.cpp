#include "cpe_dm_thread.h"

#include "cpe_dm_log.h"

#include <ctime>

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

void cpe_dm_pause() {
    const timespec millisecond = {0, 1000000};
    nanosleep(&millisecond, nullptr);
}
