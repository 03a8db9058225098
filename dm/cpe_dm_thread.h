/* What the module's threads have in common. */
#ifndef CPE_DM_THREAD_H
#define CPE_DM_THREAD_H

#include "cpe_dm_log.h"

/* Whether a call of a thread primitive returned 0. When it did not, `text` is logged at error level from where the
 * macro stands, so that the line names the place. */
#define CPE_DM_SUCCEEDS(call, text)                                                                                    \
    ((call) == 0 || [] {                                                                                               \
        CPE_DM_LOG_ERROR(text);                                                                                        \
        return false;                                                                                                  \
    }())

/* Sleeps for a millisecond: for a thread that waits for another which cannot tell when it is done. Unlike a yield, this
 * lets threads of any priority go on. */
void cpe_dm_pause();

#endif
