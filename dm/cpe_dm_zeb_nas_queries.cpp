#include "cpe_dm_zeb_nas_request.h"
#include "cpe_dm_zeb_nas_status.h"

#include "cpe_dm_alloc.h"
#include "cpe_dm_bounded.h"
#include "cpe_dm_log.h"

#include <cstring>
#include <iterator>

/* Logs the LTE serving cell and copies it. */
static void nas_copy_lte_serving(const zeb_nas_cell_location_info_resp &resp, cpe_dm_nas_cell_info &cell_info) {
    const auto &from = resp.lte_intra;
    auto &to = cell_info.lte_serving;
    CPE_DM_LOG_INFO("LTE serving cell info - earfcn[%hu]", from.earfcn);
    CPE_DM_LOG_INFO("LTE serving cell info - pci[%hu]", from.serving_cell_id);
    CPE_DM_LOG_INFO("LTE serving cell info - tac[%hu]", from.tac);
    CPE_DM_LOG_INFO("LTE serving cell info - cgi[%u]", from.cgi);
    CPE_DM_LOG_INFO("LTE serving cell info - plmn_id[0x%x 0x%x 0x%x]", from.plmn_id[0], from.plmn_id[1],
                    from.plmn_id[2]);
    cell_info.lte_intra_valid = resp.lte_intra_valid;
    memcpy(to.plmn_id, from.plmn_id, sizeof(to.plmn_id));
    to.tac = from.tac;
    to.cgi = from.cgi;
    to.earfcn = from.earfcn;
    to.pci = from.serving_cell_id;
    const zeb_nas_intra_cell *end = from.cells + cpe_dm_bounded(from.cells_len, std::size(from.cells));
    const zeb_nas_intra_cell *cell = from.cells;
    while (cell != end && cell->pci != from.serving_cell_id) {
        cell++;
    }
    if (cell != end) {
        CPE_DM_LOG_INFO("LTE serving cell info - rsrp[%hi]", cell->rsrp);
        CPE_DM_LOG_INFO("LTE serving cell info - rsrq[%hi]", cell->rsrq);
        to.rsrp = cell->rsrp;
        to.rsrq = cell->rsrq;
    }
}

/* Logs the NR 5G serving cell and copies it. */
static void nas_copy_nr5g_serving(const zeb_nas_cell_location_info_resp &resp, cpe_dm_nas_cell_info &cell_info) {
    const auto &from = resp.nr5g_serving;
    auto &to = cell_info.nr5g_serving;
    CPE_DM_LOG_INFO("NR 5G serving cell info - pci[%hu]", from.pci);
    CPE_DM_LOG_INFO("NR 5G serving cell info - cgi[%llu]", static_cast<unsigned long long>(from.cgi));
    CPE_DM_LOG_INFO("NR 5G serving cell info - rsrp[%hi]", from.rsrp);
    CPE_DM_LOG_INFO("NR 5G serving cell info - rsrq[%hi]", from.rsrq);
    CPE_DM_LOG_INFO("NR 5G serving cell info - snr[%hi]", from.snr);
    CPE_DM_LOG_INFO("NR 5G serving cell info - plmn_id[0x%x 0x%x 0x%x]", from.plmn_id[0], from.plmn_id[1],
                    from.plmn_id[2]);
    CPE_DM_LOG_INFO("NR 5G serving cell info - tac[0x%x 0x%x 0x%x]", from.tac[0], from.tac[1], from.tac[2]);
    cell_info.nr5g_serving_cell_info_valid = resp.nr5g_serving_cell_info_valid;
    memcpy(to.plmn_id, from.plmn_id, sizeof(to.plmn_id));
    memcpy(to.tac, from.tac, sizeof(to.tac));
    to.cgi = from.cgi;
    to.pci = from.pci;
    to.rsrq = from.rsrq;
    to.rsrp = from.rsrp;
    to.snr = from.snr;
}

