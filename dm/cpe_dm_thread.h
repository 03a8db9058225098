/* What the module's threads have in common. */
#ifndef CPE_DM_THREAD_H
#define CPE_DM_THREAD_H

#include "cpe_dm_log.h"

/* Whether a call of a thread primitive returned 0. Otherwise logs `text` as an error. The macro logs, and not a
 * function, so that the log line names the place of the failed call. */
#define CPE_DM_SUCCEEDS(call, text)                                                                                    \
    ((call) == 0 || [] {                                                                                               \
        CPE_DM_LOG_ERROR(text);                                                                                        \
        return false;                                                                                                  \
    }())

/* Sleeps for a millisecond. For loops that wait for another thread which has no means to signal that it is done. Unlike
 * a yield, a sleep lets threads of any priority run. */
void cpe_dm_pause();

#endif
