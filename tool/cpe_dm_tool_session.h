/* The registration with the module, and a time limit for operations of the module.
 *
 * An operation of the module cannot be broken off: cpe_dm_init waits for the modem without limit, and a request takes
 * as long as the modem takes to answer. So a command runs on a thread of its own, the session's thread. The main thread
 * watches the clock, and ends the program when an operation is still running at the deadline. */
#ifndef CPE_DM_TOOL_SESSION_H
#define CPE_DM_TOOL_SESSION_H

#include "cpe_dm_tool_values.h"

/* Runs the job on the session's thread, between a registration with this callback and a deregistration. Returns the
 * job's exit status, or CPE_DM_TOOL_FAILED. The deadline is timeout_ms after the start, unless the job moves the
 * deadline. If an operation of the module (the registration too) is running at the deadline, the program ends with a
 * message. Output that the job has not written is lost then. */
int cpe_dm_tool_run_session(int64_t timeout_ms, cpe_dm_user_cb callback, int (*job)());

/* A callback for commands that set no indication and start no scan. The callback only releases `info`. */
void cpe_dm_tool_drop_event(cpe_dm_hndl hndl, cpe_dm_info *info, void *user_data);

/* Return and set the deadline of the session (monotonic clock, ms). The program ends when an operation of the module is
 * running at the deadline or later. */
int64_t cpe_dm_tool_deadline();
void cpe_dm_tool_set_deadline(int64_t deadline_ms);

/* Threads: some of the functions below call the module, namely those that register, deregister, ask, set an indication
 * or start a scan. They must be called on the session's thread or, in watch, on the thread that asks the modem
 * (cpe_dm_tool_asker.h). The other functions may be called on any thread. */

/* Register with the module, and end the registration. Both functions return a cpe_dm_status. */
int32_t cpe_dm_tool_register(cpe_dm_user_cb callback);
int32_t cpe_dm_tool_deregister();

/* Writes the message that the registration failed. `status` is what cpe_dm_tool_register returned. */
void cpe_dm_tool_tell_unregistered(int32_t status);

/* Writes the message that the modem did not appear in time. */
void cpe_dm_tool_tell_absent();

/* If standard error is a terminal, tells the user that the program is waiting for the modem, and that the wait ends
 * after timeout_ms at the latest. To be called when the wait has lasted cpe_dm_tool_patience_ms. */
void cpe_dm_tool_tell_waiting(int64_t timeout_ms);
extern const int64_t cpe_dm_tool_patience_ms;

/* Asks the modem for one metric, and stores the answer in *values. An NR 5G value that the modem left out gets the
 * status CPE_DM_ERR_INFO_UNAVAILABLE. An NR 5G PCI of 0 is either the PCI of the cell, or means that the modem
 * left the PCI out. The registration status and the CGI show which of the two is the case. So when the NR 5G PCI is 0,
 * the function asks for the registration status and the CGI as well, unless *values has their answers. */
void cpe_dm_tool_ask(cpe_dm_tool_values *values, uint32_t metric);

/* Asks the modem for each metric whose bit (1 << metric) is set in `metrics`. If the bit of the registration status is
 * set, asks for the registration status first. */
void cpe_dm_tool_ask_all(cpe_dm_tool_values *values, uint64_t metrics);

/* Whether a status means that the modem answered, with a value or without. */
bool cpe_dm_tool_is_answer(int32_t status);

/* The exit status for the status of a value: CPE_DM_TOOL_DONE for a value, CPE_DM_TOOL_NO_VALUE for an answer without a
 * value, CPE_DM_TOOL_FAILED for anything else. */
int cpe_dm_tool_exit_status(int32_t status);

/* Returns the worse (greater) of two exit statuses. */
int cpe_dm_tool_worse(int a, int b);

/* Sets the indication of the registration status, so that the callback is told of changes. Returns a cpe_dm_status. */
int32_t cpe_dm_tool_set_reg_indication();

/* Starts a scan for neighbours. `list` has `cnt` requests for metrics of neighbours. Returns a cpe_dm_status. */
int32_t cpe_dm_tool_start_scan(cpe_dm_info *list, int32_t cnt);

#endif
