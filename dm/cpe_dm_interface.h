/* The module's state, and the entry check that lets an operation use the state. */
#ifndef CPE_DM_INTERFACE_H
#define CPE_DM_INTERFACE_H

#include "cpe_dm.h"
#include "cpe_dm_cmdq.h"
#include "cpe_dm_ind_table.h"
#include "cpe_dm_lock.h"

#include <cstdint>

/* The one state record. cpe_dm_lock guards it, except for two fields: `initialized` is atomic, and the queue guards
 * itself while it is up. */
struct cpe_dm_state_record {
    cpe_dm_hndl hndl; /* handle of the registered user; 0 while there is none */
    cpe_dm_cmdq cmdq;
    uint8_t initialized; /* atomic; 1 from the end of cpe_dm_init to the start of cpe_dm_deinit */
    void *user_data;
    cpe_dm_user_cb user_cb_fn;
    cpe_dm_nas_ind_info ind_info;
    uint8_t lte_scan_request; /* a scan was asked for, and its result has not come yet */
    uint8_t lte_scan_ongoing; /* the modem accepted the request for the scan */
    uint8_t lte_nbr_earfcn;   /* this field and the next five: the scan was asked for this metric */
    uint8_t lte_nbr_pci;
    uint8_t lte_nbr_cgi;
    uint8_t lte_nbr_plmn;
    uint8_t lte_nbr_rsrp;
    uint8_t lte_nbr_rsrq;
    uint8_t nr5g_scan_request; /* the same fields for NR 5G */
    uint8_t nr5g_scan_ongoing;
    uint8_t nr5g_nbr_earfcn;
    uint8_t nr5g_nbr_pci;
    uint8_t nr5g_nbr_cgi;
    uint8_t nr5g_nbr_plmn;
    uint8_t nr5g_nbr_rsrp;
};

enum {
    CPE_DM_CMDQ_MAX = 100,
};

extern cpe_dm_state_record cpe_dm_state;

/* The entry check of every public operation but cpe_dm_init. `operation` is the operation's name for the log. Refuses a
 * call from the callback or in a child of fork, takes the lock in its turn, and returns
 *   CPE_DM_SUCCESS              the operation may go on;
 *   CPE_DM_ERR_INVALID_PARAM    hndl is not the current handle, or args_valid is false; not logged here;
 *   CPE_DM_ERR_NOT_INITIALIZED  logged;
 *   CPE_DM_ERR_FAILURE          called from the callback, or the lock could not be taken; logged.
 * In a child of fork the parent's lock and handle mean nothing. There a handle of 0 or a false args_valid gives
 * CPE_DM_ERR_INVALID_PARAM, and everything else CPE_DM_ERR_NOT_INITIALIZED. */
int32_t cpe_dm_enter(cpe_dm_guard &guard, const char *operation, cpe_dm_hndl hndl, bool args_valid);

/* This process is a child of fork, and cpe_dm_init has not been called in it. */
bool cpe_dm_in_child();

/* `initialized`, read from any thread. */
bool cpe_dm_is_initialized();

/* Hands a command to the command thread; callable from any thread, without the lock. Returns 0, or -1 when the module
 * is not initialised (logged) or the queue refused the command; the command then stays the caller's. A
 * de-initialisation waits until no thread is inside this function before it takes the queue down. */
int32_t cpe_dm_queue_cmd(cpe_dm_cmd *cmd);

/* Calls the user's callback with a record, which belongs to the user from here on. Called on the command thread, under
 * the lock. */
void cpe_dm_call_user(cpe_dm_info *record);

#endif
