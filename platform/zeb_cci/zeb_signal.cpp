#include "zeb_signal.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <pthread.h>

namespace {

constexpr uint32_t SIGNAL_OPEN = 0x5349474E;

struct os_signal {
    pthread_mutex_t lock;
    pthread_cond_t wake;
    uint32_t state; // SIGNAL_OPEN while a notifier uses the block
    uint32_t raised;
};
static_assert(sizeof(os_signal) <= sizeof(zeb_cci_os_params) && alignof(os_signal) <= alignof(zeb_cci_os_params),
              "the signal fits into the OS-parameter block");

os_signal *signal_of(zeb_cci_os_params *os_params) {
    return reinterpret_cast<os_signal *>(os_params);
}

timespec deadline_after(uint32_t timeout_ms) {
    timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    t.tv_sec += static_cast<time_t>(timeout_ms / 1000);
    t.tv_nsec += static_cast<long>(timeout_ms % 1000) * 1000000L;
    if (t.tv_nsec >= 1000000000L) {
        t.tv_sec++;
        t.tv_nsec -= 1000000000L;
    }
    return t;
}

} // namespace

bool zeb_signal_open(zeb_cci_os_params *os_params) {
    os_signal *s = signal_of(os_params);
    if (s->state == SIGNAL_OPEN) {
        return false;
    }
    memset(os_params, 0, sizeof(*os_params));
    pthread_condattr_t monotonic;
    pthread_condattr_init(&monotonic);
    pthread_condattr_setclock(&monotonic, CLOCK_MONOTONIC);
    pthread_mutex_init(&s->lock, nullptr);
    pthread_cond_init(&s->wake, &monotonic);
    pthread_condattr_destroy(&monotonic);
    s->state = SIGNAL_OPEN;
    return true;
}

void zeb_signal_raise(zeb_cci_os_params *os_params) {
    os_signal *s = signal_of(os_params);
    pthread_mutex_lock(&s->lock);
    s->raised = 1;
    pthread_cond_broadcast(&s->wake);
    pthread_mutex_unlock(&s->lock);
}

// The mutex and the condition variable are not destroyed: a waiter may still be on its way out, and neither holds
// anything outside the block.
void zeb_signal_close(zeb_cci_os_params *os_params) {
    os_signal *s = signal_of(os_params);
    pthread_mutex_lock(&s->lock);
    s->state = 0;
    pthread_cond_broadcast(&s->wake);
    pthread_mutex_unlock(&s->lock);
}

// A block that no notifier uses is never raised, so there is nothing to wait for.
void zeb_cci_os_signal_wait(zeb_cci_os_params *os_params, uint32_t timeout_ms) {
    if (os_params == nullptr) {
        return;
    }
    os_signal *s = signal_of(os_params);
    const timespec deadline = deadline_after(timeout_ms);
    pthread_mutex_lock(&s->lock);
    int status = 0;
    while (s->state == SIGNAL_OPEN && s->raised == 0 && status != ETIMEDOUT) {
        status = timeout_ms == 0 ? pthread_cond_wait(&s->wake, &s->lock)
                                 : pthread_cond_timedwait(&s->wake, &s->lock, &deadline);
    }
    s->raised = 0;
    pthread_mutex_unlock(&s->lock);
}
