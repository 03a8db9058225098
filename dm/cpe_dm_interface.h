/* The module's state and its lock. */
#ifndef CPE_DM_INTERFACE_H
#define CPE_DM_INTERFACE_H

#include "cpe_dm.h"
#include "cpe_dm_cmdq.h"
#include "cpe_dm_ind_table.h"

#include <cstdint>
#include <pthread.h>

/* The one state record. Guarded by cpe_dm_lock, but for `initialized`, which is atomic, and for the queue, which guards
 * itself while it is up. */
struct cpe_dm_state_record {
    cpe_dm_hndl hndl; /* handle of the registered client; 0 while there is none */
    cpe_dm_cmdq cmdq;
    uint8_t initialized; /* atomic; 1 from the end of cpe_dm_init to the start of cpe_dm_deinit */
    void *user_data;
    cpe_dm_user_cb user_cb_fn;
    cpe_dm_nas_ind_info ind_info;
    uint8_t lte_scan_request; /* a scan was asked for and its result not delivered yet */
    uint8_t lte_scan_ongoing; /* the modem accepted it */
    uint8_t lte_nbr_earfcn;   /* what it was asked for: */
    uint8_t lte_nbr_pci;
    uint8_t lte_nbr_cgi;
    uint8_t lte_nbr_plmn;
    uint8_t lte_nbr_rsrp;
    uint8_t lte_nbr_rsrq;
    uint8_t nr5g_scan_request; /* as for LTE */
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
extern pthread_mutex_t cpe_dm_lock;

/* Holds cpe_dm_lock from cpe_dm_enter (or cpe_dm_guard_take) to the end of the scope. */
struct cpe_dm_guard {
    bool held = false;
    cpe_dm_guard() = default;
    cpe_dm_guard(const cpe_dm_guard &) = delete;
    cpe_dm_guard &operator=(const cpe_dm_guard &) = delete;
    ~cpe_dm_guard();
};

/* Take and give back the lock. They return 0, or -1 with the lock as it was; a release that fails is tried twice. */
int32_t cpe_dm_guard_take(cpe_dm_guard &guard);
int32_t cpe_dm_guard_give(cpe_dm_guard &guard);

/* The entry check of every public operation but cpe_dm_init. Takes the lock, having waited for a de-initialisation in
 * progress, and returns
 *   CPE_DM_SUCCESS              the caller may go on;
 *   CPE_DM_ERR_INVALID_PARAM    hndl is not the current handle, or args_valid is false; the caller logs its line;
 *   CPE_DM_ERR_NOT_INITIALIZED  logged;
 *   CPE_DM_ERR_FAILURE          the lock could not be taken; logged. */
int32_t cpe_dm_enter(cpe_dm_guard &guard, cpe_dm_hndl hndl, bool args_valid);

/* `initialized`, read from any thread. */
bool cpe_dm_is_initialized();

/* Hands a command to the command thread while the module is initialised; callable from any thread, without the lock. Of
 * a de-initialisation, which takes the queue down, this needs to know nothing: the de-initialisation waits for whoever
 * is inside. Returns 0, or -1 with the command still the caller's: the module is not initialised (logged), or the queue
 * refused. */
int32_t cpe_dm_queue_cmd(cpe_dm_cmd *cmd);

#endif
