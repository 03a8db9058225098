/* The module's state, and the check that every operation makes before it uses the state. */
#ifndef CPE_DM_INTERFACE_H
#define CPE_DM_INTERFACE_H

#include "cpe_dm.h"
#include "cpe_dm_cmdq.h"
#include "cpe_dm_ind_table.h"
#include "cpe_dm_lock.h"

#include <cstdint>

/* The type of the module's state, of which there is one instance. cpe_dm_lock guards all its fields except two:
 * `initialized` is accessed through std::atomic_ref, and `cmdq` has its own mutex while the queue is up. */
struct cpe_dm_state_record {
    cpe_dm_hndl hndl; /* handle of the registered user; 0 while there is none */
    cpe_dm_cmdq cmdq;
    uint8_t initialized; /* 1 from the end of cpe_dm_init to the start of cpe_dm_deinit */
    void *user_data;
    cpe_dm_user_cb user_cb_fn;
    cpe_dm_nas_ind_info ind_info;
    uint8_t lte_scan_request; /* 1 while an LTE scan is requested and its result has not come yet */
    uint8_t lte_scan_ongoing; /* 1 from the modem's acceptance of the LTE scan until the result of the scan comes */
    uint8_t lte_nbr_earfcn; /* this field and the next five: 1 when the user asked for this metric of LTE neighbours */
    uint8_t lte_nbr_pci;
    uint8_t lte_nbr_cgi;
    uint8_t lte_nbr_plmn;
    uint8_t lte_nbr_rsrp;
    uint8_t lte_nbr_rsrq;
    uint8_t nr5g_scan_request; /* the nr5g_ fields mean the same for NR 5G as the lte_ fields mean for LTE */
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

/* The check at the start of every public operation except cpe_dm_init. `operation` is the name of the operation for the
 * log. `args_valid` tells whether the arguments other than the handle are valid. Refuses a call from the user's
 * callback. Otherwise waits for the operation's turn and takes the lock. Returns
 *   CPE_DM_SUCCESS              the operation may go on;
 *   CPE_DM_ERR_INVALID_PARAM    `hndl` is not the current handle, or `args_valid` is false; not logged here;
 *   CPE_DM_ERR_NOT_INITIALIZED  the module is not initialised; logged;
 *   CPE_DM_ERR_FAILURE          called from the callback, or a thread primitive failed; logged.
 * In a child of fork that has not called cpe_dm_init, the function does not take the lock and cannot compare `hndl`
 * with the current handle. In this case the function returns CPE_DM_ERR_INVALID_PARAM if `hndl` is null or `args_valid`
 * is false, and otherwise CPE_DM_ERR_NOT_INITIALIZED. */
int32_t cpe_dm_enter(cpe_dm_guard &guard, const char *operation, cpe_dm_hndl hndl, bool args_valid);

/* Whether this process is a child of fork in which cpe_dm_init has not been called yet. */
bool cpe_dm_in_child();

/* Whether the module is initialised. Callable from any thread, without the lock. */
bool cpe_dm_is_initialized();

/* Hands a command to the command thread; callable from any thread, without the lock. Returns 0, or -1 when the module
 * is not initialised (logged) or the queue refused the command. After -1 the command still belongs to the caller. A
 * de-initialisation waits until no thread is inside this function before it takes the queue down. */
int32_t cpe_dm_queue_cmd(cpe_dm_cmd *cmd);

/* Calls the user's callback with a record, which belongs to the user from here on. Called on the command thread, under
 * the lock. */
void cpe_dm_call_user(cpe_dm_info *record);

#endif