int32_t cpe_dm_zeb_nas_get_cell_info(cpe_dm_nas_cell_info *cell_info) {
    const int32_t status = cpe_dm_zeb_nas_check(cell_info);
    if (status == CPE_DM_ERR_INVALID_PARAM) {
        CPE_DM_LOG_ERROR("Invalid params - cell_info[%p]", static_cast<void *>(cell_info));
    }
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    auto req = cpe_dm_alloc<zeb_nas_empty_req>();
    auto resp = cpe_dm_alloc<zeb_nas_cell_location_info_resp>();
    if (!req || !resp) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return CPE_DM_ERR_FAILURE;
    }
    const int32_t error = cpe_dm_zeb_nas_send(ZEB_NAS_GET_CELL_LOCATION_INFO, *req, *resp);
    if (cpe_dm_zeb_nas_failed(error, resp->header)) {
        CPE_DM_LOG_ERROR("Retrieving cell info failed - error[%d], response [%d/%d]", error,
                         static_cast<int32_t>(resp->header.result), static_cast<int32_t>(resp->header.error));
        return CPE_DM_ERR_FAILURE;
    }
    *cell_info = {};
    CPE_DM_LOG_INFO("LTE serving cell info - lte_intra_valid[%u]", resp->lte_intra_valid);
    if (resp->lte_intra_valid) {
        nas_copy_lte_serving(*resp, *cell_info);
    }
    CPE_DM_LOG_INFO("NR 5G serving cell info - nr5g_serving_cell_info_valid[%u]", resp->nr5g_serving_cell_info_valid);
    if (resp->nr5g_serving_cell_info_valid) {
        nas_copy_nr5g_serving(*resp, *cell_info);
    }
    CPE_DM_LOG_INFO("NR 5G serving cell info - nr5g_arfcn_valid[%u]", resp->nr5g_arfcn_valid);
    if (resp->nr5g_arfcn_valid) {
        CPE_DM_LOG_INFO("NR 5G serving cell info - nr5g_arfcn[%u]", resp->nr5g_arfcn);
        cell_info->nr5g_serving.nr5g_arfcn_valid = resp->nr5g_arfcn_valid;
        cell_info->nr5g_serving.nr5g_arfcn = resp->nr5g_arfcn;
        cell_info->nr5g_serving_cell_info_valid = 1;
    }
    return CPE_DM_SUCCESS;
}

int32_t cpe_dm_zeb_nas_get_sig_info(cpe_dm_nas_sig_info *sig_info) {
    int32_t status = cpe_dm_zeb_nas_check(sig_info);
    if (status == CPE_DM_ERR_INVALID_PARAM) {
        CPE_DM_LOG_ERROR("Invalid params - sig_info[%p]", static_cast<void *>(sig_info));
    }
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    auto req = cpe_dm_alloc<zeb_nas_empty_req>();
    auto resp = cpe_dm_alloc<zeb_nas_sig_info_resp>();
    if (!req || !resp) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return CPE_DM_ERR_NO_MEMORY;
    }
    const int32_t error = cpe_dm_zeb_nas_send(ZEB_NAS_GET_SIG_INFO, *req, *resp);
    if (cpe_dm_zeb_nas_failed(error, resp->header)) {
        CPE_DM_LOG_ERROR("Retrieving signal info failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp->header.result), static_cast<int32_t>(resp->header.error));
        return CPE_DM_ERR_FAILURE;
    }
    const zeb_nas_sig_info &info = resp->info;
    *sig_info = {};
    CPE_DM_LOG_INFO("LTE signal info - lte_sig_info_valid[%u]", info.lte_sig_info_valid);
    if (info.lte_sig_info_valid) {
        CPE_DM_LOG_INFO("LTE signal info - rssi[%hi]", info.lte_sig.rssi);
        CPE_DM_LOG_INFO("LTE signal info - rsrq[%hi]", info.lte_sig.rsrq);
        CPE_DM_LOG_INFO("LTE signal info - rsrp[%hi]", info.lte_sig.rsrp);
        CPE_DM_LOG_INFO("LTE signal info - snr[%hi]", info.lte_sig.snr);
        sig_info->lte_sig_info_valid = info.lte_sig_info_valid;
        sig_info->lte_sig = {info.lte_sig.rssi, info.lte_sig.rsrq, info.lte_sig.rsrp, info.lte_sig.snr};
    }
    CPE_DM_LOG_INFO("NR 5G signal info - nr5g_sig_info_valid[%u]", info.nr5g_sig_info_valid);
    if (info.nr5g_sig_info_valid) {
        CPE_DM_LOG_INFO("NR 5G signal info - rsrp[%hi]", info.nr5g_sig.rsrp);
        CPE_DM_LOG_INFO("NR 5G signal info - snr[%hi]", info.nr5g_sig.snr);
        sig_info->nr5g_sig_info_valid = info.nr5g_sig_info_valid;
        sig_info->nr5g_sig = {info.nr5g_sig.rsrp, info.nr5g_sig.snr};
    }
    CPE_DM_LOG_INFO("NR 5G signal info - nr5g_rsrq_valid[%u]", info.nr5g_rsrq_valid);
    if (info.nr5g_rsrq_valid) {
        CPE_DM_LOG_INFO("NR 5G signal info - rsrq[%hi]", info.nr5g_rsrq);
        sig_info->nr5g_rsrq_valid = info.nr5g_rsrq_valid;
        sig_info->nr5g_rsrq = info.nr5g_rsrq;
    }
    return CPE_DM_SUCCESS;
}

