/* The module's lock, and in which order those who wait for it get it.
 *
 * Two kinds of users take the lock: operations, on any thread, and deliveries of events, on the command thread. An
 * operation holds it for as long as the modem takes to answer, so a bare mutex would let whoever asks again at once
 * keep everybody else out. Hence:
 *   - a delivery that waits goes before every operation that has not begun;
 *   - after CPE_DM_DELIVERIES_IN_A_ROW deliveries one operation that waits goes first;
 *   - operations go in the order in which they were called.
 * While a take-down is on, no operation begins; the thread that takes down and the command thread alone use the lock.
 */
#ifndef CPE_DM_LOCK_H
#define CPE_DM_LOCK_H

#include <cstdint>
#include <pthread.h>

enum {
    CPE_DM_DELIVERIES_IN_A_ROW = 16,
};

/* Serialises all operations and deliveries. Default attributes; never destroyed. */
extern pthread_mutex_t cpe_dm_lock;

/* Holds the lock from the call that takes it to the end of the scope. */
struct cpe_dm_guard {
    bool held = false;
    cpe_dm_guard() = default;
    cpe_dm_guard(const cpe_dm_guard &) = delete;
    cpe_dm_guard &operator=(const cpe_dm_guard &) = delete;
    ~cpe_dm_guard();
};

/* Take the lock: for an operation in its turn; for a delivery in its turn; and, for the thread that takes down, as soon
 * as it is free. They return 0, or -1 when the caller must not go on (logged). A wait for the turn that fails (logged)
 * is given up, and the caller goes on out of turn. */
int32_t cpe_dm_lock_operation(cpe_dm_guard &guard);
int32_t cpe_dm_lock_delivery(cpe_dm_guard &guard);
int32_t cpe_dm_lock_now(cpe_dm_guard &guard);

/* Gives the lock back. A release that fails (logged) is tried once more; -1: it failed again, and the lock is held. */
int32_t cpe_dm_unlock(cpe_dm_guard &guard);

/* Begin and end a take-down. Begun with the lock held; ended with or without it. */
void cpe_dm_take_down_begin();
void cpe_dm_take_down_end();

/* In a child of fork: makes the lock anew, without a look at who held it or waited for it in the parent. */
void cpe_dm_lock_renew();

#endif
