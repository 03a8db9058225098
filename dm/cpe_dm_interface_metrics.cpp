#include "cpe_dm_interface_metrics.h"

#include "cpe_dm_bounded.h"
#include "cpe_dm_interface.h"
#include "cpe_dm_log.h"
#include "cpe_dm_zeb_nas.h"

#include <algorithm>
#include <concepts>
#include <iterator>

/* A neighbour metric and its two flags in cpe_dm_state. A request for the metric sets both flags. `request` asks for a
 * scan of the metric's technology, and `metric` asks for this metric in the response to the scan. */
struct nbr_row {
    uint32_t id; /* a cpe_dm_metric_id */
    uint8_t cpe_dm_state_record::*request;
    uint8_t cpe_dm_state_record::*metric;
};

static const nbr_row nbr_rows[] = {
    {CPE_DM_METRIC_LTE_NBR_EARFCN, &cpe_dm_state_record::lte_scan_request, &cpe_dm_state_record::lte_nbr_earfcn},
    {CPE_DM_METRIC_NR5G_NBR_EARFCN, &cpe_dm_state_record::nr5g_scan_request, &cpe_dm_state_record::nr5g_nbr_earfcn},
    {CPE_DM_METRIC_LTE_NBR_PCI, &cpe_dm_state_record::lte_scan_request, &cpe_dm_state_record::lte_nbr_pci},
    {CPE_DM_METRIC_NR5G_NBR_PCI, &cpe_dm_state_record::nr5g_scan_request, &cpe_dm_state_record::nr5g_nbr_pci},
    {CPE_DM_METRIC_LTE_NBR_CGI, &cpe_dm_state_record::lte_scan_request, &cpe_dm_state_record::lte_nbr_cgi},
    {CPE_DM_METRIC_NR5G_NBR_CGI, &cpe_dm_state_record::nr5g_scan_request, &cpe_dm_state_record::nr5g_nbr_cgi},
    {CPE_DM_METRIC_LTE_NBR_PLMN, &cpe_dm_state_record::lte_scan_request, &cpe_dm_state_record::lte_nbr_plmn},
    {CPE_DM_METRIC_NR5G_NBR_PLMN, &cpe_dm_state_record::nr5g_scan_request, &cpe_dm_state_record::nr5g_nbr_plmn},
    {CPE_DM_METRIC_LTE_NBR_RSRP, &cpe_dm_state_record::lte_scan_request, &cpe_dm_state_record::lte_nbr_rsrp},
    {CPE_DM_METRIC_NR5G_NBR_RSRP, &cpe_dm_state_record::nr5g_scan_request, &cpe_dm_state_record::nr5g_nbr_rsrp},
    {CPE_DM_METRIC_LTE_NBR_RSRQ, &cpe_dm_state_record::lte_scan_request, &cpe_dm_state_record::lte_nbr_rsrq},
};

static_assert(CPE_DM_METRIC_CNT == 35, "a new metric of neighbours has a row above");

/* The row of a neighbour metric; null for any other ID. */
static const nbr_row *find_nbr(uint32_t id) {
    for (const nbr_row &row : nbr_rows) {
        if (row.id == id) {
            return &row;
        }
    }
    return nullptr;
}

/* Stores a value as a 64-bit integer. The caller names T, the type of the modem's field; if that type changes, the call
 * no longer compiles. */
template <std::integral T> static int32_t give(cpe_dm_info &info, std::same_as<T> auto value) {
    info.value.i64_val = static_cast<int64_t>(value);
    info.value_type = CPE_DM_VALUE_INT64;
    return CPE_DM_SUCCESS;
}

/* Stores a PLMN ID or a TAC, three bytes, as a list with one byte in each entry. */
static int32_t give_bytes(cpe_dm_info &info, const uint8_t (&bytes)[3]) {
    std::copy(std::begin(bytes), std::end(bytes), info.value.i64_list);
    info.value_type = CPE_DM_VALUE_INT64_LIST;
    info.value_cnt = sizeof(bytes);
    return CPE_DM_SUCCESS;
}

/* Fills the caller's CQI record from the first `len` entries of `cc_cqi`, the list in the modem's answer. `Info` is
 * the type of the record: cpe_dm_lte_cqi_info or cpe_dm_nr5g_cqi_info. */