/* Sends one transmit power request, and stores the response in `resp`. Clears `resp` first, because `resp` may hold an
 * earlier response. */
static int32_t nas_request_tx_rx_info(uint32_t radio_if, zeb_nas_tx_rx_info_req &req, zeb_nas_tx_rx_info_resp &resp) {
    req.radio_if = radio_if;
    resp = {};
    const int32_t error = cpe_dm_zeb_nas_send(ZEB_NAS_GET_TX_RX_INFO, req, resp);
    if (cpe_dm_zeb_nas_failed(error, resp.header)) {
        CPE_DM_LOG_ERROR("Retrieving TX/RX power info failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp.header.result), static_cast<int32_t>(resp.header.error));
        return CPE_DM_ERR_FAILURE;
    }
    return CPE_DM_SUCCESS;
}

int32_t cpe_dm_zeb_nas_get_tx_pwr_info(cpe_dm_nas_tx_pwr_info *tx_pwr_info) {
    int32_t status = cpe_dm_zeb_nas_check(tx_pwr_info);
    if (status == CPE_DM_ERR_INVALID_PARAM) {
        CPE_DM_LOG_ERROR("Invalid params - tx_pwr_info[%p]", static_cast<void *>(tx_pwr_info));
    }
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    auto req = cpe_dm_alloc<zeb_nas_tx_rx_info_req>();
    auto resp = cpe_dm_alloc<zeb_nas_tx_rx_info_resp>();
    if (!req || !resp) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return CPE_DM_ERR_NO_MEMORY;
    }
    *tx_pwr_info = {};
    if (cpe_dm_zeb_nas_lte_in_service()) {
        status = nas_request_tx_rx_info(ZEB_NAS_RADIO_IF_LTE, *req, *resp);
        if (status != CPE_DM_SUCCESS) {
            return status;
        }
        CPE_DM_LOG_INFO("LTE transmit power info - tx_valid[%d]", resp->tx_valid);
        if (resp->tx_valid) {
            CPE_DM_LOG_INFO("LTE transmit power info - tx_pwr[%d]", resp->tx_pwr);
            tx_pwr_info->lte_tx_valid = 1;
            tx_pwr_info->lte_tx_pwr = resp->tx_pwr;
        }
    }
    if (cpe_dm_zeb_nas_nr5g_in_service()) {
        status = nas_request_tx_rx_info(ZEB_NAS_RADIO_IF_NR5G, *req, *resp);
        if (status != CPE_DM_SUCCESS) {
            return status;
        }
        CPE_DM_LOG_INFO("NR 5G transmit power info - tx_valid[%d]", resp->tx_valid);
        if (resp->tx_valid) {
            CPE_DM_LOG_INFO("NR 5G transmit power info - tx_pwr[%d]", resp->tx_pwr);
            tx_pwr_info->nr5g_tx_valid = 1;
            tx_pwr_info->nr5g_tx_pwr = resp->tx_pwr;
        }
    }
    return CPE_DM_SUCCESS;
}

