/* The thread of watch that asks the modem. The thread registers, asks for the values of a row on request, and registers
 * anew with a modem that has restarted. */
#ifndef CPE_DM_TOOL_ASKER_H
#define CPE_DM_TOOL_ASKER_H

#include "cpe_dm_tool_values.h"

enum {
    CPE_DM_TOOL_REG_EVENT_MAX = 8,
};

/* A registration status that the modem reported by itself. */
struct cpe_dm_tool_reg_event {
    uint32_t reg_status;
    int64_t at_ms; /* monotonic clock */
};

/* What the thread knows so far. */
struct cpe_dm_tool_report {
    bool registered;          /* a registration has succeeded */
    int32_t register_status;  /* of the newest attempt to register */
    bool idle;                /* the requested row is done: each value was answered or given up */
    bool up;                  /* the last request for the registration status succeeded */
    bool ended;               /* the thread has nothing more to do */
    timespec answer_time;     /* when the last answer came; 0: no answer yet */
    uint32_t failed_requests; /* since the start, like the next field */
    uint32_t registrations_anew;
    int64_t reg_asked_ms;      /* when the registration status in `values` was requested */
    cpe_dm_tool_values values; /* the newest answers, each with its time */
    cpe_dm_tool_reg_event events[CPE_DM_TOOL_REG_EVENT_MAX]; /* the newest ones since the last report */
    int event_cnt;
};

/* Starts the thread. The thread asks for these metrics, one bit each, and rings the bell when there is news. False: the
 * thread could not be started; a message has been written. */
bool cpe_dm_tool_start_asker(uint64_t metrics, int bell);

/* Tells the thread to ask for the values of one row. */
void cpe_dm_tool_ask_row();

void cpe_dm_tool_take_report(cpe_dm_tool_report *report);

/* Tells the thread to deregister and end, and waits for its end: patience_ms at most, and much shorter during a
 * registration. `bell` is the bell that the thread rings. False: the thread has not ended. */
bool cpe_dm_tool_stop_asker(int bell, int64_t patience_ms);

#endif
