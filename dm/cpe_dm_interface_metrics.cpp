#include "cpe_dm_interface.h"

#include "cpe_dm_log.h"
#include "cpe_dm_zeb_nas.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

/* The record of the modem's answer that holds a metric. */
enum metric_record : uint8_t {
    RECORD_CELL_INFO,
    RECORD_SIG_INFO,
    RECORD_TX_PWR_INFO,
    RECORD_CQI_INFO,
    RECORD_CELL_LOCK_LIST,
};

/* What becomes of the field. */
enum metric_result : uint8_t {
    RESULT_INT64,   /* i64_val, widened with the field's sign */
    RESULT_BYTES,   /* three entries of i64_list, one a byte */
    RESULT_LTE_CQI, /* the caller's record */
    RESULT_NR5G_CQI,
    RESULT_LTE_LOCK,
    RESULT_NR5G_LOCK,
};

struct metric_row {
    uint32_t id; /* cpe_dm_metric_id */
    metric_record record;
    uint16_t valid; /* offset of the u8 flag that must be set */
    metric_result result;
    cpe_dm_field field;
    const char *name;        /* begins the line that is logged when a flag is clear */
    uint16_t also_valid = 0; /* offset of a second flag; 0: there is none */
};

#define CELL(member) offsetof(cpe_dm_nas_cell_info, member)
#define SIG(member)  offsetof(cpe_dm_nas_sig_info, member)
#define TX(member)   offsetof(cpe_dm_nas_tx_pwr_info, member)
#define CQI(member)  offsetof(cpe_dm_nas_cqi_info, member)
#define LOCK(member) offsetof(cpe_dm_nas_cell_lock_list, member)

#define LTE_CELL  RECORD_CELL_INFO, CELL(lte_intra_valid)
#define NR5G_CELL RECORD_CELL_INFO, CELL(nr5g_serving_cell_info_valid)
#define LTE_SIG   RECORD_SIG_INFO, SIG(lte_sig_info_valid)
#define NR5G_SIG  RECORD_SIG_INFO, SIG(nr5g_sig_info_valid)
#define LTE_TX    RECORD_TX_PWR_INFO, TX(lte_tx_valid)
#define NR5G_TX   RECORD_TX_PWR_INFO, TX(nr5g_tx_valid)
#define LTE_CQI   RECORD_CQI_INFO, CQI(lte_cc_cqi_valid)
#define NR5G_CQI  RECORD_CQI_INFO, CQI(nr5g_cc_cqi_valid)
#define LTE_LOCK  RECORD_CELL_LOCK_LIST, LOCK(lte_cell_list_valid)
#define NR5G_LOCK RECORD_CELL_LOCK_LIST, LOCK(nr5g_cell_lock_valid)