/* Sends one CQI request, and stores the response in `resp`. Clears `resp` first, because `resp` may hold an earlier
 * response. */
static int32_t nas_request_cqi_info(uint32_t technology, zeb_nas_cqi_info_req &req, zeb_nas_cqi_info_resp &resp) {
    req.technology_valid = 1;
    req.technology = technology;
    resp = {};
    const int32_t error = cpe_dm_zeb_nas_send(ZEB_NAS_GET_CQI_INFO, req, resp);
    if (cpe_dm_zeb_nas_failed(error, resp.header)) {
        CPE_DM_LOG_ERROR("Retrieving CQI info failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp.header.result), static_cast<int32_t>(resp.header.error));
        return CPE_DM_ERR_FAILURE;
    }
    return CPE_DM_SUCCESS;
}

/* Copies the CQI of the LTE carriers, as many as `cqi_info` has room for, and logs each copied CQI. */
static void nas_copy_lte_cqi(const zeb_nas_cqi_info_resp &resp, cpe_dm_nas_cqi_info &cqi_info) {
    CPE_DM_LOG_INFO("LTE CQI info - lte_cc_cqi_len[%u]", resp.lte_cc_cqi_len);
    cqi_info.lte_cc_cqi_valid = resp.lte_cc_cqi_valid;
    cqi_info.lte_cc_cqi_len =
        cpe_dm_bounded(resp.lte_cc_cqi_len, std::size(resp.lte_cc_cqi), std::size(cqi_info.lte_cc_cqi));
    for (uint32_t i = 0; i < cqi_info.lte_cc_cqi_len; i++) {
        const zeb_nas_cc_cqi &from = resp.lte_cc_cqi[i];
        cpe_dm_nas_cc_cqi &to = cqi_info.lte_cc_cqi[i];
        to.cw_cqi_len = cpe_dm_bounded(from.cw_cqi_len, std::size(from.cw_cqi), std::size(to.cw_cqi));
        for (uint32_t j = 0; j < to.cw_cqi_len; j++) {
            CPE_DM_LOG_INFO("LTE CQI info #%d - lte_cw_cqi[%u]", static_cast<int32_t>(i), from.cw_cqi[j]);
            to.cw_cqi[j] = from.cw_cqi[j];
        }
    }
}

/* Copies the CQI of the NR 5G carriers, as many as `cqi_info` has room for, and logs each copied CQI. */
static void nas_copy_nr5g_cqi(const zeb_nas_cqi_info_resp &resp, cpe_dm_nas_cqi_info &cqi_info) {
    CPE_DM_LOG_INFO("NR 5G CQI info - nr5g_cc_cqi_len[%u]", resp.nr5g_cc_cqi_len);
    cqi_info.nr5g_cc_cqi_valid = resp.nr5g_cc_cqi_valid;
    cqi_info.nr5g_cc_cqi_len =
        cpe_dm_bounded(resp.nr5g_cc_cqi_len, std::size(resp.nr5g_cc_cqi), std::size(cqi_info.nr5g_cc_cqi));
    for (uint32_t i = 0; i < cqi_info.nr5g_cc_cqi_len; i++) {
        const zeb_nas_cc_cqi &from = resp.nr5g_cc_cqi[i];
        cpe_dm_nas_cc_cqi &to = cqi_info.nr5g_cc_cqi[i];
        to.cw_cqi_len = cpe_dm_bounded(from.cw_cqi_len, std::size(from.cw_cqi), std::size(to.cw_cqi));
        for (uint32_t j = 0; j < to.cw_cqi_len; j++) {
            CPE_DM_LOG_INFO("NR 5G CQI info #%d - nr5g_cw_cqi[%u]", static_cast<int32_t>(i), from.cw_cqi[j]);
            to.cw_cqi[j] = from.cw_cqi[j];
        }
    }
}

int32_t cpe_dm_zeb_nas_get_cqi_info(cpe_dm_nas_cqi_info *cqi_info) {
    int32_t status = cpe_dm_zeb_nas_check(cqi_info);
    if (status == CPE_DM_ERR_INVALID_PARAM) {
        CPE_DM_LOG_ERROR("Invalid params - cqi_info[%p]", static_cast<void *>(cqi_info));
    }
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    auto req = cpe_dm_alloc<zeb_nas_cqi_info_req>();
    auto resp = cpe_dm_alloc<zeb_nas_cqi_info_resp>();
    if (!req || !resp) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return CPE_DM_ERR_NO_MEMORY;
    }
    *cqi_info = {};
    // When neither technology is in service, no request is sent, and this status is returned.
    status = CPE_DM_ERR_FAILURE;
    if (cpe_dm_zeb_nas_lte_in_service()) {
        status = nas_request_cqi_info(ZEB_NAS_CQI_LTE, *req, *resp);
        if (status != CPE_DM_SUCCESS) {
            return status;
        }
        CPE_DM_LOG_INFO("LTE CQI info - lte_cc_cqi_valid[%u]", resp->lte_cc_cqi_valid);
        if (resp->lte_cc_cqi_valid) {
            nas_copy_lte_cqi(*resp, *cqi_info);
        }
    }
    if (cpe_dm_zeb_nas_nr5g_in_service()) {
        status = nas_request_cqi_info(ZEB_NAS_CQI_NR5G, *req, *resp);
        if (status != CPE_DM_SUCCESS) {
            return status;
        }
        CPE_DM_LOG_INFO("NR 5G CQI info - nr5g_cc_cqi_valid[%u]", resp->nr5g_cc_cqi_valid);
        if (resp->nr5g_cc_cqi_valid) {
            nas_copy_nr5g_cqi(*resp, *cqi_info);
        }
    }
    return status;
}

