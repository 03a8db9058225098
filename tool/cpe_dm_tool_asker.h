/* The command `watch` asks the modem on a thread of its own. The thread registers, asks for the values of a row
 * whenever the main thread tells it to, and registers anew when the modem has restarted. */
#ifndef CPE_DM_TOOL_ASKER_H
#define CPE_DM_TOOL_ASKER_H

#include "cpe_dm_tool_values.h"

enum {
    CPE_DM_TOOL_REG_EVENT_MAX = 8,
};

/* A registration status from an indication, which the modem sent without being asked. */
struct cpe_dm_tool_reg_event {
    uint32_t reg_status;
    int64_t at_ms; /* when the indication came, on the monotonic clock */
};

/* What the asking thread knows so far. */
struct cpe_dm_tool_report {
    bool registered;             /* a registration has succeeded */
    int32_t register_status;     /* the cpe_dm_status of the newest attempt to register */
    bool idle;                   /* the thread has finished the row that it was told to ask for */
    bool up;                     /* the last request for the registration status succeeded */
    bool ended;                  /* the thread has deregistered, and is about to return */
    timespec answer_time;        /* wall-clock time of the newest answer; 0: no answer yet */
    uint32_t failed_requests;    /* since the start of the thread */
    uint32_t registrations_anew; /* registrations after the first one, since the start of the thread */
    int64_t reg_asked_ms;        /* when the registration status in `values` was requested */
    cpe_dm_tool_values values;   /* the newest answers, each with its time */
    /* The events since the last call of cpe_dm_tool_take_report, oldest first. A full list drops its oldest event. */
    cpe_dm_tool_reg_event events[CPE_DM_TOOL_REG_EVENT_MAX];
    int event_cnt;
};

/* Starts the thread. `metrics` has a bit for each metric that a row needs. The thread rings `bell` (from
 * cpe_dm_tool_new_bell) when its report has changed. False: the thread could not be started; a message has been
 * written. */
bool cpe_dm_tool_start_asker(uint64_t metrics, int bell);

/* Tells the thread to ask for the values of one row. */
void cpe_dm_tool_ask_row();

/* Copies the report of the thread, and empties the thread's list of events. */
void cpe_dm_tool_take_report(cpe_dm_tool_report *report);

/* Tells the thread to deregister and to end. Waits at most `patience_ms` until the thread has ended. While the thread
 * is registering, the function waits only a fraction of a second. `bell` is the bell that was given to
 * cpe_dm_tool_start_asker. Returns false if the thread still runs. */
bool cpe_dm_tool_stop_asker(int bell, int64_t patience_ms);

#endif