template <typename Info, size_t N>
static int32_t give_cqi(cpe_dm_info &dm_info, uint32_t len, const cpe_dm_nas_cc_cqi (&cc_cqi)[N]) {
    Info &info = *static_cast<Info *>(dm_info.value.cqi_info);
    info = {};
    info.cc_cqi_valid = 1;
    info.cc_cqi_len = cpe_dm_bounded(len, N, std::size(info.cc_cqi));
    for (uint32_t i = 0; i < info.cc_cqi_len; i++) {
        cpe_dm_cw_cqi &to = info.cc_cqi[i];
        to.cw_cqi_len = cpe_dm_bounded(cc_cqi[i].cw_cqi_len, std::size(cc_cqi[i].cw_cqi), std::size(to.cw_cqi));
        std::copy_n(cc_cqi[i].cw_cqi, to.cw_cqi_len, to.cw_cqi);
    }
    dm_info.value_type = CPE_DM_VALUE_CQI_INFO;
    return CPE_DM_SUCCESS;
}

static int32_t give_lte_lock(cpe_dm_info &dm_info, const cpe_dm_nas_cell_lock_list &nas) {
    cpe_dm_lte_cell_lock_list &list = *dm_info.value.lte_cell_lock_list;
    list.lte_cell_list_valid = nas.lte_cell_list_valid;
    list.lte_cell_list_len = static_cast<uint8_t>(
        cpe_dm_bounded(nas.lte_cell_list_len, std::size(nas.lte_cell_list), std::size(list.lte_cell_list)));
    std::copy_n(nas.lte_cell_list, list.lte_cell_list_len, list.lte_cell_list);
    dm_info.value_type = CPE_DM_VALUE_CELL_LOCK_LIST;
    return CPE_DM_SUCCESS;
}

static int32_t give_nr5g_lock(cpe_dm_info &dm_info, const cpe_dm_nas_cell_lock_list &nas) {
    cpe_dm_nr5g_cell_lock_list &list = *dm_info.value.nr5g_cell_lock_list;
    dm_info.value_type = CPE_DM_VALUE_CELL_LOCK_LIST;
    if (nas.cell_identity_valid) {
        list.cell_identity_valid = 1;
        list.pci = nas.pci;
        list.arfcn = nas.arfcn;
        return CPE_DM_SUCCESS;
    }
    list.arfcn_identity_valid = nas.arfcn_identity_valid;
    list.arfcn_list_len = cpe_dm_bounded(nas.arfcn_list_len, std::size(nas.arfcn_list), std::size(list.arfcn_list));
    std::copy_n(nas.arfcn_list, list.arfcn_list_len, list.arfcn_list);
    return CPE_DM_SUCCESS;
}