static int32_t nas_get_lte_cell_lock_list(cpe_dm_nas_cell_lock_list &cell_lock_list, const zeb_nas_empty_req &req,
                                          zeb_nas_lte_cell_lock_list_resp &resp) {
    const int32_t error = cpe_dm_zeb_nas_send(ZEB_NAS_GET_LTE_CELL_LOCK_LIST, req, resp);
    if (cpe_dm_zeb_nas_failed(error, resp.header)) {
        CPE_DM_LOG_ERROR("Retrieving LTE cell lock list failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp.header.result), static_cast<int32_t>(resp.header.error));
        return CPE_DM_ERR_FAILURE;
    }
    CPE_DM_LOG_INFO("LTE multi-lock cell list - lte_cell_list_valid[%d]", resp.lte_cell_list_valid);
    if (!resp.lte_cell_list_valid) {
        return CPE_DM_SUCCESS;
    }
    cell_lock_list.lte_cell_list_valid = resp.lte_cell_list_valid;
    cell_lock_list.lte_cell_list_len =
        static_cast<uint8_t>(cpe_dm_bounded(static_cast<uint8_t>(resp.lte_cell_list_len), std::size(resp.lte_cell_list),
                                            std::size(cell_lock_list.lte_cell_list)));
    for (int32_t i = 0; i < cell_lock_list.lte_cell_list_len; i++) {
        const zeb_nas_lte_lock &lock = resp.lte_cell_list[i];
        CPE_DM_LOG_INFO("LTE multi-lock cell list #%d - pci[%hu]", i, lock.pci);
        CPE_DM_LOG_INFO("LTE multi-lock cell list #%d - freq[%hu]", i, lock.freq);
        cell_lock_list.lte_cell_list[i] = {lock.pci, lock.freq};
    }
    return CPE_DM_SUCCESS;
}

static int32_t nas_get_nr5g_cell_lock_list(cpe_dm_nas_cell_lock_list &cell_lock_list) {
    auto req = cpe_dm_alloc<zeb_nas_empty_req>();
    auto resp = cpe_dm_alloc<zeb_nas_nr5g_cell_lock_list_resp>();
    if (!req || !resp) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return CPE_DM_ERR_NO_MEMORY;
    }
    const int32_t error = cpe_dm_zeb_nas_send(ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, *req, *resp);
    if (cpe_dm_zeb_nas_failed(error, resp->header)) {
        CPE_DM_LOG_ERROR("Retrieving NR 5G cell lock list failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp->header.result), static_cast<int32_t>(resp->header.error));
        return CPE_DM_ERR_FAILURE;
    }
    CPE_DM_LOG_INFO("NR 5G multi-lock cell list - type_valid[%u], type[%u]", resp->type_valid, resp->type);
    CPE_DM_LOG_INFO("NR 5G multi-lock cell list - cell_identity_valid[%u]", resp->cell_identity_valid);
    CPE_DM_LOG_INFO("NR 5G multi-lock cell list - arfcn_identity_valid[%u]", resp->arfcn_identity_valid);
    if (resp->cell_identity_valid) {
        CPE_DM_LOG_INFO("NR 5G multi-lock cell list - pci[%hu]", resp->pci);
        // This log line shows only the low 16 bits of the ARFCN. The record holds the whole ARFCN.
        CPE_DM_LOG_INFO("NR 5G multi-lock cell list - arfcn[%hu]", static_cast<uint16_t>(resp->arfcn));
        cell_lock_list.nr5g_cell_lock_valid = 1;
        cell_lock_list.cell_identity_valid = 1;
        cell_lock_list.pci = resp->pci;
        cell_lock_list.arfcn = resp->arfcn;
    } else if (resp->arfcn_identity_valid) {
        CPE_DM_LOG_INFO("NR 5G multi-lock cell list - arfcn_list_len[%u]", resp->arfcn_list_len);
        cell_lock_list.nr5g_cell_lock_valid = 1;
        cell_lock_list.arfcn_identity_valid = 1;
        cell_lock_list.arfcn_list_len =
            cpe_dm_bounded(resp->arfcn_list_len, std::size(resp->arfcn_list), std::size(cell_lock_list.arfcn_list));
        for (uint32_t i = 0; i < cell_lock_list.arfcn_list_len; i++) {
            CPE_DM_LOG_INFO("NR 5G multi-lock cell list - #%d arfcn[%u]", static_cast<int32_t>(i),
                            resp->arfcn_list[i].arfcn);
            cell_lock_list.arfcn_list[i] = resp->arfcn_list[i].arfcn;
        }
    }
    return CPE_DM_SUCCESS;
}

int32_t cpe_dm_zeb_nas_get_cell_lock_list(cpe_dm_nas_cell_lock_list *cell_lock_list) {
    int32_t status = cpe_dm_zeb_nas_check(cell_lock_list);
    if (status == CPE_DM_ERR_INVALID_PARAM) {
        CPE_DM_LOG_ERROR("Invalid params - cell_lock_list[%p]", static_cast<void *>(cell_lock_list));
    }
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    auto req = cpe_dm_alloc<zeb_nas_empty_req>();
    auto resp = cpe_dm_alloc<zeb_nas_lte_cell_lock_list_resp>();
    if (!req || !resp) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return CPE_DM_ERR_NO_MEMORY;
    }
    *cell_lock_list = {};
    if (cpe_dm_zeb_nas_lte_in_service()) {
        status = nas_get_lte_cell_lock_list(*cell_lock_list, *req, *resp);
    }
    if (status == CPE_DM_SUCCESS && cpe_dm_zeb_nas_nr5g_in_service()) {
        status = nas_get_nr5g_cell_lock_list(*cell_lock_list);
    }
    return status;
}

