/* Client of the modem's network access service (NAS): the connection, the queries and requests, and the indications.
 *
 * None of the functions takes a lock: the interface calls them with cpe_dm_lock held, so they run one at a time. Only
 * the two callbacks run without the lock, on the framework's thread. Unless stated otherwise a function returns
 *   CPE_DM_SUCCESS
 *   CPE_DM_ERR_FAILURE          the transport or the service failed;
 *   CPE_DM_ERR_INVALID_PARAM    the record is null;
 *   CPE_DM_ERR_NO_MEMORY        a memory allocation failed;
 *   CPE_DM_ERR_NOT_INITIALIZED  there is no connection;
 * each failure is logged. The caller owns the records. Values are as the service reports them. A value that the
 * service did not report is 0. */
#ifndef CPE_DM_ZEB_NAS_H
#define CPE_DM_ZEB_NAS_H

#include "cpe_dm.h"
#include "cpe_dm_ind_table.h"
#include "zeb_nas_v01.h"

#include <cstdint>

enum {
    CPE_DM_NAS_TIMEOUT_MS = 50000,
    CPE_DM_NAS_CC_MAX = 12,
};

struct cpe_dm_nas_cell_info {
    uint8_t lte_intra_valid;
    struct {
        uint8_t plmn_id[3];
        uint16_t tac;
        uint32_t cgi;
        uint16_t earfcn;
        uint16_t pci;
        int16_t rsrq; /* rsrq and rsrp: from the intra-frequency list; 0 when that list lacks the serving cell */
        int16_t rsrp;
    } lte_serving;
    uint8_t nr5g_serving_cell_info_valid; /* the serving cell or its ARFCN was reported */
    struct {
        uint8_t plmn_id[3];
        uint8_t tac[3];
        uint64_t cgi;
        uint8_t nr5g_arfcn_valid;
        uint32_t nr5g_arfcn;
        uint16_t pci;
        int16_t rsrq;
        int16_t rsrp;
        int16_t snr;
    } nr5g_serving;
};

struct cpe_dm_nas_sig_info {
    uint8_t lte_sig_info_valid;
    struct {
        int8_t rssi;
        int8_t rsrq;
        int16_t rsrp;
        int16_t snr;
    } lte_sig;
    uint8_t nr5g_sig_info_valid;
    struct {
        int16_t rsrp;
        int16_t snr;
    } nr5g_sig;
    uint8_t nr5g_rsrq_valid;
    int16_t nr5g_rsrq;
};

struct cpe_dm_nas_tx_pwr_info {
    uint8_t lte_tx_valid;
    int32_t lte_tx_pwr;
    uint8_t nr5g_tx_valid;
    int32_t nr5g_tx_pwr;
};

struct cpe_dm_nas_cc_cqi {
    uint32_t cw_cqi_len;
    uint8_t cw_cqi[CPE_DM_CW_MAX];
};

struct cpe_dm_nas_cqi_info {
    uint8_t lte_cc_cqi_valid;
    uint32_t lte_cc_cqi_len;
    cpe_dm_nas_cc_cqi lte_cc_cqi[CPE_DM_NAS_CC_MAX];
    uint8_t nr5g_cc_cqi_valid;
    uint32_t nr5g_cc_cqi_len;
    cpe_dm_nas_cc_cqi nr5g_cc_cqi[CPE_DM_NAS_CC_MAX];
};

struct cpe_dm_nas_cell_lock_list {
    uint8_t lte_cell_list_valid;
    uint8_t lte_cell_list_len;
    cpe_dm_lte_cell_lock lte_cell_list[CPE_DM_LTE_CELL_LOCK_MAX];
    uint8_t nr5g_cell_lock_valid; /* cell_identity_valid or arfcn_identity_valid is 1 */
    uint8_t cell_identity_valid;
    uint16_t pci;
    uint32_t arfcn;
    uint8_t arfcn_identity_valid;
    uint32_t arfcn_list_len;
    uint32_t arfcn_list[CPE_DM_NR5G_ARFCN_LOCK_MAX];
};

struct cpe_dm_nas_sys_info {
    uint32_t network_status; /* a cpe_dm_reg_status */
    uint8_t nr5g_pci_info_valid;
    uint8_t nr5g_pci_valid;
    uint16_t nr5g_pci;
};

/* Connects: waits without limit for the service, creates the client, and registers for the system information
 * indication. Returns 0 also when already connected. After a failure there is no connection.
 *
 * If a call fails and cannot release its notifier, the next call tries to release that notifier. If this attempt fails
 * too, the function gives this notifier up for good and continues with a new notifier. The function can give up only
 * one notifier in a process. If a later notifier cannot be released either, every further call tries to release the
 * later notifier, and returns CPE_DM_ERR_FAILURE as long as the release fails. */