// NOLINTNEXTLINE(readability-function-cognitive-complexity): a table, a metric a row
int32_t cpe_dm_fill_info(cpe_dm_info *dm_info, const void *record) {
    const auto *cell = static_cast<const cpe_dm_nas_cell_info *>(record);
    const auto *sig = static_cast<const cpe_dm_nas_sig_info *>(record);
    const auto *tx = static_cast<const cpe_dm_nas_tx_pwr_info *>(record);
    const auto *cqi = static_cast<const cpe_dm_nas_cqi_info *>(record);
    const auto *lock = static_cast<const cpe_dm_nas_cell_lock_list *>(record);
    cpe_dm_info &info = *dm_info;
    info.value_type = CPE_DM_VALUE_NONE;
    static_assert(CPE_DM_METRIC_CNT == 35, "a new metric of the serving cells is filled in here");
    switch (info.id) {
    case CPE_DM_METRIC_LTE_EARFCN:
        if (cell->lte_intra_valid) {
            return give<uint16_t>(info, cell->lte_serving.earfcn);
        }
        CPE_DM_LOG_ERROR("LTE serving cell EARFCN information is not available!!");
        break;
    case CPE_DM_METRIC_NR5G_EARFCN:
        if (cell->nr5g_serving_cell_info_valid) {
            return give<uint32_t>(info, cell->nr5g_serving.nr5g_arfcn);
        }
        CPE_DM_LOG_ERROR("5G NR serving cell EARFCN information is not available!!");
        break;
    case CPE_DM_METRIC_LTE_PCI:
        if (cell->lte_intra_valid) {
            return give<uint16_t>(info, cell->lte_serving.pci);
        }
        CPE_DM_LOG_ERROR("LTE serving cell PCI information is not available!!");
        break;
    case CPE_DM_METRIC_NR5G_PCI:
        if (cell->nr5g_serving_cell_info_valid) {
            return give<uint16_t>(info, cell->nr5g_serving.pci);
        }
        CPE_DM_LOG_ERROR("NR 5G serving cell PCI information is not available!!");
        break;
    case CPE_DM_METRIC_LTE_CGI:
        if (cell->lte_intra_valid) {
            return give<uint32_t>(info, cell->lte_serving.cgi);
        }
        CPE_DM_LOG_ERROR("LTE serving cell CGI information is not available!!");
        break;
    case CPE_DM_METRIC_NR5G_CGI:
        if (cell->nr5g_serving_cell_info_valid) {
            return give<uint64_t>(info, cell->nr5g_serving.cgi);
        }
        CPE_DM_LOG_ERROR("NR 5G serving cell CGI information is not available!!");
        break;
    case CPE_DM_METRIC_LTE_PLMN:
        if (cell->lte_intra_valid) {
            return give_bytes(info, cell->lte_serving.plmn_id);
        }
        CPE_DM_LOG_ERROR("LTE serving cell PLMN information is not available!!");
        break;
    case CPE_DM_METRIC_NR5G_PLMN:
        if (cell->nr5g_serving_cell_info_valid) {
            return give_bytes(info, cell->nr5g_serving.plmn_id);
        }
        CPE_DM_LOG_ERROR("NR 5G serving cell PLMN information is not available!!");
        break;
    case CPE_DM_METRIC_LTE_RSRP:
        if (sig->lte_sig_info_valid) {
            return give<int16_t>(info, sig->lte_sig.rsrp);
        }
        CPE_DM_LOG_ERROR("LTE serving cell RSRP information is not available!!");
        break;
    case CPE_DM_METRIC_NR5G_RSRP:
        if (sig->nr5g_sig_info_valid) {
            return give<int16_t>(info, sig->nr5g_sig.rsrp);
        }
        CPE_DM_LOG_ERROR("NR 5G serving cell RSRP information is not available!!");
        break;
    case CPE_DM_METRIC_LTE_RSRQ:
        if (sig->lte_sig_info_valid) {
            return give<int8_t>(info, sig->lte_sig.rsrq);
        }
        CPE_DM_LOG_ERROR("LTE serving cell RSRQ information is not available!!");
        break;
    case CPE_DM_METRIC_NR5G_RSRQ:
        if (sig->nr5g_sig_info_valid && sig->nr5g_rsrq_valid) {
            return give<int16_t>(info, sig->nr5g_rsrq);
        }
        CPE_DM_LOG_ERROR("NR 5G serving cell RSRQ information is not available!!");
        break;
    case CPE_DM_METRIC_LTE_SINR:
        if (sig->lte_sig_info_valid) {
            return give<int16_t>(info, sig->lte_sig.snr);
        }
        CPE_DM_LOG_ERROR("LTE serving cell SINR information is not available!!");
        break;
    case CPE_DM_METRIC_NR5G_SINR:
        if (sig->nr5g_sig_info_valid) {
            return give<int16_t>(info, sig->nr5g_sig.snr);
        }
        CPE_DM_LOG_ERROR("NR 5G serving cell SINR information is not available!!");
        break;
    case CPE_DM_METRIC_LTE_CQI:
        if (cqi->lte_cc_cqi_valid) {
            return give_cqi<cpe_dm_lte_cqi_info>(info, cqi->lte_cc_cqi_len, cqi->lte_cc_cqi);
        }
        CPE_DM_LOG_ERROR("LTE serving cell CQI information is not available!!");
        break;
    case CPE_DM_METRIC_NR5G_CQI:
        if (cqi->nr5g_cc_cqi_valid) {
            return give_cqi<cpe_dm_nr5g_cqi_info>(info, cqi->nr5g_cc_cqi_len, cqi->nr5g_cc_cqi);
        }
        CPE_DM_LOG_ERROR("NR 5G serving cell CQI information is not available!!");
        break;
    case CPE_DM_METRIC_LTE_TAC:
        if (cell->lte_intra_valid) {
            return give<uint16_t>(info, cell->lte_serving.tac);
        }
        CPE_DM_LOG_ERROR("LTE serving cell TAC information is not available!!");
        break;
    case CPE_DM_METRIC_NR5G_TAC:
        if (cell->nr5g_serving_cell_info_valid) {
            return give_bytes(info, cell->nr5g_serving.tac);
        }
        CPE_DM_LOG_ERROR("NR 5G serving cell TAC information is not available!!");
        break;
    case CPE_DM_METRIC_LTE_TX_POWER:
        if (tx->lte_tx_valid) {
            return give<int32_t>(info, tx->lte_tx_pwr);
        }
        CPE_DM_LOG_ERROR("LTE serving cell TX power information is not available!!");
        break;
    case CPE_DM_METRIC_NR5G_TX_POWER:
        if (tx->nr5g_tx_valid) {
            return give<int32_t>(info, tx->nr5g_tx_pwr);
        }
        CPE_DM_LOG_ERROR("NR 5G serving cell TX power information is not available!!");
        break;
    case CPE_DM_METRIC_LTE_CELL_LOCK_LIST:
        if (lock->lte_cell_list_valid) {
            return give_lte_lock(info, *lock);
        }
        CPE_DM_LOG_ERROR("LTE cell lock list information is not available!!");
        break;
    case CPE_DM_METRIC_NR5G_CELL_LOCK_LIST:
        if (lock->nr5g_cell_lock_valid) {
            return give_nr5g_lock(info, *lock);
        }
        CPE_DM_LOG_ERROR("NR 5G cell lock list information is not available!!");
        break;
    default:
        return CPE_DM_ERR_NOT_SUPPORTED;
    }
    return CPE_DM_ERR_INFO_UNAVAILABLE;
}

