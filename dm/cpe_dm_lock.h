/* The module's lock, and the order in which waiting threads get the lock.
 *
 * Two kinds of users take the lock: operations, on any thread, and deliveries of events, on the command thread. An
 * operation holds the lock for as long as the modem takes to answer. With a bare mutex, a thread that calls one
 * operation after the other could keep all other threads out. Hence:
 *   - a delivery that waits goes before every operation that has not begun;
 *   - after CPE_DM_DELIVERIES_IN_A_ROW deliveries one operation that waits goes first;
 *   - operations go in the order in which they were called.
 * While the module is being taken down, no operation begins: only the thread that takes the module down and the command
 * thread use the lock. */
#ifndef CPE_DM_LOCK_H
#define CPE_DM_LOCK_H

#include <cstdint>
#include <pthread.h>

enum {
    CPE_DM_DELIVERIES_IN_A_ROW = 16,
};

/* Serialises all operations and deliveries. Default attributes; never destroyed. */
extern pthread_mutex_t cpe_dm_lock;

/* Holds the lock from the call that takes it until cpe_dm_unlock or the end of the scope. */
struct cpe_dm_guard {
    bool held = false;
    cpe_dm_guard() = default;
    cpe_dm_guard(const cpe_dm_guard &) = delete;
    cpe_dm_guard &operator=(const cpe_dm_guard &) = delete;
    ~cpe_dm_guard();
};

/* Take the lock. The first: for an operation, in its turn. The second: for a delivery, in its turn. The third: for the
 * thread that takes the module down, as soon as the lock is free. Return 0, or -1 (logged) when the caller must not go
 * on. When the wait for the turn fails (logged), the caller goes on out of turn. */
int32_t cpe_dm_lock_operation(cpe_dm_guard &guard);
int32_t cpe_dm_lock_delivery(cpe_dm_guard &guard);
int32_t cpe_dm_lock_now(cpe_dm_guard &guard);

/* Releases the lock. A release that fails (logged) is tried once more. Returns -1 when both failed; the lock is then
 * still held. */
int32_t cpe_dm_unlock(cpe_dm_guard &guard);

/* Mark the beginning and the end of a take-down. The first is called with the lock held, the second with or without the
 * lock. */
void cpe_dm_take_down_begin();
void cpe_dm_take_down_end();

/* In a child of fork: makes the lock anew, free and without waiting threads, whatever its state in the parent was. */
void cpe_dm_lock_renew();

#endif