int32_t cpe_dm_zeb_nas_get_sys_info(cpe_dm_nas_sys_info *sys_info, uint8_t update_network_status) {
    int32_t status = cpe_dm_zeb_nas_check(sys_info);
    if (status == CPE_DM_ERR_INVALID_PARAM) {
        CPE_DM_LOG_ERROR("Invalid params - sys_info[%p]", static_cast<void *>(sys_info));
    }
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    auto req = cpe_dm_alloc<zeb_nas_empty_req>();
    auto resp = cpe_dm_alloc<zeb_nas_sys_info_resp>();
    if (!req || !resp) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return CPE_DM_ERR_NO_MEMORY;
    }
    const int32_t error = cpe_dm_zeb_nas_send(ZEB_NAS_GET_SYS_INFO, *req, *resp);
    if (cpe_dm_zeb_nas_failed(error, resp->header)) {
        CPE_DM_LOG_ERROR("Retrieving system info failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp->header.result), static_cast<int32_t>(resp->header.error));
        return CPE_DM_ERR_FAILURE;
    }
    const zeb_nas_sys_info &info = resp->info;
    *sys_info = {};
    sys_info->network_status = cpe_dm_zeb_nas_derive_status(info);
    if (update_network_status) {
        cpe_dm_zeb_nas_store_network_status(sys_info->network_status);
    }
    if (info.nr5g_pci_valid) {
        CPE_DM_LOG_INFO("NR 5G PCI information - nr5g_pci_valid[%u], nr5g_pci[%u]", info.nr5g_pci_valid, info.nr5g_pci);
        sys_info->nr5g_pci_info_valid = 1;
        sys_info->nr5g_pci_valid = info.nr5g_pci_valid;
        sys_info->nr5g_pci = info.nr5g_pci;
    }
    return CPE_DM_SUCCESS;
}

