#include "zeb_signal.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>

namespace {

/* The part of a signal that is stored in the caller's OS-parameter block. hub->lock guards all fields. */
struct os_signal {
    uint32_t in_use; /* `generation` of the process whose notifier uses the block; 0: no notifier uses it */
    uint32_t raised;
    uint32_t waiting; /* the number of threads that wait for the signal */
};
static_assert(sizeof(os_signal) <= sizeof(zeb_cci_os_params) && alignof(os_signal) <= alignof(zeb_cci_os_params),
              "the signal fits into the OS-parameter block");

/* One mutex and one condition variable, which all signals share. They are not stored in the OS-parameter blocks,
 * because on some machines they are larger than a block. */
struct signal_hub {
    std::mutex lock;
    std::condition_variable changed;
};

/* The hub is never destroyed, as the process may exit while a thread waits. The hub is not allocated on the heap, so
 * that a wait cannot fail for lack of memory. */
alignas(signal_hub) unsigned char hub_place[sizeof(signal_hub)];
signal_hub *const hub = new (hub_place) signal_hub;

/* The generation of this process: 1 in the first process, and in a child of fork one more than in its parent. If
 * `in_use` of a block is an earlier generation, a notifier of the parent used the block, and the child may use it. */
uint32_t generation = 1;

os_signal *signal_of(zeb_cci_os_params *os_params) {
    return reinterpret_cast<os_signal *>(os_params);
}

} // namespace

bool zeb_signal_open(zeb_cci_os_params *os_params) {
    os_signal *s = signal_of(os_params);
    std::lock_guard guard(hub->lock);
    if (s->in_use == generation) {
        return false;
    }
    *s = {generation, 0, 0};
    return true;
}

void zeb_signal_raise(zeb_cci_os_params *os_params) {
    std::lock_guard guard(hub->lock);
    signal_of(os_params)->raised = 1;
    hub->changed.notify_all();
}

void zeb_signal_close(zeb_cci_os_params *os_params) {
    os_signal *s = signal_of(os_params);
    std::unique_lock guard(hub->lock);
    s->in_use = 0;
    hub->changed.notify_all();
    hub->changed.wait(guard, [s] { return s->waiting == 0; });
}

void zeb_signal_wait(zeb_cci_os_params *os_params, uint32_t timeout_ms) {
    os_signal *s = signal_of(os_params);
    std::unique_lock guard(hub->lock);
    const auto over = [s] { return s->in_use != generation || s->raised != 0; };
    s->waiting++;
    if (timeout_ms == 0) {
        hub->changed.wait(guard, over);
    } else {
        hub->changed.wait_for(guard, std::chrono::milliseconds(timeout_ms), over);
    }
    s->raised = 0;
    s->waiting--;
    hub->changed.notify_all();
}

/* The child makes a new hub: a thread that does not exist in the child may have held the mutex at the fork. */
void zeb_signal_forget_parent() {
    new (hub_place) signal_hub;
    generation++;
}
