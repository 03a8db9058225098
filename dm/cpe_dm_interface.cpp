#include "cpe_dm_interface.h"

#include "cpe_dm_log.h"
#include "cpe_dm_thread.h"
#include "cpe_dm_zeb_nas.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>

cpe_dm_state_record cpe_dm_state;

/* Whether this thread is running the user's callback. */
static thread_local bool in_callback;

/* Which process created the contents of cpe_dm_state. STATE_OWN: this process. STATE_OF_PARENT: the parent, and this
 * process is its child by fork. STATE_RENEWED_NOW: a thread of the child is replacing the parent's contents. */
enum { STATE_OWN, STATE_OF_PARENT, STATE_RENEWED_NOW };
static std::atomic<int> state_owner;

/* The number of threads inside cpe_dm_queue_cmd that may be using the queue. */
static std::atomic<uint32_t> posters;

bool cpe_dm_is_initialized() {
    return std::atomic_ref(cpe_dm_state.initialized).load() != 0;
}

static void set_initialized(uint8_t initialized) {
    std::atomic_ref(cpe_dm_state.initialized).store(initialized);
}

bool cpe_dm_in_child() {
    return state_owner != STATE_OWN;
}

static void note_child() {
    state_owner = STATE_OF_PARENT;
}

/* The checks that every operation makes before it takes the lock. Refuses a call from the user's callback, because the
 * thread that runs the callback holds the lock and would wait for itself. Installs, once in a process, the handler by
 * which the module notices that it runs in a child of fork. */
static int32_t may_enter(const char *operation) {
    static std::atomic<bool> forks_are_noted;
    if (in_callback) {
        CPE_DM_LOG_ERROR("%s called from the callback - refused, as the callback runs with the module's lock held",
                         operation);
        return CPE_DM_ERR_FAILURE;
    }
    if (!forks_are_noted) {
        forks_are_noted = CPE_DM_SUCCEEDS(pthread_atfork(nullptr, nullptr, note_child), "pthread_atfork failed:");
    }
    return forks_are_noted ? CPE_DM_SUCCESS : CPE_DM_ERR_FAILURE;
}

int32_t cpe_dm_enter(cpe_dm_guard &guard, const char *operation, cpe_dm_hndl hndl, bool args_valid) {
    const int32_t status = may_enter(operation);
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    const bool child = cpe_dm_in_child();
    if (!child && cpe_dm_lock_operation(guard) != 0) {
        return CPE_DM_ERR_FAILURE;
    }
    if (hndl == nullptr || (!child && hndl != cpe_dm_state.hndl) || !args_valid) {
        return CPE_DM_ERR_INVALID_PARAM;
    }
    if (child || !cpe_dm_is_initialized()) {
        CPE_DM_LOG_ERROR("Diagnostic monitor module is not initialized!!");
        return CPE_DM_ERR_NOT_INITIALIZED;
    }
    return CPE_DM_SUCCESS;
}

/* A thread adds 1 to `posters` before it reads `initialized`, and adds its command to the queue only if `initialized`
 * is set. So once `initialized` is 0 and `posters` is 0, no thread adds a command to the queue. */
int32_t cpe_dm_queue_cmd(cpe_dm_cmd *cmd) {
    posters++;
    const bool initialized = cpe_dm_is_initialized();
    const int32_t status = initialized ? cpe_dm_cmdq_enq(&cpe_dm_state.cmdq, cmd) : -1;
    posters--;
    if (!initialized) {
        CPE_DM_LOG_ERROR("Diagnostic monitor module is not initialized!!");
    }
    return status;
}

/* Waits until no thread is adding a command to the queue. Called after `initialized` was set to 0, so no further thread
 * begins to add a command. The command thread still takes commands from the queue. */
static void wait_for_posters() {
    while (posters != 0) {
        cpe_dm_pause();
    }
}

void cpe_dm_call_user(cpe_dm_info *record) {
    in_callback = true;
    cpe_dm_state.user_cb_fn(cpe_dm_state.hndl, record, cpe_dm_state.user_data);
    in_callback = false;
}

/* Zeroes the state except for two fields, which are zero already when this function is called. `initialized` is left
 * alone because other threads may be reading it. `cmdq` is zero because the queue is down. */
static void clear_state() {
    cpe_dm_state.hndl = nullptr;
    constexpr size_t rest = offsetof(cpe_dm_state_record, user_data);
    memset(reinterpret_cast<char *>(&cpe_dm_state) + rest, 0, sizeof(cpe_dm_state) - rest);
}

/* Ends the command thread and releases the queue. Releases the lock meanwhile, because the command thread may need the
 * lock to finish its command. On success the lock is held again. */
static int32_t take_down_queue(cpe_dm_guard &guard) {
    cpe_dm_take_down_begin();
    int32_t status = cpe_dm_unlock(guard);
    if (status == 0) {
        wait_for_posters();
        status = cpe_dm_cmdq_deinit(&cpe_dm_state.cmdq);
        // The state cannot be cleared without the lock, so a failed lock is tried a second time.
        if (cpe_dm_lock_now(guard) != 0 && cpe_dm_lock_now(guard) != 0) {
            status = CPE_DM_ERR_FAILURE;
        }
    }
    cpe_dm_take_down_end();
    if (status != 0) {
        CPE_DM_LOG_ERROR("De-initializing internal command queue for processing async commands failed");
        return CPE_DM_ERR_FAILURE;
    }
    return CPE_DM_SUCCESS;
}

