/* The thread of watch that asks the modem: registers, asks for the values of a row when it is told to, and registers
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

/* What is known so far. */
struct cpe_dm_tool_report {
    bool registered;          /* a registration has succeeded */
    int32_t register_status;  /* of the first registration, when it has failed */
    bool idle;                /* all that was to be asked for has been answered, or given up */
    bool up;                  /* the modem answered when it was asked last */
    bool ended;               /* the thread has nothing more to do */
    timespec answer_time;     /* of the last answer; 0 when there was none */
    uint32_t failed_requests; /* counts since the start */
    uint32_t registrations_anew;
    int64_t reg_asked_ms;      /* when the registration status that values holds was asked for */
    cpe_dm_tool_values values; /* the newest answers, each with its time */
    cpe_dm_tool_reg_event events[CPE_DM_TOOL_REG_EVENT_MAX]; /* since the last report; of too many the newest */
    int event_cnt;
};

/* Starts the thread. It rings bell when there is news. False: it could not be started, of which a message has been
 * written. */
bool cpe_dm_tool_start_asker(uint64_t metrics, int bell);

/* Has it ask for the values once. */
void cpe_dm_tool_ask_row();

void cpe_dm_tool_take_report(cpe_dm_tool_report *report);

/* Has it deregister and end. Waits so long for that, and hardly for a registration that is under way; false when it did
 * not end. */
bool cpe_dm_tool_stop_asker(int bell, int64_t patience_ms);

#endif