int32_t cpe_dm_mark_nbr_metric(uint32_t id) {
    const nbr_row *row = find_nbr(id);
    if (row == nullptr) {
        return CPE_DM_ERR_NOT_SUPPORTED;
    }
    cpe_dm_state.*row->request = 1;
    cpe_dm_state.*row->metric = 1;
    return CPE_DM_SUCCESS;
}

/* Whether a scan is outstanding. If so, logs that the caller's neighbour request is refused. */
static bool scan_outstanding() {
    if (!cpe_dm_state.lte_scan_request && !cpe_dm_state.nr5g_scan_request) {
        return false;
    }
    CPE_DM_LOG_ERROR("Neighbor cells scan request ongoing nr5g[%u]/lte[%u] - wait for completion!!",
                     cpe_dm_state.nr5g_scan_request, cpe_dm_state.lte_scan_request);
    return true;
}

/* Requests a scan for all neighbour metrics in the list `records`. Called with the lock held. If the modem does not
 * accept the scan, restores the flags in the state. If the flags stayed set, every later request for neighbours would
 * fail with CPE_DM_ERR_SCAN_ONGOING. */
static int32_t scan_neighbours(const cpe_dm_info *records, int32_t count) {
    if (scan_outstanding()) {
        return CPE_DM_ERR_SCAN_ONGOING;
    }
    bool marked_before[std::size(nbr_rows)];
    for (size_t i = 0; i < std::size(nbr_rows); i++) {
        marked_before[i] = cpe_dm_state.*nbr_rows[i].metric != 0;
    }
    for (int32_t i = 0; i < count; i++) {
        cpe_dm_mark_nbr_metric(records[i].id);
    }
    const int32_t status =
        cpe_dm_zeb_nas_perform_incremental_scan(cpe_dm_state.lte_scan_request, &cpe_dm_state.lte_scan_ongoing,
                                                cpe_dm_state.nr5g_scan_request, &cpe_dm_state.nr5g_scan_ongoing);
    if (status != CPE_DM_SUCCESS) {
        for (size_t i = 0; i < std::size(nbr_rows); i++) {
            cpe_dm_state.*nbr_rows[i].request = 0;
            cpe_dm_state.*nbr_rows[i].metric = marked_before[i];
        }
    }
    return status;
}

static int32_t get_cell_metric(cpe_dm_info *dm_info, uint32_t network_status) {
    cpe_dm_nas_cell_info cell_info = {};
    int32_t status = cpe_dm_zeb_nas_get_cell_info(&cell_info);
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    const bool pci = dm_info->id == CPE_DM_METRIC_LTE_PCI || dm_info->id == CPE_DM_METRIC_NR5G_PCI;
    if (pci && network_status == CPE_DM_REG_LTE_NR5G) {
        // In EN-DC, only the system information has the PCI of the NR 5G cell.
        cpe_dm_nas_sys_info sys_info = {};
        status = cpe_dm_zeb_nas_get_sys_info(&sys_info, 0);
        if (status != CPE_DM_SUCCESS) {
            return status;
        }
        cell_info.nr5g_serving_cell_info_valid = sys_info.nr5g_pci_valid == 1;
        if (cell_info.nr5g_serving_cell_info_valid) {
            cell_info.nr5g_serving.pci = sys_info.nr5g_pci;
        }
    }
    return cpe_dm_fill_info(dm_info, &cell_info);
}

