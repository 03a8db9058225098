#include "cpe_dm_tool_thread.h"

#include "cpe_dm_tool_out.h"

#include <algorithm>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

int cpe_dm_tool_new_bell() {
    const int bell = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (bell < 0) {
        cpe_dm_tool_tell("the system has no descriptor left; close some programs, or raise the limit");
    }
    return bell;
}

void cpe_dm_tool_ring(int bell) {
    const uint64_t one = 1;
    // The write fails only when the counter of the eventfd has its maximum value. In that case the eventfd is readable,
    // and the thread that waits for the bell wakes anyway.
    [[maybe_unused]] const ssize_t written = write(bell, &one, sizeof(one));
}

int cpe_dm_tool_ms_until(int64_t then_ms) {
    return static_cast<int>(std::clamp<int64_t>(then_ms - cpe_dm_tool_now_ms(), 0, 3600000));
}

bool cpe_dm_tool_wait(int bell, int64_t until_ms) {
    uint64_t rings = 0;
    while (read(bell, &rings, sizeof(rings)) < 0) {
        const int left_ms = cpe_dm_tool_ms_until(until_ms);
        if (left_ms == 0) {
            return false;
        }
        cpe_dm_tool_ready(bell, POLLIN, left_ms);
    }
    return true;
}

bool cpe_dm_tool_start_thread(pthread_t *thread, void *(*run)(void *)) {
    if (pthread_create(thread, nullptr, run, nullptr) == 0) {
        return true;
    }
    cpe_dm_tool_tell("the system has no thread left; close some programs, or raise the limit");
    return false;
}
