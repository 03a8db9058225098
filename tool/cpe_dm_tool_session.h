/* The registration with the module, and the time that its operations may take.
 *
 * An operation of the module cannot be broken off: cpe_dm_init waits for the modem without limit, and a request takes
 * as long as the modem takes to answer. So a command runs on a thread of its own, the session's thread. The main thread
 * watches the clock, and ends the program when an operation is late. */
#ifndef CPE_DM_TOOL_SESSION_H
#define CPE_DM_TOOL_SESSION_H

#include "cpe_dm_tool_values.h"

/* Runs the job on the session's thread, between a registration with this callback and a deregistration. Returns the
 * job's exit status, or CPE_DM_TOOL_FAILED. The deadline is timeout_ms after the start, unless the job moves the
 * deadline. If an operation of the module (the registration too) is running at the deadline, the program ends with a
 * message. Output that the job has not written is lost then. */
int cpe_dm_tool_run_session(int64_t timeout_ms, cpe_dm_user_cb callback, int (*job)());

/* A callback for commands that set no indication and start no scan. It releases the record. */
void cpe_dm_tool_drop_event(cpe_dm_hndl hndl, cpe_dm_info *info, void *user_data);

/* The deadline (monotonic clock, ms), at which no operation may be running any more. */
int64_t cpe_dm_tool_deadline();
void cpe_dm_tool_set_deadline(int64_t deadline_ms);

/* Of the functions below, those that call the module run on the session's thread; in watch, on the thread that asks the
 * modem. The others may be called on any thread. */

/* The first registers, the second deregisters. Both return a cpe_dm_status. */
int32_t cpe_dm_tool_register(cpe_dm_user_cb callback);
int32_t cpe_dm_tool_deregister();

/* Both tell why there is no registration: the first gives the module's status, the second says that the time ran
 * out. */
void cpe_dm_tool_tell_unregistered(int32_t status);
void cpe_dm_tool_tell_absent();

/* Tells a person at a terminal that the program waits for the modem. To be called when the wait has lasted
 * cpe_dm_tool_patience_ms. */
void cpe_dm_tool_tell_waiting(int64_t timeout_ms);
extern const int64_t cpe_dm_tool_patience_ms;

/* Asks for one metric. An NR 5G value that the modem left out has the status CPE_DM_ERR_INFO_UNAVAILABLE. Whether a PCI
 * of 0 was left out follows from the registration status and the CGI; the function asks for these when they are not
 * answered yet. */
void cpe_dm_tool_ask(cpe_dm_tool_values *values, uint32_t metric);

/* Asks for these metrics, a bit each, the registration status first. */
void cpe_dm_tool_ask_all(cpe_dm_tool_values *values, uint64_t metrics);

/* Whether a status means that the modem answered, with a value or without. */
bool cpe_dm_tool_is_answer(int32_t status);

/* The first returns the exit status that follows from the status of a value. The second returns the worse (greater) of
 * two exit statuses. */
int cpe_dm_tool_exit_status(int32_t status);
int cpe_dm_tool_worse(int a, int b);

/* The first sets the indication of the registration status; the second starts a scan for metrics of neighbours. Both
 * return a cpe_dm_status. */
int32_t cpe_dm_tool_set_reg_indication();
int32_t cpe_dm_tool_start_scan(cpe_dm_info *list, int32_t cnt);

#endif