/* Calls `query`, which fills a record with the modem's answer, and copies the metric from the record to *dm_info. */
template <typename Record> static int32_t get_from(cpe_dm_info *dm_info, int32_t (*query)(Record *record)) {
    Record record = {};
    const int32_t status = query(&record);
    return status != CPE_DM_SUCCESS ? status : cpe_dm_fill_info(dm_info, &record);
}

/* Whether the caller has given the result record that a CQI or cell lock metric needs. */
static bool has_result_record(const cpe_dm_info &info) {
    static_assert(CPE_DM_METRIC_CNT == 35, "a new metric that fills a record of the caller's is tested here");
    switch (info.id) {
    case CPE_DM_METRIC_LTE_CQI:
    case CPE_DM_METRIC_NR5G_CQI:
        return info.value.cqi_info != nullptr;
    case CPE_DM_METRIC_LTE_CELL_LOCK_LIST:
        return info.value.lte_cell_lock_list != nullptr;
    case CPE_DM_METRIC_NR5G_CELL_LOCK_LIST:
        return info.value.nr5g_cell_lock_list != nullptr;
    default:
        return true;
    }
}

/* Gets a metric of the serving cells or of the cell locks, by the query whose answer contains the metric. */
static int32_t get_metric(cpe_dm_info *dm_info, uint32_t network_status) {
    if (!has_result_record(*dm_info)) {
        return CPE_DM_ERR_INVALID_PARAM;
    }
    static_assert(CPE_DM_METRIC_CNT == 35, "a new metric of the serving cells is asked for here");
    switch (dm_info->id) {
    case CPE_DM_METRIC_LTE_EARFCN:
    case CPE_DM_METRIC_NR5G_EARFCN:
    case CPE_DM_METRIC_LTE_PCI:
    case CPE_DM_METRIC_NR5G_PCI:
    case CPE_DM_METRIC_LTE_CGI:
    case CPE_DM_METRIC_NR5G_CGI:
    case CPE_DM_METRIC_LTE_PLMN:
    case CPE_DM_METRIC_NR5G_PLMN:
    case CPE_DM_METRIC_LTE_TAC:
    case CPE_DM_METRIC_NR5G_TAC:
        return get_cell_metric(dm_info, network_status);
    case CPE_DM_METRIC_LTE_RSRP:
    case CPE_DM_METRIC_NR5G_RSRP:
    case CPE_DM_METRIC_LTE_RSRQ:
    case CPE_DM_METRIC_NR5G_RSRQ:
    case CPE_DM_METRIC_LTE_SINR:
    case CPE_DM_METRIC_NR5G_SINR:
        return get_from(dm_info, cpe_dm_zeb_nas_get_sig_info);
    case CPE_DM_METRIC_LTE_CQI:
    case CPE_DM_METRIC_NR5G_CQI:
        return get_from(dm_info, cpe_dm_zeb_nas_get_cqi_info);
    case CPE_DM_METRIC_LTE_TX_POWER:
    case CPE_DM_METRIC_NR5G_TX_POWER:
        return get_from(dm_info, cpe_dm_zeb_nas_get_tx_pwr_info);
    case CPE_DM_METRIC_LTE_CELL_LOCK_LIST:
    case CPE_DM_METRIC_NR5G_CELL_LOCK_LIST:
        return get_from(dm_info, cpe_dm_zeb_nas_get_cell_lock_list);
    default:
        CPE_DM_LOG_ERROR("Retrieving the diagnostic information for metric[%u] - not supported!!", dm_info->id);
        return CPE_DM_ERR_NOT_SUPPORTED;
    }
}

/* LTE or NR 5G is in service in CPE_DM_REG_LTE and in all statuses with a higher number. */
static bool in_service(uint32_t network_status) {
    return network_status >= CPE_DM_REG_LTE;
}

