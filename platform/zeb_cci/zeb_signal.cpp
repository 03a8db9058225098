#include "zeb_signal.h"
#include "zeb_endpoint.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>

namespace {

/* The part of the signal that lies in the caller's block. The lock of the hub guards it. */
struct os_signal {
    uint32_t in_use; /* 1: a notifier uses the signal */
    uint32_t raised;
    uint32_t waiting; /* threads that wait */
};
static_assert(sizeof(os_signal) <= sizeof(zeb_cci_os_params) && alignof(os_signal) <= alignof(zeb_cci_os_params),
              "the signal fits into the OS-parameter block");

/* One mutex and one condition for all signals. They do not go into the blocks, because their sizes differ between
 * machines and may exceed the room of a block. */
struct signal_hub {
    std::mutex lock;
    std::condition_variable changed;
};

/* The hub is never destroyed, as the process may exit while a thread waits. It needs no heap, so that a wait never
 * fails. */
signal_hub &hub() {
    alignas(signal_hub) static unsigned char place[sizeof(signal_hub)];
    static signal_hub *const instance = new (place) signal_hub;
    return *instance;
}

os_signal *signal_of(zeb_cci_os_params *os_params) {
    return reinterpret_cast<os_signal *>(os_params);
}

} // namespace

bool zeb_signal_open(zeb_cci_os_params *os_params) {
    signal_hub &h = hub();
    os_signal *s = signal_of(os_params);
    std::lock_guard guard(h.lock);
    if (s->in_use != 0) {
        return false;
    }
    *s = {1, 0, 0};
    return true;
}

void zeb_signal_raise(zeb_cci_os_params *os_params) {
    signal_hub &h = hub();
    std::lock_guard guard(h.lock);
    signal_of(os_params)->raised = 1;
    h.changed.notify_all();
}

void zeb_signal_close(zeb_cci_os_params *os_params) {
    signal_hub &h = hub();
    os_signal *s = signal_of(os_params);
    std::unique_lock guard(h.lock);
    s->in_use = 0;
    h.changed.notify_all();
    h.changed.wait(guard, [s] { return s->waiting == 0; });
}

void zeb_cci_os_signal_wait(zeb_cci_os_params *os_params, uint32_t timeout_ms) {
    if (os_params == nullptr || zeb_replay_wait(os_params, timeout_ms)) {
        return;
    }
    signal_hub &h = hub();
    os_signal *s = signal_of(os_params);
    std::unique_lock guard(h.lock);
    const auto over = [s] { return s->in_use == 0 || s->raised != 0; };
    s->waiting++;
    if (timeout_ms == 0) {
        h.changed.wait(guard, over);
    } else {
        h.changed.wait_for(guard, std::chrono::milliseconds(timeout_ms), over);
    }
    s->raised = 0;
    s->waiting--;
    h.changed.notify_all();
}