/* The metrics that a query answers, in the order of their IDs. */
// clang-format off
static const metric_row metric_rows[] = {
    {CPE_DM_METRIC_LTE_EARFCN, LTE_CELL, RESULT_INT64, {CELL(lte_serving.earfcn), CPE_DM_FIELD_U16}, "LTE serving cell EARFCN"},
    {CPE_DM_METRIC_NR5G_EARFCN, NR5G_CELL, RESULT_INT64, {CELL(nr5g_serving.nr5g_arfcn), CPE_DM_FIELD_U32}, "5G NR serving cell EARFCN"},
    {CPE_DM_METRIC_LTE_PCI, LTE_CELL, RESULT_INT64, {CELL(lte_serving.pci), CPE_DM_FIELD_U16}, "LTE serving cell PCI"},
    {CPE_DM_METRIC_NR5G_PCI, NR5G_CELL, RESULT_INT64, {CELL(nr5g_serving.pci), CPE_DM_FIELD_U16}, "NR 5G serving cell PCI"},
    {CPE_DM_METRIC_LTE_CGI, LTE_CELL, RESULT_INT64, {CELL(lte_serving.cgi), CPE_DM_FIELD_U32}, "LTE serving cell CGI"},
    {CPE_DM_METRIC_NR5G_CGI, NR5G_CELL, RESULT_INT64, {CELL(nr5g_serving.cgi), CPE_DM_FIELD_U64}, "NR 5G serving cell CGI"},
    {CPE_DM_METRIC_LTE_PLMN, LTE_CELL, RESULT_BYTES, {CELL(lte_serving.plmn_id), CPE_DM_FIELD_U8}, "LTE serving cell PLMN"},
    {CPE_DM_METRIC_NR5G_PLMN, NR5G_CELL, RESULT_BYTES, {CELL(nr5g_serving.plmn_id), CPE_DM_FIELD_U8}, "NR 5G serving cell PLMN"},
    {CPE_DM_METRIC_LTE_RSRP, LTE_SIG, RESULT_INT64, {SIG(lte_sig.rsrp), CPE_DM_FIELD_I16}, "LTE serving cell RSRP"},
    {CPE_DM_METRIC_NR5G_RSRP, NR5G_SIG, RESULT_INT64, {SIG(nr5g_sig.rsrp), CPE_DM_FIELD_I16}, "NR 5G serving cell RSRP"},
    {CPE_DM_METRIC_LTE_RSRQ, LTE_SIG, RESULT_INT64, {SIG(lte_sig.rsrq), CPE_DM_FIELD_I8}, "LTE serving cell RSRQ"},
    {CPE_DM_METRIC_NR5G_RSRQ, NR5G_SIG, RESULT_INT64, {SIG(nr5g_rsrq), CPE_DM_FIELD_I16}, "NR 5G serving cell RSRQ", SIG(nr5g_rsrq_valid)},
    {CPE_DM_METRIC_LTE_SINR, LTE_SIG, RESULT_INT64, {SIG(lte_sig.snr), CPE_DM_FIELD_I16}, "LTE serving cell SINR"},
    {CPE_DM_METRIC_NR5G_SINR, NR5G_SIG, RESULT_INT64, {SIG(nr5g_sig.snr), CPE_DM_FIELD_I16}, "NR 5G serving cell SINR"},
    {CPE_DM_METRIC_LTE_CQI, LTE_CQI, RESULT_LTE_CQI, {}, "LTE serving cell CQI"},
    {CPE_DM_METRIC_NR5G_CQI, NR5G_CQI, RESULT_NR5G_CQI, {}, "NR 5G serving cell CQI"},
    {CPE_DM_METRIC_LTE_TAC, LTE_CELL, RESULT_INT64, {CELL(lte_serving.tac), CPE_DM_FIELD_U16}, "LTE serving cell TAC"},
    {CPE_DM_METRIC_NR5G_TAC, NR5G_CELL, RESULT_BYTES, {CELL(nr5g_serving.tac), CPE_DM_FIELD_U8}, "NR 5G serving cell TAC"},
    {CPE_DM_METRIC_LTE_TX_POWER, LTE_TX, RESULT_INT64, {TX(lte_tx_pwr), CPE_DM_FIELD_I32}, "LTE serving cell TX power"},
    {CPE_DM_METRIC_NR5G_TX_POWER, NR5G_TX, RESULT_INT64, {TX(nr5g_tx_pwr), CPE_DM_FIELD_I32}, "NR 5G serving cell TX power"},
    {CPE_DM_METRIC_LTE_CELL_LOCK_LIST, LTE_LOCK, RESULT_LTE_LOCK, {}, "LTE cell lock list"},
    {CPE_DM_METRIC_NR5G_CELL_LOCK_LIST, NR5G_LOCK, RESULT_NR5G_LOCK, {}, "NR 5G cell lock list"},
};
// clang-format on

