#include "cpe_dm_thread.h"

#include <ctime>

void cpe_dm_pause() {
    const timespec millisecond = {0, 1000000};
    nanosleep(&millisecond, nullptr);
}
