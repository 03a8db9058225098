/* Helpers for code that works with threads: a check of pthread calls, and a short sleep. */
#ifndef CPE_DM_THREAD_H
#define CPE_DM_THREAD_H

#include "cpe_dm_log.h"

/* True when `call`, a call of a pthread function, returned 0. Otherwise logs `text` as an error and is false. This is a
 * macro and not a function, so that the log line names the source line of the failed call. */
#define CPE_DM_SUCCEEDS(call, text)                                                                                    \
    ((call) == 0 || [] {                                                                                               \
        CPE_DM_LOG_ERROR(text);                                                                                        \
        return false;                                                                                                  \
    }())

/* Sleeps for a millisecond. Used in a loop that waits for another thread which cannot signal that it is done. Unlike
 * sched_yield, a sleep also lets threads of lower priority run. */
void cpe_dm_pause();

#endif