/* The neighbour metrics, with the flags of the state that ask for them. */
struct nbr_row {
    uint32_t id; /* cpe_dm_metric_id */
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

template <typename T> static T load(const void *record, uint16_t offset) {
    T value;
    memcpy(&value, static_cast<const char *>(record) + offset, sizeof(value));
    return value;
}

int64_t cpe_dm_read_field(const void *record, cpe_dm_field field) {
    switch (field.type) {
    case CPE_DM_FIELD_I8:
        return load<int8_t>(record, field.offset);
    case CPE_DM_FIELD_U16:
        return load<uint16_t>(record, field.offset);
    case CPE_DM_FIELD_I16:
        return load<int16_t>(record, field.offset);
    case CPE_DM_FIELD_U32:
        return load<uint32_t>(record, field.offset);
    case CPE_DM_FIELD_I32:
        return load<int32_t>(record, field.offset);
    case CPE_DM_FIELD_U64:
        return load<int64_t>(record, field.offset);
    default:
        return load<uint8_t>(record, field.offset);
    }
}

static void fill_bytes(cpe_dm_info &info, const void *record, cpe_dm_field field) {
    constexpr uint32_t bytes = 3;
    for (uint32_t i = 0; i < bytes; i++) {
        info.value.i64_list[i] = cpe_dm_read_field(record, field);
        field.offset++;
    }
    info.value_type = CPE_DM_VALUE_INT64_LIST;
    info.value_cnt = bytes;
}

/* Fills the caller's CQI record, of either technology, from the list of the modem's answer. */
template <typename Info, size_t N>
static void fill_cqi(Info &info, uint32_t len, const cpe_dm_nas_cc_cqi (&cc_cqi)[N]) {
    info = {};
    info.cc_cqi_valid = 1;
    info.cc_cqi_len = cpe_dm_bounded(len, N, std::size(info.cc_cqi));
    for (uint32_t i = 0; i < info.cc_cqi_len; i++) {
        cpe_dm_cw_cqi &to = info.cc_cqi[i];
        to.cw_cqi_len = cpe_dm_bounded(cc_cqi[i].cw_cqi_len, std::size(cc_cqi[i].cw_cqi), std::size(to.cw_cqi));
        std::copy_n(cc_cqi[i].cw_cqi, to.cw_cqi_len, to.cw_cqi);
    }
}

static void fill_lte_lock(cpe_dm_lte_cell_lock_list &list, const cpe_dm_nas_cell_lock_list &nas) {
    list.lte_cell_list_valid = nas.lte_cell_list_valid;
    list.lte_cell_list_len = static_cast<uint8_t>(
        cpe_dm_bounded(nas.lte_cell_list_len, std::size(nas.lte_cell_list), std::size(list.lte_cell_list)));
    std::copy_n(nas.lte_cell_list, list.lte_cell_list_len, list.lte_cell_list);
}

static void fill_nr5g_lock(cpe_dm_nr5g_cell_lock_list &list, const cpe_dm_nas_cell_lock_list &nas) {
    if (nas.cell_identity_valid) {
        list.cell_identity_valid = 1;
        list.pci = nas.pci;
        list.arfcn = nas.arfcn;
        return;
    }
    list.arfcn_identity_valid = nas.arfcn_identity_valid;
    list.arfcn_list_len = cpe_dm_bounded(nas.arfcn_list_len, std::size(nas.arfcn_list), std::size(list.arfcn_list));
    std::copy_n(nas.arfcn_list, list.arfcn_list_len, list.arfcn_list);
}

int32_t cpe_dm_fill_info(cpe_dm_info *dm_info, const void *record) {
    dm_info->value_type = CPE_DM_VALUE_NONE;
    const metric_row *row = cpe_dm_find_row(metric_rows, dm_info->id);
    if (row == nullptr) {
        return CPE_DM_ERR_NOT_SUPPORTED;
    }
    const bool also = row->also_valid == 0 || load<uint8_t>(record, row->also_valid) != 0;
    if (!load<uint8_t>(record, row->valid) || !also) {
        CPE_DM_LOG_ERROR("%s information is not available!!", row->name);
        return CPE_DM_ERR_INFO_UNAVAILABLE;
    }
    const auto *cqi = static_cast<const cpe_dm_nas_cqi_info *>(record);
    const auto *lock = static_cast<const cpe_dm_nas_cell_lock_list *>(record);
    switch (row->result) {
    case RESULT_INT64:
        dm_info->value.i64_val = cpe_dm_read_field(record, row->field);
        dm_info->value_type = CPE_DM_VALUE_INT64;
        break;
    case RESULT_BYTES:
        fill_bytes(*dm_info, record, row->field);
        break;
    case RESULT_LTE_CQI:
        fill_cqi(*static_cast<cpe_dm_lte_cqi_info *>(dm_info->value.cqi_info), cqi->lte_cc_cqi_len, cqi->lte_cc_cqi);
        dm_info->value_type = CPE_DM_VALUE_CQI_INFO;
        break;
    case RESULT_NR5G_CQI:
        fill_cqi(*static_cast<cpe_dm_nr5g_cqi_info *>(dm_info->value.cqi_info), cqi->nr5g_cc_cqi_len, cqi->nr5g_cc_cqi);
        dm_info->value_type = CPE_DM_VALUE_CQI_INFO;
        break;
    case RESULT_LTE_LOCK:
        fill_lte_lock(*dm_info->value.lte_cell_lock_list, *lock);
        dm_info->value_type = CPE_DM_VALUE_CELL_LOCK_LIST;
        break;
    case RESULT_NR5G_LOCK:
    default:
        fill_nr5g_lock(*dm_info->value.nr5g_cell_lock_list, *lock);
        dm_info->value_type = CPE_DM_VALUE_CELL_LOCK_LIST;
        break;
    }
    return CPE_DM_SUCCESS;
}

int32_t cpe_dm_mark_nbr_metric(uint32_t id) {
    const nbr_row *row = cpe_dm_find_row(nbr_rows, id);
    if (row == nullptr) {
        return CPE_DM_ERR_NOT_SUPPORTED;
    }
    cpe_dm_state.*row->request = 1;
    cpe_dm_state.*row->metric = 1;
    return CPE_DM_SUCCESS;
}

/* Whether a neighbour request must wait; logged when it must. */
static bool scan_outstanding() {
    if (!cpe_dm_state.lte_scan_request && !cpe_dm_state.nr5g_scan_request) {
        return false;
    }
    CPE_DM_LOG_ERROR("Neighbor cells scan request ongoing nr5g[%u]/lte[%u] - wait for completion!!",
                     cpe_dm_state.nr5g_scan_request, cpe_dm_state.lte_scan_request);
    return true;
}

/* Requests one scan for all the neighbour metrics among the records, under the lock. A scan that was not accepted
 * leaves no mark, so that the next request is served. */
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
        // The NR 5G cell attached to an LTE cell is known to the system information only.
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

/* Sends a query for a record, and takes the metric out of it. */
template <typename Record> static int32_t get_from(cpe_dm_info *dm_info, int32_t (*query)(Record *record)) {
    Record record = {};
    const int32_t status = query(&record);
    return status != CPE_DM_SUCCESS ? status : cpe_dm_fill_info(dm_info, &record);
}

/* Whether the caller has given the record that the metric fills. */
static bool has_result_record(const cpe_dm_info &info, metric_result result) {
    switch (result) {
    case RESULT_LTE_CQI:
    case RESULT_NR5G_CQI:
        return info.value.cqi_info != nullptr;
    case RESULT_LTE_LOCK:
        return info.value.lte_cell_lock_list != nullptr;
    case RESULT_NR5G_LOCK:
        return info.value.nr5g_cell_lock_list != nullptr;
    default:
        return true;
    }
}

/* Answers a metric by the query for the record that holds it. */
static int32_t get_metric(cpe_dm_info *dm_info, const metric_row &row, uint32_t network_status) {
    if (!has_result_record(*dm_info, row.result)) {
        return CPE_DM_ERR_INVALID_PARAM;
    }
    switch (row.record) {
    case RECORD_CELL_INFO:
        return get_cell_metric(dm_info, network_status);
    case RECORD_SIG_INFO:
        return get_from(dm_info, cpe_dm_zeb_nas_get_sig_info);
    case RECORD_TX_PWR_INFO:
        return get_from(dm_info, cpe_dm_zeb_nas_get_tx_pwr_info);
    case RECORD_CQI_INFO:
        return get_from(dm_info, cpe_dm_zeb_nas_get_cqi_info);
    case RECORD_CELL_LOCK_LIST:
    default:
        return get_from(dm_info, cpe_dm_zeb_nas_get_cell_lock_list);
    }
}

static void log_metric_not_supported(uint32_t id) {
    CPE_DM_LOG_ERROR("Retrieving the diagnostic information for metric[%u] - not supported!!", id);
}

/* The statuses in service are the highest. */
static bool in_service(uint32_t network_status) {
    return network_status >= CPE_DM_REG_LTE;
}

int32_t cpe_dm_get_info(cpe_dm_hndl hndl, cpe_dm_info *dm_info) {
    cpe_dm_guard guard;
    int32_t status = cpe_dm_enter(guard, hndl, dm_info != nullptr && dm_info->info_type == CPE_DM_INFO_TYPE_REQUEST);
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
    if (cpe_dm_find_row(nbr_rows, dm_info->id) != nullptr) {
        return scan_neighbours(dm_info, 1);
    }
    const metric_row *row = cpe_dm_find_row(metric_rows, dm_info->id);
    if (row == nullptr) {
        log_metric_not_supported(dm_info->id);
        return CPE_DM_ERR_NOT_SUPPORTED;
    }
    return get_metric(dm_info, *row, sys_info.network_status);
}

/* The entry check of a list; it is made again when the lock has been let go. */
static int32_t enter_list(cpe_dm_guard &guard, cpe_dm_hndl hndl, cpe_dm_info *dm_info_list, int32_t dm_info_list_cnt) {
    const int32_t status = cpe_dm_enter(guard, hndl, dm_info_list != nullptr && dm_info_list_cnt > 0);
    if (status == CPE_DM_ERR_INVALID_PARAM) {
        CPE_DM_LOG_ERROR("Invalid params - hndl[%p], dm_info_list[%p], dm_info_list_cnt[%d]", hndl,
                         static_cast<void *>(dm_info_list), dm_info_list_cnt);
    }
    return status;
}

static bool names_neighbours(const cpe_dm_info *dm_info_list, int32_t dm_info_list_cnt) {
    return std::any_of(dm_info_list, dm_info_list + dm_info_list_cnt,
                       [](const cpe_dm_info &info) { return cpe_dm_find_row(nbr_rows, info.id) != nullptr; });
}

/* One record of a list that is not a neighbour metric. The lock is not held: cpe_dm_get_info takes it for itself. */
static int32_t get_listed(cpe_dm_hndl hndl, cpe_dm_info *dm_info) {
    if (dm_info->id == CPE_DM_METRIC_REG_STATUS || cpe_dm_find_row(metric_rows, dm_info->id) != nullptr) {
        return cpe_dm_get_info(hndl, dm_info);
    }
    log_metric_not_supported(dm_info->id);
    return CPE_DM_ERR_NOT_SUPPORTED;
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
    if (cpe_dm_guard_give(guard) != 0) {
        return CPE_DM_ERR_FAILURE;
    }
    for (int32_t i = 0; i < dm_info_list_cnt; i++) {
        status = CPE_DM_SUCCESS;
        if (cpe_dm_find_row(nbr_rows, dm_info_list[i].id) == nullptr) {
            status = get_listed(hndl, &dm_info_list[i]);
        }
        // A metric that does not exist is passed over.
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