/* In a child of fork, replaces the state that was copied from the parent by an empty state. In any other process does
 * nothing. The copied state is discarded without releasing anything: the handles in it belong to the parent, and at the
 * fork other threads of the parent may have been using the mutexes, the conditions and the queue. If several threads of
 * the child call this function, one replaces the state and the others wait until that is done. */
static void renew_in_child() {
    int of_parent = STATE_OF_PARENT;
    if (state_owner.compare_exchange_strong(of_parent, STATE_RENEWED_NOW)) {
        cpe_dm_lock_renew();
        posters = 0;
        cpe_dm_zeb_nas_forget();
        set_initialized(0);
        cpe_dm_state.cmdq = {};
        clear_state();
        state_owner = STATE_OWN;
    }
    while (state_owner == STATE_RENEWED_NOW) {
        cpe_dm_pause();
    }
}

/* Connects to the modem's service, asks for the network status and starts the queue, in this order. When a step fails,
 * the connection is released. */
static int32_t bring_up() {
    int32_t status = cpe_dm_zeb_nas_init();
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    cpe_dm_nas_sys_info sys_info = {};
    status = cpe_dm_zeb_nas_get_sys_info(&sys_info, 1);
    if (status != CPE_DM_SUCCESS) {
        cpe_dm_zeb_nas_release();
        return status;
    }
    if (cpe_dm_cmdq_init(&cpe_dm_state.cmdq, CPE_DM_CMDQ_MAX) != 0) {
        cpe_dm_zeb_nas_release();
        CPE_DM_LOG_ERROR("Initializing internal command queue for processing async commands failed");
        return CPE_DM_ERR_FAILURE;
    }
    return CPE_DM_SUCCESS;
}

/* A pseudo-random handle, never 0. Seeding the generator is left to the program. */
static cpe_dm_hndl draw_handle() {
    int number = 0;
    while (number == 0) {
        number = rand(); // NOLINT(concurrency-mt-unsafe): called under the lock; a handle may be predictable
    }
    return reinterpret_cast<cpe_dm_hndl>(static_cast<uintptr_t>(number)); // NOLINT(performance-no-int-to-ptr): opaque
}

int32_t cpe_dm_init(cpe_dm_hndl *hndl, void *user_data, cpe_dm_user_cb user_cb_fn) {
    if (hndl == nullptr || user_cb_fn == nullptr) {
        CPE_DM_LOG_ERROR("Invalid params - hndl[%p], user_cb_fn[%p]", static_cast<void *>(hndl),
                         reinterpret_cast<void *>(user_cb_fn));
        return CPE_DM_ERR_INVALID_PARAM;
    }
    int32_t status = may_enter(__func__);
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    renew_in_child();
    cpe_dm_guard guard;
    if (cpe_dm_lock_operation(guard) != 0) {
        return CPE_DM_ERR_FAILURE;
    }
    if (cpe_dm_is_initialized()) {
        CPE_DM_LOG_ERROR("Diagnostic monitor module already initialized!!");
        return CPE_DM_ERR_ALREADY_INITIALIZED;
    }
    // The queue is still up if an earlier cpe_dm_deinit failed half-way.
    if (cpe_dm_state.cmdq.head != nullptr) {
        status = take_down_queue(guard);
        if (status != CPE_DM_SUCCESS) {
            return status;
        }
    }
    clear_state();
    status = bring_up();
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    cpe_dm_state.user_cb_fn = user_cb_fn;
    set_initialized(1);
    cpe_dm_state.user_data = user_data;
    cpe_dm_state.hndl = draw_handle();
    *hndl = cpe_dm_state.hndl;
    CPE_DM_LOG_INFO("Diagnostic monitor module successfully initialized!!");
    return CPE_DM_SUCCESS;
}

int32_t cpe_dm_deinit(cpe_dm_hndl hndl) {
    cpe_dm_guard guard;
    int32_t status = cpe_dm_enter(guard, __func__, hndl, true);
    if (status == CPE_DM_ERR_INVALID_PARAM) {
        CPE_DM_LOG_ERROR("Invalid params - hndl[%p]", hndl);
    }
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    // `initialized` is cleared first. From here on no event is queued, and events that are queued already are dropped.
    set_initialized(0);
    status = cpe_dm_zeb_nas_release();
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    status = take_down_queue(guard);
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    clear_state();
    CPE_DM_LOG_INFO("Diagnostic monitor module successfully de-initialized!!");
    return CPE_DM_SUCCESS;
}

int32_t cpe_dm_set_ctrl_info(cpe_dm_hndl hndl, const cpe_dm_info *dm_ctrl_info) {
    cpe_dm_guard guard;
    const int32_t status = cpe_dm_enter(guard, __func__, hndl, dm_ctrl_info != nullptr);
    if (status == CPE_DM_ERR_INVALID_PARAM) {
        CPE_DM_LOG_ERROR("Invalid params - hndl[%p], dm_ctrl_info[%p]", hndl, static_cast<const void *>(dm_ctrl_info));
    }
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    CPE_DM_LOG_ERROR("Setting diagnostic control information for metric[%u] - not supported!!", dm_ctrl_info->id);
    return CPE_DM_ERR_NOT_SUPPORTED;
}