int32_t cpe_dm_zeb_nas_perform_incremental_scan(uint8_t lte_scan_request, uint8_t *lte_scan_ongoing,
                                                uint8_t nr5g_scan_request, uint8_t *nr5g_scan_ongoing) {
    if ((lte_scan_request == 0 && nr5g_scan_request == 0) ||
        (lte_scan_ongoing == nullptr && nr5g_scan_ongoing == nullptr)) {
        CPE_DM_LOG_ERROR("Invalid params - lte_scan_request[%u], nr5g_scan_request[%u], lte_scan_ongoing[%p], "
                         "nr5g_scan_ongoing[%p]",
                         lte_scan_request, nr5g_scan_request, static_cast<void *>(lte_scan_ongoing),
                         static_cast<void *>(nr5g_scan_ongoing));
        return CPE_DM_ERR_INVALID_PARAM;
    }
    auto req = cpe_dm_alloc<zeb_nas_incremental_scan_req>();
    if (!req) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return CPE_DM_ERR_NO_MEMORY;
    }
    for (uint8_t *ongoing : {lte_scan_ongoing, nr5g_scan_ongoing}) {
        if (ongoing != nullptr) {
            *ongoing = 0;
        }
    }
    req->network_type_valid = 1;
    req->network_type = lte_scan_request != 0 ? ZEB_NAS_NETWORK_TYPE_LTE : ZEB_NAS_NETWORK_TYPE_NR5G;
    req->scan_type_valid = 1;
    req->scan_type = ZEB_NAS_SCAN_TYPE_INCREMENTAL;
    CPE_DM_LOG_INFO("Performing incremental network scan request - network_type [%u]", req->network_type);
    zeb_nas_empty_resp resp = {};
    const int32_t error = cpe_dm_zeb_nas_send(ZEB_NAS_PERFORM_INCREMENTAL_SCAN, *req, resp);
    if (cpe_dm_zeb_nas_failed(error, resp.header)) {
        CPE_DM_LOG_ERROR("Performing incremental network scan failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp.header.result), static_cast<int32_t>(resp.header.error));
        return CPE_DM_ERR_FAILURE;
    }
    *(lte_scan_request != 0 ? lte_scan_ongoing : nr5g_scan_ongoing) = 1;
    return CPE_DM_SUCCESS;
}
