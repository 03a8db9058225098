#include "cpe_dm_tool_asker.h"

#include "cpe_dm_tool_out.h"
#include "cpe_dm_tool_session.h"
#include "cpe_dm_tool_thread.h"

#include <algorithm>
#include <atomic>
#include <unistd.h>

/* When this number of calls of ask_row have failed in succession, the modem has probably restarted, and the asking
 * thread registers anew. A single failure may have another cause. */
enum {
    MODEM_GONE_TIMES = 2,
};

/* The longest time that the asking thread waits before it tries again to reach a modem that did not answer. */
static const int64_t retry_ms = 5000;

/* When the program is to end while the asking thread is inside cpe_dm_init, the program waits this long for cpe_dm_init
 * to return. A call that takes longer is waiting for a modem, and may wait for ever. */
static const int64_t connect_patience_ms = 200;

static uint64_t metrics_wanted;
/* Two bells. A bell is a descriptor that becomes readable when a thread rings it. */
static int news; /* wakes the thread that called cpe_dm_tool_start_asker: the report has changed */
static int work; /* wakes the asking thread: a row is to be asked for, or the thread is to end */
static pthread_t thread;
/* The modem may have lost the request to report changes of the registration status. Used by the asking thread alone. */
static bool indication_lost;
static std::atomic<bool> stopping;
static std::atomic<bool> connecting; /* the thread is inside cpe_dm_init, which may wait without limit */

static pthread_mutex_t report_mutex = PTHREAD_MUTEX_INITIALIZER;
static cpe_dm_tool_report shared; /* guarded by report_mutex */

/* The callback for the module's events. Runs on the module's command thread. */
static void on_event(cpe_dm_hndl /*hndl*/, cpe_dm_info *info, void * /*user_data*/) {
    if (info->info_type == CPE_DM_INFO_TYPE_IND && info->value_type == CPE_DM_VALUE_UINT32) {
        const cpe_dm_tool_guard guard(&report_mutex);
        if (shared.event_cnt == CPE_DM_TOOL_REG_EVENT_MAX) {
            std::copy(shared.events + 1, shared.events + CPE_DM_TOOL_REG_EVENT_MAX, shared.events);
            shared.event_cnt--;
        }
        shared.events[shared.event_cnt++] = {info->value.u32_val, cpe_dm_tool_now_ms()};
        cpe_dm_tool_ring(news);
    }
    cpe_dm_release_info(info);
}

/* Copies the answer for a metric into the shared report. asked_ms is when the thread began to ask for the row. */
static void publish(const cpe_dm_tool_values *values, uint32_t metric, int64_t asked_ms) {
    const cpe_dm_tool_guard guard(&report_mutex);
    const cpe_dm_tool_slot &slot = values->slot[metric];
    shared.values.slot[metric] = slot;
    if (cpe_dm_tool_record_of(values, metric) != nullptr) {
        *cpe_dm_tool_record_of(&shared.values, metric) = *cpe_dm_tool_record_of(values, metric);
    }
    if (!cpe_dm_tool_is_answer(slot.status)) {
        shared.failed_requests++;
    } else {
        clock_gettime(CLOCK_REALTIME, &shared.answer_time);
    }
    if (metric == CPE_DM_METRIC_REG_STATUS) {
        shared.reg_asked_ms = asked_ms;
        shared.up = slot.status == CPE_DM_SUCCESS;
    }
}

/* Registers with the module, and asks the modem to report changes of the registration status. False: the registration
 * failed. */
static bool connect() {
    connecting = true;
    const int32_t status = stopping ? int32_t{CPE_DM_ERR_FAILURE} : cpe_dm_tool_register(on_event);
    connecting = false;
    const bool registered = status == CPE_DM_SUCCESS;
    indication_lost = registered && cpe_dm_tool_set_reg_indication() != CPE_DM_SUCCESS;
    const cpe_dm_tool_guard guard(&report_mutex);
    shared.registrations_anew += registered && shared.registered ? 1 : 0;
    shared.register_status = status;
    shared.registered = shared.registered || registered;
    return registered;
}

