/* Defines the functions of fault.h that depend on the module. */
#include "cpe_dm_interface.h"
#include "fault.h"

#include <atomic>
#include <chrono>
#include <thread>

bool fault_counts(const pthread_mutex_t *mutex) {
    return mutex == &cpe_dm_lock || mutex == &cpe_dm_state.cmdq.mutex;
}

bool fault_settle(int timeout_ms) {
    cpe_dm_cmdq &queue = cpe_dm_state.cmdq;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    while (std::chrono::steady_clock::now() < end) {
        // The count is read first, and fault_waiting is called after it. The thread leaves its wait before it takes a
        // command out of the queue. So a count of 0 and a thread that waits afterwards mean that no command is queued
        // or running.
        const bool idle = std::atomic_ref(queue.count).load() == 0 && fault_waiting();
        if (idle || std::atomic_ref(queue.ended).load() != 0 || std::atomic_ref(queue.running).load() == 0) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
    return false;
}
