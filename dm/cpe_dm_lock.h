/* The module's lock, and the order in which waiting threads get the lock.
 *
 * The lock is taken by operations, on any thread, and by deliveries, on the command thread. A delivery is the
 * processing of one event, with the call of the user's callback. An operation holds the lock for as long as the modem
 * takes to answer. With a bare mutex, a thread that calls one operation after the other could keep all other threads
 * out. Hence:
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

/* Serialises all operations and deliveries. The mutex has default attributes and is never destroyed. */
extern pthread_mutex_t cpe_dm_lock;

/* A scope guard of the lock. Each function below that takes the lock stores in `held` whether it got the lock. The
 * destructor releases the lock if cpe_dm_unlock has not released it. */
struct cpe_dm_guard {
    bool held = false;
    cpe_dm_guard() = default;
    cpe_dm_guard(const cpe_dm_guard &) = delete;
    cpe_dm_guard &operator=(const cpe_dm_guard &) = delete;
    ~cpe_dm_guard();
};

/* Waits for the turn of an operation, and takes the lock. Returns 0, or -1 (logged) when the lock could not be taken.
 * If the wait fails (logged), the function returns 0 at once, with the lock held, and the operation begins before its
 * turn. But if the wait fails during a take-down, when no operation may begin, the function returns -1. */
int32_t cpe_dm_lock_operation(cpe_dm_guard &guard);

/* Waits for the turn of a delivery, and takes the lock. Returns 0, or -1 (logged) when the lock could not be taken. If
 * the wait fails (logged), the delivery goes on at once, with the lock held, before its turn. */
int32_t cpe_dm_lock_delivery(cpe_dm_guard &guard);

/* Takes the lock as soon as it is free, without waiting for a turn. Used by the thread that takes the module down.
 * Returns 0, or -1 (logged) when the lock could not be taken. */
int32_t cpe_dm_lock_now(cpe_dm_guard &guard);

/* Releases the lock if `guard` holds it. When the release fails (logged), tries once more. Returns -1 when this fails
 * too; the lock is then still held. */
int32_t cpe_dm_unlock(cpe_dm_guard &guard);

/* Begins a take-down: from now on no operation begins. Called with the lock held. */
void cpe_dm_take_down_begin();

/* Ends a take-down: operations may begin again. Called with or without the lock. */
void cpe_dm_take_down_end();

/* Called in a child of fork, where another thread of the parent may have held the lock. Initialises the lock anew: it
 * is free, and no thread waits for it. */
void cpe_dm_lock_renew();

#endif
