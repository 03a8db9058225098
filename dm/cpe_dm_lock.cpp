#include "cpe_dm_lock.h"

#include "cpe_dm_thread.h"

#include <atomic>
#include <cerrno>
#include <ctime>

pthread_mutex_t cpe_dm_lock = PTHREAD_MUTEX_INITIALIZER;

/* Signalled when somebody who waits with the lock let go may be able to go on. */
static pthread_cond_t lock_changed = PTHREAD_COND_INITIALIZER;

/* Written under the lock, but for the end of a take-down whose thread could not get the lock again. */
static std::atomic<bool> taking_down;

/* The turns of operations. Each draws a ticket before it waits for the lock. `turn` is the ticket that goes next.
 * `gone` says how many of the tickets from there on nobody holds any more, because the lock could not be taken; an
 * operation that goes before its turn, because a wait failed, lowers it by the number of operations that it overtakes,
 * and each of these raises it again. */
static std::atomic<uint32_t> next_ticket;
static std::atomic<int32_t> gone;
static uint32_t turn; /* under the lock */

static std::atomic<bool> delivery_waiting;
static uint32_t deliveries_in_a_row;   /* since an operation began; under the lock */
static std::atomic<uint32_t> sleepers; /* threads that wait for lock_changed */

static void wake_sleepers() {
    if (sleepers != 0) {
        (void)CPE_DM_SUCCEEDS(pthread_cond_broadcast(&lock_changed), "pthread_cond_broadcast failed:");
    }
}

/* Waits, with the lock let go, until something has changed or a second has passed: a wake-up that fails is missed for
 * no longer than that. */
static int32_t wait_for_change() {
    timespec until = {};
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec++;
    sleepers++;
    const int error = pthread_cond_timedwait(&lock_changed, &cpe_dm_lock, &until);
    sleepers--;
    return error == ETIMEDOUT || CPE_DM_SUCCEEDS(error, "pthread_cond_timedwait failed:") ? 0 : -1;
}

/* How many operations with tickets before this one have not begun. */
static int32_t operations_before(uint32_t ticket) {
    return static_cast<int32_t>(ticket - turn) - gone;
}

static bool must_wait(uint32_t ticket) {
    const bool delivery_goes_first = delivery_waiting && deliveries_in_a_row < CPE_DM_DELIVERIES_IN_A_ROW;
    return delivery_goes_first || operations_before(ticket) > 0;
}

static void begin_operation(uint32_t ticket) {
    const auto passed_over = static_cast<int32_t>(ticket - turn);
    if (passed_over >= 0) {
        gone -= passed_over;
        turn = ticket + 1;
    } else {
        gone++;
    }
    deliveries_in_a_row = 0;
    wake_sleepers();
}

int32_t cpe_dm_lock_now(cpe_dm_guard &guard) {
    guard.held = CPE_DM_SUCCEEDS(pthread_mutex_lock(&cpe_dm_lock), "pthread_mutex_lock failed:");
    return guard.held ? 0 : -1;
}

int32_t cpe_dm_lock_operation(cpe_dm_guard &guard) {
    const uint32_t ticket = next_ticket++;
    guard.held = CPE_DM_SUCCEEDS(pthread_mutex_lock(&cpe_dm_lock), "pthread_mutex_lock failed:");
    if (!guard.held) {
        gone++;
        wake_sleepers();
        return -1;
    }
    int32_t status = 0;
    while (status == 0 && (taking_down || must_wait(ticket))) {
        status = wait_for_change();
    }
    begin_operation(ticket);
    // After a wait that failed the operation goes on out of its turn, but never into a take-down.
    return taking_down ? -1 : 0;
}

int32_t cpe_dm_lock_delivery(cpe_dm_guard &guard) {
    delivery_waiting = true;
    guard.held = CPE_DM_SUCCEEDS(pthread_mutex_lock(&cpe_dm_lock), "pthread_mutex_lock failed:");
    if (guard.held) {
        int32_t waited = 0;
        while (waited == 0 && !taking_down && deliveries_in_a_row >= CPE_DM_DELIVERIES_IN_A_ROW &&
               operations_before(next_ticket) > 0) {
            waited = wait_for_change();
        }
        deliveries_in_a_row++;
    }
    delivery_waiting = false;
    wake_sleepers();
    return guard.held ? 0 : -1;
}

int32_t cpe_dm_unlock(cpe_dm_guard &guard) {
    for (int tries = 0; guard.held && tries < 2; tries++) {
        guard.held = !CPE_DM_SUCCEEDS(pthread_mutex_unlock(&cpe_dm_lock), "pthread_mutex_unlock failed:");
    }
    return guard.held ? -1 : 0;
}

cpe_dm_guard::~cpe_dm_guard() {
    if (held) {
        cpe_dm_unlock(*this);
    }
}

void cpe_dm_take_down_begin() {
    taking_down = true;
    // The command thread may be waiting for an operation, which in turn waits for the take-down.
    wake_sleepers();
}

void cpe_dm_take_down_end() {
    taking_down = false;
    wake_sleepers();
}

void cpe_dm_lock_renew() {
    cpe_dm_lock = PTHREAD_MUTEX_INITIALIZER;
    lock_changed = PTHREAD_COND_INITIALIZER;
    taking_down = false;
    next_ticket = 0;
    gone = 0;
    turn = 0;
    delivery_waiting = false;
    deliveries_in_a_row = 0;
    sleepers = 0;
}