int32_t cpe_dm_zeb_nas_init();

/* Creates the client, and registers for the system information indication; the last step of cpe_dm_zeb_nas_init. If the
 * registration fails, the client stays, and the caller has to release it. */
int32_t cpe_dm_zeb_nas_client_init();

/* Disconnects. Once the function has returned 0, the framework is not running cpe_dm_zeb_nas_ind_cb or
 * cpe_dm_zeb_nas_notify_cb, and does not call them again. Returns CPE_DM_ERR_FAILURE when there is no connection, or
 * when a handle could not be released. After a failed release, the next call releases the handles that are left. */
int32_t cpe_dm_zeb_nas_release();

/* Called in a child of fork: forgets the parent's connection without calling the framework. */
void cpe_dm_zeb_nas_forget();

/* Retrieves the identity and the measurements of the serving cells. When a memory allocation fails, returns
 * CPE_DM_ERR_FAILURE and not CPE_DM_ERR_NO_MEMORY. On failure the record is unchanged. */
int32_t cpe_dm_zeb_nas_get_cell_info(cpe_dm_nas_cell_info *cell_info);

/* Retrieves the signal values of the serving cells. On failure the record is unchanged. */
int32_t cpe_dm_zeb_nas_get_sig_info(cpe_dm_nas_sig_info *sig_info);

/* Retrieves the transmit power of each technology that is in service according to the module's network status. When the
 * NR 5G request fails, the LTE value stays in the record. */
int32_t cpe_dm_zeb_nas_get_tx_pwr_info(cpe_dm_nas_tx_pwr_info *tx_pwr_info);

/* Retrieves the channel quality of each technology that is in service according to the module's network status. When
 * neither LTE nor NR 5G is in service, returns CPE_DM_ERR_FAILURE and logs nothing. When the NR 5G request fails, the
 * LTE values stay in the record. */
int32_t cpe_dm_zeb_nas_get_cqi_info(cpe_dm_nas_cqi_info *cqi_info);

/* Retrieves the cell lock list of each technology that is in service according to the module's network status. When the
 * NR 5G request fails, the LTE list stays in the record. */
int32_t cpe_dm_zeb_nas_get_cell_lock_list(cpe_dm_nas_cell_lock_list *cell_lock_list);

/* Retrieves the registration status, and the PCI of an NR 5G cell that is attached to an LTE cell. When
 * update_network_status is not 0, stores the status as the module's network status. On failure the record is
 * unchanged. */
int32_t cpe_dm_zeb_nas_get_sys_info(cpe_dm_nas_sys_info *sys_info, uint8_t update_network_status);

/* Asks for a scan of one technology: LTE when lte_scan_request is not 0, otherwise NR 5G. Sets *lte_scan_ongoing and
 * *nr5g_scan_ongoing to 0. When the service accepts the request, sets the flag of the scanned technology to 1. The
 * pointer to the flag of the technology that is not scanned may be null. Does not test whether there is a connection.
 * CPE_DM_ERR_INVALID_PARAM: no scan is requested, or both pointers are null. */
int32_t cpe_dm_zeb_nas_perform_incremental_scan(uint8_t lte_scan_request, uint8_t *lte_scan_ongoing,
                                                uint8_t nr5g_scan_request, uint8_t *nr5g_scan_ongoing);

/* Registers with the service for the indications that are set in `ind_info`. The system information indication is
 * always registered. The signal information indication is registered when `ind_info` has at least one signal value set.
 * The function then sends the thresholds of all signal values, even when no signal value is set. The function does not
 * check whether the service accepts the thresholds. */
int32_t cpe_dm_zeb_nas_register_ind(const cpe_dm_nas_ind_info *ind_info);

/* Called by the framework with an indication of the service. Decodes and logs the indication, and posts it to the
 * command thread. Signal information and scan results are posted as decoded. System information is not posted itself:
 * the network status is derived from it. If the network status has changed, it is stored as the module's network status
 * and posted. For any other indication only the arrival is logged. */
void cpe_dm_zeb_nas_ind_cb(zeb_client_handle client, uint32_t msg_id, const void *ind_buf, uint32_t ind_buf_len,
                           void *cb_data);

/* Called by the framework when the service came or went. Logs the event. */
void cpe_dm_zeb_nas_notify_cb(zeb_client_handle client, zeb_service_object service, int32_t event, void *cb_data);

#endif