int32_t cpe_dm_get_info(cpe_dm_hndl hndl, cpe_dm_info *dm_info) {
    cpe_dm_guard guard;
    int32_t status =
        cpe_dm_enter(guard, __func__, hndl, dm_info != nullptr && dm_info->info_type == CPE_DM_INFO_TYPE_REQUEST);
    if (status == CPE_DM_ERR_INVALID_PARAM) {
        CPE_DM_LOG_ERROR("Invalid params - hndl[%p], dm_info[%p]", hndl, static_cast<void *>(dm_info));
    }
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    cpe_dm_nas_sys_info sys_info = {};
    status = cpe_dm_zeb_nas_get_sys_info(&sys_info, 0);
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    if (dm_info->id == CPE_DM_METRIC_REG_STATUS) {
        dm_info->value.u32_val = sys_info.network_status;
        dm_info->value_type = CPE_DM_VALUE_UINT32;
        return CPE_DM_SUCCESS;
    }
    if (!in_service(sys_info.network_status)) {
        CPE_DM_LOG_ERROR("LTE and NR 5G service status unavailable [%u] - retry", sys_info.network_status);
        return CPE_DM_ERR_SERVICE_UNAVAILABLE;
    }
    if (find_nbr(dm_info->id) != nullptr) {
        return scan_neighbours(dm_info, 1);
    }
    return get_metric(dm_info, sys_info.network_status);
}

/* The entry check of cpe_dm_get_info_list. The operation makes the check twice: at its start, and before the scan,
 * because the lock is released in between. */
static int32_t enter_list(cpe_dm_guard &guard, cpe_dm_hndl hndl, cpe_dm_info *dm_info_list, int32_t dm_info_list_cnt) {
    const int32_t status =
        cpe_dm_enter(guard, "cpe_dm_get_info_list", hndl, dm_info_list != nullptr && dm_info_list_cnt > 0);
    if (status == CPE_DM_ERR_INVALID_PARAM) {
        CPE_DM_LOG_ERROR("Invalid params - hndl[%p], dm_info_list[%p], dm_info_list_cnt[%d]", hndl,
                         static_cast<void *>(dm_info_list), dm_info_list_cnt);
    }
    return status;
}

static bool names_neighbours(const cpe_dm_info *dm_info_list, int32_t dm_info_list_cnt) {
    for (int32_t i = 0; i < dm_info_list_cnt; i++) {
        if (find_nbr(dm_info_list[i].id) != nullptr) {
            return true;
        }
    }
    return false;
}

/* Gets one metric of a list; not used for neighbour metrics. Called without the lock, which cpe_dm_get_info takes
 * itself. */
static int32_t get_listed(cpe_dm_hndl hndl, cpe_dm_info *dm_info) {
    if (dm_info->id == CPE_DM_METRIC_INVALID || dm_info->id >= CPE_DM_METRIC_CNT) {
        CPE_DM_LOG_ERROR("Retrieving the diagnostic information for metric[%u] - not supported!!", dm_info->id);
        return CPE_DM_ERR_NOT_SUPPORTED;
    }
    return cpe_dm_get_info(hndl, dm_info);
}

int32_t cpe_dm_get_info_list(cpe_dm_hndl hndl, cpe_dm_info *dm_info_list, int32_t dm_info_list_cnt) {
    cpe_dm_guard guard;
    int32_t status = enter_list(guard, hndl, dm_info_list, dm_info_list_cnt);
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    const bool neighbours = names_neighbours(dm_info_list, dm_info_list_cnt);
    if (neighbours && scan_outstanding()) {
        return CPE_DM_ERR_SCAN_ONGOING;
    }
    if (cpe_dm_unlock(guard) != 0) {
        return CPE_DM_ERR_FAILURE;
    }
    for (int32_t i = 0; i < dm_info_list_cnt; i++) {
        status = CPE_DM_SUCCESS;
        if (find_nbr(dm_info_list[i].id) == nullptr) {
            status = get_listed(hndl, &dm_info_list[i]);
        }
        // An ID that names no metric is skipped and does not end the list.
        if (status != CPE_DM_SUCCESS && status != CPE_DM_ERR_NOT_SUPPORTED) {
            return status;
        }
    }
    if (!neighbours) {
        return status;
    }
    status = enter_list(guard, hndl, dm_info_list, dm_info_list_cnt);
    return status != CPE_DM_SUCCESS ? status : scan_neighbours(dm_info_list, dm_info_list_cnt);
}
