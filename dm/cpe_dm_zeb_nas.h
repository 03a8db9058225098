/* Client of the modem's network access service (NAS): the connection, the queries and requests, and the indications.
 *
 * None of the operations takes a lock: the interface calls them with cpe_dm_lock held, so they run one at a time. The
 * two callbacks run on the framework's thread. Unless stated otherwise an operation returns
 *   CPE_DM_SUCCESS
 *   CPE_DM_ERR_FAILURE          the transport or the service failed;
 *   CPE_DM_ERR_INVALID_PARAM    the record is null;
 *   CPE_DM_ERR_NO_MEMORY        a memory allocation failed;
 *   CPE_DM_ERR_NOT_INITIALIZED  there is no connection;
 * each failure is logged. The records are the caller's. Values are as the service reports them. A field that belongs to
 * a group which the service did not report is 0. */
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
        int16_t rsrq; /* from the serving cell's entry in the intra-frequency list; 0 when there is no such entry */
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
    uint8_t nr5g_cell_lock_valid; /* one of the two forms of lock below was reported */
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

/* Connects: waits without limit for the service, creates the client and asks for system information indications.
 * Returns 0 also when already connected. After a failure there is no connection.
 *
 * If a failed call could not release its notifier, the next call releases this notifier first. If that release fails
 * too, the next call forgets the notifier and goes on. Only one notifier can be forgotten: as long as a second one
 * cannot be released, the call fails. */
int32_t cpe_dm_zeb_nas_init();

/* The step of cpe_dm_zeb_nas_init that creates the client. When the client's indication registration fails, the client
 * stays, and the caller has to release it. */
int32_t cpe_dm_zeb_nas_client_init();

/* Disconnects. Once the function has returned 0, neither callback is running or will run. CPE_DM_ERR_FAILURE: not
 * connected, or a release failed; the next call then releases what is left. */
int32_t cpe_dm_zeb_nas_release();

/* In a child of fork: forgets the parent's connection without calling the framework. */
void cpe_dm_zeb_nas_forget();

/* Identity and measurements of the serving cells. A failed memory allocation gives CPE_DM_ERR_FAILURE here. On failure
 * the record is unchanged. */
int32_t cpe_dm_zeb_nas_get_cell_info(cpe_dm_nas_cell_info *cell_info);

/* Signal values of the serving cells. On failure the record is unchanged. */
int32_t cpe_dm_zeb_nas_get_sig_info(cpe_dm_nas_sig_info *sig_info);

/* Transmit power of the technologies that are in service according to the module's network status. When the NR 5G
 * request fails, the LTE value stays in the record. */
int32_t cpe_dm_zeb_nas_get_tx_pwr_info(cpe_dm_nas_tx_pwr_info *tx_pwr_info);

/* Channel quality of the technologies in service. The rules of cpe_dm_zeb_nas_get_tx_pwr_info hold here too. In
 * addition, returns CPE_DM_ERR_FAILURE when no technology is in service. */
int32_t cpe_dm_zeb_nas_get_cqi_info(cpe_dm_nas_cqi_info *cqi_info);

/* Cell lock lists of the technologies in service. The rules of cpe_dm_zeb_nas_get_tx_pwr_info hold here too. */
int32_t cpe_dm_zeb_nas_get_cell_lock_list(cpe_dm_nas_cell_lock_list *cell_lock_list);

/* Registration status, and the PCI of an NR 5G cell attached to the LTE cell. When update_network_status is not 0, the
 * status is stored as the module's network status. On failure the record is unchanged. */
int32_t cpe_dm_zeb_nas_get_sys_info(cpe_dm_nas_sys_info *sys_info, uint8_t update_network_status);

/* Asks for a scan of one technology: LTE when lte_scan_request is not 0, otherwise NR 5G. Clears both ongoing flags,
 * and sets the flag of the scanned technology when the service accepts the request. The flag of the other technology
 * may be null. Does not test whether there is a connection. CPE_DM_ERR_INVALID_PARAM: no scan is requested, or both
 * flags are null. */
int32_t cpe_dm_zeb_nas_perform_incremental_scan(uint8_t lte_scan_request, uint8_t *lte_scan_ongoing,
                                                uint8_t nr5g_scan_request, uint8_t *nr5g_scan_ongoing);

/* Brings the service's indications in line with the table. System information is always on. Signal information is on
 * when an entry with a threshold is set. The thresholds are sent in either case; whether the service accepts them is
 * not checked. */
int32_t cpe_dm_zeb_nas_register_ind(const cpe_dm_nas_ind_info *ind_info);

/* Decodes, logs and posts an indication of the service to the command thread. Signal information and scan results are
 * posted as decoded. From system information the network status is derived; if it has changed, it is stored as the
 * module's network status and posted. For any other indication only the arrival is logged. */
void cpe_dm_zeb_nas_ind_cb(zeb_client_handle client, uint32_t msg_id, const void *ind_buf, uint32_t ind_buf_len,
                           void *cb_data);

/* Logs that the service came or went. */
void cpe_dm_zeb_nas_notify_cb(zeb_client_handle client, zeb_service_object service, int32_t event, void *cb_data);

#endif
