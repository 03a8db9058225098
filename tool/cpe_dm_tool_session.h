/* The registration with the module, and the time that its operations may take.
 *
 * An operation of the module cannot be broken off: cpe_dm_init waits for the modem without limit, and a request takes
 * as long as the modem does. So commands run on a thread of their own, the session's, while the main thread watches the
 * clock, and ends the program when an operation is late. */
#ifndef CPE_DM_TOOL_SESSION_H
#define CPE_DM_TOOL_SESSION_H

#include "cpe_dm_tool_values.h"

/* Runs job on the session's thread, between a registration with this callback and a deregistration, and returns the
 * exit status: what job returns, or CPE_DM_TOOL_FAILED. Ends the program with a message when the modem has not appeared
 * in timeout_ms, or when an operation of the module is on at the deadline, which is timeout_ms from the start on unless
 * job moves it. What job has not written then is lost. */
int cpe_dm_tool_run_session(int64_t timeout_ms, cpe_dm_user_cb callback, int (*job)());

/* A callback for those who set no indication and start no scan. */
void cpe_dm_tool_drop_event(cpe_dm_hndl hndl, cpe_dm_info *info, void *user_data);

/* The deadline of operations: until when (monotonic clock, ms) an operation that is on may take. */
int64_t cpe_dm_tool_deadline();
void cpe_dm_tool_set_deadline(int64_t deadline_ms);

/* The rest is called on the session's thread; by watch, on the thread that asks. */

/* Registers; a cpe_dm_status. */
int32_t cpe_dm_tool_register(cpe_dm_user_cb callback);
int32_t cpe_dm_tool_deregister();

/* Tells why there is no registration: what the module said, or that the time ran out. */
void cpe_dm_tool_tell_unregistered(int32_t status);
void cpe_dm_tool_tell_absent();

/* Tells somebody at a terminal what is waited for; after so long a wait. */
void cpe_dm_tool_tell_waiting(int64_t timeout_ms);
extern const int64_t cpe_dm_tool_patience_ms;

/* Asks for one metric. An NR 5G value that the modem left out has the status CPE_DM_ERR_INFO_UNAVAILABLE; it takes the
 * registration status and the CGI to tell of a PCI of 0, which are asked for where they are not answered. */
void cpe_dm_tool_ask(cpe_dm_tool_values *values, uint32_t metric);

/* Asks for these metrics, a bit each, the registration status first. */
void cpe_dm_tool_ask_all(cpe_dm_tool_values *values, uint64_t metrics);

/* Whether a status means that a modem answered: with a value, or without one. */
bool cpe_dm_tool_is_answer(int32_t status);

/* The exit status for a value of this status, and the greater of two exit statuses. */
int cpe_dm_tool_exit_status(int32_t status);
int cpe_dm_tool_worse(int a, int b);

/* Sets an indication that needs no threshold, and starts a scan for metrics of neighbours; a cpe_dm_status. */
int32_t cpe_dm_tool_set_reg_indication();
int32_t cpe_dm_tool_start_scan(cpe_dm_info *list, int32_t cnt);

#endif
