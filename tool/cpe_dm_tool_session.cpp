#include "cpe_dm_tool_session.h"

#include "cpe_dm_tool_out.h"
#include "cpe_dm_tool_thread.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <unistd.h>

const int64_t cpe_dm_tool_patience_ms = 2000;

/* When the job has ended, the deadline is moved if necessary, to leave this much time for the deregistration. */
static const int64_t farewell_ms = 5000;

enum session_operation {
    NO_OPERATION,
    REGISTERING,
    ASKING,
    DEREGISTERING,
};

static std::atomic<int> operation_on = NO_OPERATION;

static cpe_dm_hndl hndl; /* only the thread that registers uses the handle */

static pthread_mutex_t deadline_mutex = PTHREAD_MUTEX_INITIALIZER;
static int64_t deadline_ms;

int64_t cpe_dm_tool_deadline() {
    const cpe_dm_tool_guard guard(&deadline_mutex);
    return deadline_ms;
}

void cpe_dm_tool_set_deadline(int64_t new_deadline_ms) {
    const cpe_dm_tool_guard guard(&deadline_mutex);
    deadline_ms = new_deadline_ms;
}

void cpe_dm_tool_drop_event(cpe_dm_hndl /*hndl*/, cpe_dm_info *info, void * /*user_data*/) {
    cpe_dm_release_info(info);
}

int32_t cpe_dm_tool_register(cpe_dm_user_cb callback) {
    operation_on = REGISTERING;
    const int32_t status = cpe_dm_init(&hndl, nullptr, callback);
    operation_on = NO_OPERATION;
    return status;
}

int32_t cpe_dm_tool_deregister() {
    operation_on = DEREGISTERING;
    const int32_t status = cpe_dm_deinit(hndl);
    operation_on = NO_OPERATION;
    return status;
}

void cpe_dm_tool_tell_unregistered(int32_t status) {
    cpe_dm_tool_tell("no registration with the modem: %s (%s)", cpe_dm_strerror(status), cpe_dm_status_name(status));
}

void cpe_dm_tool_tell_absent() {
    cpe_dm_tool_tell("the modem did not appear in time; is it on? --timeout SECONDS waits longer");
}

void cpe_dm_tool_tell_waiting(int64_t timeout_ms) {
    if (isatty(STDERR_FILENO) != 0) {
        cpe_dm_tool_tell("waiting for the modem, at most %d s", static_cast<int>(timeout_ms / 1000));
    }
}

bool cpe_dm_tool_is_answer(int32_t status) {
    return status == CPE_DM_SUCCESS || status == CPE_DM_ERR_SERVICE_UNAVAILABLE ||
           status == CPE_DM_ERR_INFO_UNAVAILABLE || status == CPE_DM_TOOL_NO_CHANNEL;
}

int cpe_dm_tool_exit_status(int32_t status) {
    return status == CPE_DM_SUCCESS        ? CPE_DM_TOOL_DONE
           : cpe_dm_tool_is_answer(status) ? CPE_DM_TOOL_NO_VALUE
                                           : CPE_DM_TOOL_FAILED;
}

int cpe_dm_tool_worse(int a, int b) {
    return std::max(a, b);
}

/* Returns the number that the modem reports for a metric, or 0 when the modem reports no number. Asks the modem only if
 * `values` has no answer yet. */
static int64_t answered_number(cpe_dm_tool_values *values, uint32_t metric) {
    const cpe_dm_tool_slot &slot = values->slot[metric];
    if (slot.status == CPE_DM_TOOL_NOT_ANSWERED) {
        cpe_dm_tool_ask(values, metric);
    }
    return slot.status == CPE_DM_SUCCESS ? slot.number[0] : 0;
}

void cpe_dm_tool_ask(cpe_dm_tool_values *values, uint32_t metric) {
    cpe_dm_tool_slot &slot = values->slot[metric];
    cpe_dm_info info;
    cpe_dm_prepare_request(&info, metric, cpe_dm_tool_record_of(values, metric));
    operation_on = ASKING;
    slot.status = cpe_dm_get_info(hndl, &info);
    operation_on = NO_OPERATION;
    if (slot.status == CPE_DM_SUCCESS) {
        if (info.value_type == CPE_DM_VALUE_UINT32) {
            slot.number[0] = info.value.u32_val;
        } else if (info.value_type == CPE_DM_VALUE_INT64 || info.value_type == CPE_DM_VALUE_INT64_LIST) {
            std::copy_n(info.value.i64_list, std::size(slot.number), slot.number);
        }
        const bool unsure = metric == CPE_DM_METRIC_NR5G_PCI && slot.number[0] == 0;
        const auto reg_status = static_cast<uint32_t>(unsure ? answered_number(values, CPE_DM_METRIC_REG_STATUS) : 0);
        const int64_t cgi = unsure ? answered_number(values, CPE_DM_METRIC_NR5G_CGI) : 0;
        if (!cpe_dm_is_reported(&info, reg_status, cgi)) {
            slot.status = CPE_DM_ERR_INFO_UNAVAILABLE;
        }
    }
    slot.answered_ms = cpe_dm_tool_now_ms();
}

