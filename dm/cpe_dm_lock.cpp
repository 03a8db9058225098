#include "cpe_dm_lock.h"

#include "cpe_dm_thread.h"

#include <atomic>
#include <cerrno>
#include <ctime>

pthread_mutex_t cpe_dm_lock = PTHREAD_MUTEX_INITIALIZER;

/* Broadcast when a thread that waits in wait_for_change may be able to go on. */
static pthread_cond_t lock_changed = PTHREAD_COND_INITIALIZER;

/* True while the module is being taken down. Written with the lock held, with two exceptions: a take-down that could
 * not take the lock again clears this flag without the lock, and so does cpe_dm_lock_renew. */
static std::atomic<bool> taking_down;

/* The order of operations. Every operation takes the next ticket before it waits for the lock, and operations normally
 * begin in the order of their tickets. There are two exceptions. An operation that cannot take the lock gives up and
 * never begins. An operation whose wait fails begins at once, although operations with lower tickets may still wait.
 *
 * `ticket - turn - gone` is taken as the number of operations that come before the operation with this ticket.
 *   - `turn` is the highest ticket whose operation has begun, plus 1. So `ticket - turn` counts the tickets from `turn`
 *     up to the one before this ticket.
 *   - `gone` corrects this count, because an operation that gave up does not wait, and an operation with a ticket below
 *     `turn` may still wait. `gone` is the number of operations that gave up with a ticket of at least `turn`, minus
 * the number of operations with a ticket below `turn` that still wait. The result is exact unless an operation with a
 * higher ticket has begun or given up. In that case the result may be too small, and the operation with this ticket may
 * begin too early. */
static std::atomic<uint32_t> next_ticket;
static std::atomic<int32_t> gone;
static uint32_t turn; /* guarded by the lock */

static std::atomic<bool> delivery_waiting;
static uint32_t deliveries_in_a_row;   /* deliveries since the last operation began; guarded by the lock */
static std::atomic<uint32_t> sleepers; /* threads that wait for lock_changed */

static void wake_sleepers() {
    if (sleepers != 0) {
        (void)CPE_DM_SUCCEEDS(pthread_cond_broadcast(&lock_changed), "pthread_cond_broadcast failed:");
    }
}

/* Releases the lock, waits for a broadcast or for one second, and takes the lock again. The limit is there because a
 * broadcast may fail: a thread that missed it goes on after a second at most. Returns -1 (logged) when the wait
 * failed. */
static int32_t wait_for_change() {
    timespec until = {};
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec++;
    sleepers++;
    const int error = pthread_cond_timedwait(&lock_changed, &cpe_dm_lock, &until);
    sleepers--;
    return error == ETIMEDOUT || CPE_DM_SUCCEEDS(error, "pthread_cond_timedwait failed:") ? 0 : -1;
}

/* Returns about how many operations come before the one with this ticket; see "The order of operations" above. */
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
    // After a failed wait the operation goes on before its turn. But while the module is being taken down, no operation
    // may begin.
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
    // The command thread may be waiting for an operation to begin, and no operation begins before the take-down has
    // ended. So the command thread is woken, and goes on without waiting for the operation.
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
    sleepers = 0;
    // deliveries_in_a_row needs no reset here: the first operation of the child sets it to 0.
}