/* Asks the modem for the values of a row, beginning with the registration status. Asks for no other value when the
 * status says that the modem is out of service. False: the request for the registration status failed. */
static bool ask_row() {
    static cpe_dm_tool_values values;
    const int64_t asked_ms = cpe_dm_tool_now_ms();
    const cpe_dm_tool_slot &reg = values.slot[CPE_DM_METRIC_REG_STATUS];
    cpe_dm_tool_clear_values(&values);
    for (uint32_t metric = CPE_DM_METRIC_REG_STATUS; metric < CPE_DM_METRIC_CNT && !stopping; metric++) {
        cpe_dm_tool_slot &slot = values.slot[metric];
        if (metric == CPE_DM_METRIC_REG_STATUS || (reg.number[0] >= CPE_DM_REG_LTE && (metrics_wanted >> metric & 1))) {
            cpe_dm_tool_ask(&values, metric);
            publish(&values, metric, asked_ms);
            // A modem that did not answer may have restarted, and may have forgotten which indications were set.
            indication_lost = indication_lost || !cpe_dm_tool_is_answer(slot.status);
            if (reg.status != CPE_DM_SUCCESS) {
                return false;
            }
        }
    }
    indication_lost = indication_lost && cpe_dm_tool_set_reg_indication() != CPE_DM_SUCCESS;
    return true;
}

static void *run_asker(void * /*argument*/) {
    int unanswered = 0;
    bool registered = connect();
    cpe_dm_tool_ring(news);
    for (;;) {
        // A modem that did not answer is tried again after retry_ms at the latest, even when the next row is due later.
        const bool row_due =
            cpe_dm_tool_wait(work, registered && unanswered == 0 ? INT64_MAX : cpe_dm_tool_now_ms() + retry_ms);
        if (stopping) {
            break;
        }
        const bool gone = registered && unanswered == MODEM_GONE_TIMES;
        if (gone) {
            cpe_dm_tool_deregister(); // may fail; then the next cpe_dm_init cleans up the old registration
        }
        if (!registered || gone) {
            registered = connect();
            unanswered = 0;
        }
        unanswered = registered && ask_row() ? 0 : unanswered + 1;
        if (row_due) {
            const cpe_dm_tool_guard guard(&report_mutex);
            shared.idle = true;
        }
        cpe_dm_tool_ring(news);
    }
    if (registered && cpe_dm_tool_deregister() != CPE_DM_SUCCESS) {
        cpe_dm_tool_tell("the registration with the modem could not be given up");
    }
    {
        const cpe_dm_tool_guard guard(&report_mutex);
        shared.ended = true;
    }
    cpe_dm_tool_ring(news);
    return nullptr;
}

bool cpe_dm_tool_start_asker(uint64_t metrics, int bell) {
    metrics_wanted = metrics;
    news = bell;
    work = cpe_dm_tool_new_bell();
    cpe_dm_tool_clear_values(&shared.values);
    return work >= 0 && cpe_dm_tool_start_thread(&thread, run_asker);
}

void cpe_dm_tool_ask_row() {
    {
        const cpe_dm_tool_guard guard(&report_mutex);
        shared.idle = false;
    }
    cpe_dm_tool_ring(work);
}

void cpe_dm_tool_take_report(cpe_dm_tool_report *report) {
    const cpe_dm_tool_guard guard(&report_mutex);
    *report = shared;
    shared.event_cnt = 0;
}

bool cpe_dm_tool_stop_asker(int bell, int64_t patience_ms) {
    static cpe_dm_tool_report report;
    const int64_t start_ms = cpe_dm_tool_now_ms();
    stopping = true;
    cpe_dm_tool_ring(work);
    do {
        cpe_dm_tool_take_report(&report);
    } while (!report.ended && cpe_dm_tool_wait(bell, start_ms + (connecting ? connect_patience_ms : patience_ms)));
    if (report.ended) {
        pthread_join(thread, nullptr);
        close(work);
    } else {
        pthread_detach(thread);
    }
    return report.ended;
}