void cpe_dm_tool_ask_all(cpe_dm_tool_values *values, uint64_t metrics) {
    for (uint32_t metric = 0; metric < CPE_DM_METRIC_CNT; metric++) {
        if ((metrics >> metric & 1) != 0) {
            cpe_dm_tool_ask(values, metric);
        }
    }
}

int32_t cpe_dm_tool_set_reg_indication() {
    cpe_dm_info info = {};
    info.info_type = CPE_DM_INFO_TYPE_IND;
    info.id = CPE_DM_IND_REG_STATUS;
    operation_on = ASKING;
    const int32_t status = cpe_dm_set_ind_info(hndl, &info);
    operation_on = NO_OPERATION;
    return status;
}

int32_t cpe_dm_tool_start_scan(cpe_dm_info *list, int32_t cnt) {
    operation_on = ASKING;
    const int32_t status = cpe_dm_get_info_list(hndl, list, cnt);
    operation_on = NO_OPERATION;
    return status;
}

/* The only session of the program. The session's thread registers, calls `job` and deregisters. */
static struct {
    pthread_t thread;
    int done; /* a bell (cpe_dm_tool_new_bell) that rings when the thread has finished */
    cpe_dm_user_cb callback;
    int (*job)();
    int status; /* the exit status; valid once the bell has rung */
} session;

static void *run_session(void * /*argument*/) {
    const int32_t registered = cpe_dm_tool_register(session.callback);
    if (registered != CPE_DM_SUCCESS) {
        cpe_dm_tool_tell_unregistered(registered);
        session.status = CPE_DM_TOOL_FAILED;
    } else {
        session.status = session.job();
        cpe_dm_tool_set_deadline(std::max(cpe_dm_tool_deadline(), cpe_dm_tool_now_ms() + farewell_ms));
        const int32_t deregistered = cpe_dm_tool_deregister();
        if (deregistered != CPE_DM_SUCCESS) {
            cpe_dm_tool_tell("the registration cannot be given up: %s (%s)", cpe_dm_strerror(deregistered),
                             cpe_dm_status_name(deregistered));
            session.status = CPE_DM_TOOL_FAILED;
        }
    }
    cpe_dm_tool_ring(session.done);
    return nullptr;
}

/* Ends the program with a message, because `operation` (a session_operation) is still running at the deadline. */
[[noreturn]] static void give_up(int operation) {
    switch (operation) {
    case REGISTERING:
        cpe_dm_tool_tell_absent();
        break;
    case ASKING:
        cpe_dm_tool_tell("the modem did not answer in time; --timeout SECONDS waits longer");
        break;
    default:
        cpe_dm_tool_tell("the modem did not let go of the registration");
        break;
    }
    pthread_detach(session.thread);
    _exit(CPE_DM_TOOL_FAILED);
}

int cpe_dm_tool_run_session(int64_t timeout_ms, cpe_dm_user_cb callback, int (*job)()) {
    const int64_t start_ms = cpe_dm_tool_now_ms();
    session = {{}, cpe_dm_tool_new_bell(), callback, job, CPE_DM_TOOL_FAILED};
    cpe_dm_tool_set_deadline(start_ms + timeout_ms);
    if (session.done < 0 || !cpe_dm_tool_start_thread(&session.thread, run_session)) {
        return CPE_DM_TOOL_FAILED;
    }
    bool done = cpe_dm_tool_wait(session.done, start_ms + std::min(cpe_dm_tool_patience_ms, timeout_ms));
    if (!done && operation_on == REGISTERING) {
        cpe_dm_tool_tell_waiting(timeout_ms);
    }
    while (!done) {
        const int64_t now_ms = cpe_dm_tool_now_ms();
        // operation_on has to be read first and the deadline second. The session's thread moves the deadline first and
        // begins the operation afterwards. So the operation is never compared with the deadline of an earlier
        // operation.
        const int operation = operation_on;
        const int64_t limit_ms = cpe_dm_tool_deadline();
        if (operation != NO_OPERATION && now_ms >= limit_ms) {
            give_up(operation);
        }
        // If no operation is running at the deadline, the job may begin its next operation at any time. So after the
        // deadline the loop looks for a running operation every 20 ms.
        done = cpe_dm_tool_wait(session.done, std::max(limit_ms, now_ms + 20));
    }
    pthread_join(session.thread, nullptr);
    close(session.done);
    return session.status;
}
