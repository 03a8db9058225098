#include "cpe_dm_interface_events.h"

#include "cpe_dm_alloc.h"
#include "cpe_dm_bounded.h"
#include "cpe_dm_interface.h"
#include "cpe_dm_log.h"
#include "cpe_dm_post.h"
#include "cpe_dm_zeb_nas.h"

#include <algorithm>
#include <concepts>
#include <iterator>
#include <utility>

int32_t cpe_dm_post_nas_msg(uint32_t zeb_msg_id, void *zeb_msg_data) {
    if (zeb_msg_data == nullptr || zeb_msg_id == 0) {
        CPE_DM_LOG_ERROR("Invalid params - zeb_msg_id[%u], zeb_msg_data[%p]", zeb_msg_id, zeb_msg_data);
        return CPE_DM_ERR_INVALID_PARAM;
    }
    cpe_dm_owned<void> message(zeb_msg_data);
    auto cmd = cpe_dm_alloc<cpe_dm_cmd>();
    if (!cmd) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return CPE_DM_ERR_NO_MEMORY;
    }
    auto data = cpe_dm_alloc<zeb_async_data>();
    if (!data) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return CPE_DM_ERR_FAILURE;
    }
    *data = {zeb_msg_id, message.get()};
    *cmd = {cpe_dm_process_nas_msg, cpe_dm_free_nas_msg, data.get()};
    if (cpe_dm_queue_cmd(cmd.get()) != 0) {
        return CPE_DM_ERR_FAILURE;
    }
    // The queue owns the command, its data and the message now, and may have freed them already.
    (void)message.release();
    (void)data.release();
    (void)cmd.release();
    return CPE_DM_SUCCESS;
}

void cpe_dm_free_nas_msg(cpe_dm_cmd *cmd, void *data) {
    if (data != nullptr) {
        free(static_cast<zeb_async_data *>(data)->zeb_msg_data);
        free(data);
    }
    free(cmd);
}

/* A new record for the user, still without a value; null when memory ran out. */
static cpe_dm_owned<cpe_dm_info> new_record(uint32_t info_type, uint32_t id) {
    auto record = cpe_dm_alloc<cpe_dm_info>();
    if (record) {
        record->info_type = info_type;
        record->id = id;
        record->value_type = CPE_DM_VALUE_NONE;
    }
    return record;
}

/* Delivers a signal value to the user if the indication is set, the value is valid and the value differs from the value
 * delivered last. The caller names the type of the modem's field as T. A call does not compile if `value` has another
 * type. Returns false (logged) when memory ran out. */
template <std::signed_integral T>
static bool report(uint32_t id, cpe_dm_ind_threshold &entry, uint8_t valid, std::same_as<T> auto value) {
    if (!entry.valid || valid != 1 || value == entry.last_value) {
        return true;
    }
    auto record = new_record(CPE_DM_INFO_TYPE_IND, id);
    if (!record) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return false;
    }
    record->value_type = CPE_DM_VALUE_INT64;
    record->value.i64_val = value;
    entry.last_value = value;
    cpe_dm_call_user(record.release());
    return true;
}

/* Delivers the signal values in the order of the calls below. Stops at the first value for which no record can be
 * allocated. */
static void process_sig_info(const zeb_nas_sig_info &info) {
    static_assert(CPE_DM_IND_CNT == 8, "a new indication is reported here");
    cpe_dm_nas_ind_info &set = cpe_dm_state.ind_info;
    (void)(report<int16_t>(CPE_DM_IND_LTE_RSRP, set.lte_rsrp, info.lte_sig_info_valid, info.lte_sig.rsrp) &&
           report<int8_t>(CPE_DM_IND_LTE_RSRQ, set.lte_rsrq, info.lte_sig_info_valid, info.lte_sig.rsrq) &&
           report<int16_t>(CPE_DM_IND_LTE_SINR, set.lte_sinr, info.lte_sig_info_valid, info.lte_sig.snr) &&
           report<int16_t>(CPE_DM_IND_NR5G_RSRP, set.nr5g_rsrp, info.nr5g_sig_info_valid, info.nr5g_sig.rsrp) &&
           report<int16_t>(CPE_DM_IND_NR5G_RSRQ, set.nr5g_rsrq, info.nr5g_rsrq_valid, info.nr5g_rsrq) &&
           report<int16_t>(CPE_DM_IND_NR5G_SINR, set.nr5g_sinr, info.nr5g_sig_info_valid, info.nr5g_sig.snr));
}

static void process_reg_status(const uint32_t *reg_status) {
    if (!cpe_dm_state.ind_info.reg_status) {
        return;
    }
    auto record = new_record(CPE_DM_INFO_TYPE_IND, CPE_DM_IND_REG_STATUS);
    if (!record) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return;
    }
    record->value_type = CPE_DM_VALUE_UINT32;
    record->value.u32_val = *reg_status;
    cpe_dm_call_user(record.release());
}

/* Copies `len` PLMNs, but at most as many as each of the two lists can hold. Returns the number of copied PLMNs. Copies
 * field by field, so that the padding between the fields stays zero. */
template <size_t N, size_t M>
static uint32_t copy_plmns(const zeb_nas_plmn (&from)[N], uint32_t len, cpe_dm_plmn (&to)[M]) {
    const uint32_t count = cpe_dm_bounded(len, N, M);
    for (uint32_t i = 0; i < count; i++) {
        to[i].plmn_mcc = from[i].plmn_mcc;
        to[i].plmn_mnc = from[i].plmn_mnc;
        to[i].plmn_mnc_includes_pcs_digit = from[i].plmn_mnc_includes_pcs_digit;
    }
    return count;
}

static void copy_lte_nbr(const zeb_nas_lte_nbr &from, cpe_dm_lte_nbr &to) {
    to.earfcn = from.earfcn;
    to.pci = from.pci;
    if (cpe_dm_state.lte_nbr_cgi) {
        to.cgi_valid = 1;
        to.cgi = from.cgi;
    }
    if (cpe_dm_state.lte_nbr_plmn) {
        to.plmn_valid = 1;
        to.plmn_len = copy_plmns(from.plmn, from.plmn_len, to.plmn);
    }
}

static void fill_lte_nbr_info(const zeb_nas_scan_result_ind &scan, cpe_dm_lte_nbr_info &info) {
    const uint32_t count = cpe_dm_bounded(scan.lte.nbr_len, std::size(scan.lte.nbr), std::size(info.nbr));
    const cpe_dm_state_record &asked = cpe_dm_state;
    if (asked.lte_nbr_rsrp || asked.lte_nbr_rsrq) {
        info.highest_sig_valid = 1;
        if (count != 0) {
            info.highest_sig_earfcn = scan.lte.nbr[0].earfcn;
            info.highest_sig_pci = scan.lte.nbr[0].pci;
        }
    }
    if (asked.lte_nbr_rsrp) {
        info.highest_sig_rsrp_valid = 1;
        info.highest_sig_rsrp = scan.lte.highest_sig_rsrp;
    }
    if (asked.lte_nbr_rsrq) {
        info.highest_sig_rsrq_valid = 1;
        info.highest_sig_rsrq = scan.lte.highest_sig_rsrq;
    }
    const bool list = asked.lte_nbr_earfcn || asked.lte_nbr_pci || asked.lte_nbr_cgi || asked.lte_nbr_plmn;
    if (!list || count == 0) {
        return;
    }
    for (uint32_t i = 0; i < count; i++) {
        copy_lte_nbr(scan.lte.nbr[i], info.nbr[i]);
    }
    info.nbr_valid = 1;
    info.nbr_len = count;
}

static void copy_nr5g_nbr(const zeb_nas_nr5g_nbr &from, cpe_dm_nr5g_nbr &to) {
    to.earfcn = from.earfcn;
    to.pci = from.pci;
    if (cpe_dm_state.nr5g_nbr_rsrp) {
        to.rsrp_valid = 1;
        to.rsrp = from.rsrp;
    }
    if (cpe_dm_state.nr5g_nbr_plmn) {
        to.plmn_valid = 1;
        to.plmn_len = copy_plmns(from.plmn, from.plmn_len, to.plmn);
    }
    if (cpe_dm_state.nr5g_nbr_cgi) {
        to.cgi_valid = 1;
        to.cgi_len = cpe_dm_bounded(from.cgi_len, std::size(from.cgi), std::size(to.cgi));
        std::copy_n(from.cgi, to.cgi_len, to.cgi);
    }
}

static void fill_nr5g_nbr_info(const zeb_nas_scan_result_ind &scan, cpe_dm_nr5g_nbr_info &info) {
    const uint32_t count = cpe_dm_bounded(scan.nr5g.nbr_len, std::size(scan.nr5g.nbr), std::size(info.nbr));
    for (uint32_t i = 0; i < count; i++) {
        copy_nr5g_nbr(scan.nr5g.nbr[i], info.nbr[i]);
    }
    info.nbr_valid = count != 0;
    info.nbr_len = count;
}

/* The response to an LTE scan, with neighbour data when the scan succeeded. Null (logged) when memory ran out. */
static cpe_dm_owned<cpe_dm_info> new_lte_response(const zeb_nas_scan_result_ind &scan) {
    auto record = new_record(CPE_DM_INFO_TYPE_ASYNC_RSP, CPE_DM_ASYNC_RSP_LTE_NBR);
    if (!record) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return nullptr;
    }
    if (scan.scan_status != 0) {
        return record;
    }
    auto info = cpe_dm_alloc<cpe_dm_lte_nbr_info>();
    if (!info) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return nullptr;
    }
    fill_lte_nbr_info(scan, *info);
    record->value_type = CPE_DM_VALUE_LTE_NBR_INFO;
    record->value.lte_nbr_info = info.release();
    return record;
}

/* The response to an NR 5G scan, with neighbour data when the scan succeeded. Null (logged) when memory ran out. */
static cpe_dm_owned<cpe_dm_info> new_nr5g_response(const zeb_nas_scan_result_ind &scan) {
    auto record = new_record(CPE_DM_INFO_TYPE_ASYNC_RSP, CPE_DM_ASYNC_RSP_NR5G_NBR);
    if (!record) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return nullptr;
    }
    if (scan.scan_status != 0) {
        return record;
    }
    auto info = cpe_dm_alloc<cpe_dm_nr5g_nbr_info>();
    if (!info) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return nullptr;
    }
    fill_nr5g_nbr_info(scan, *info);
    record->value_type = CPE_DM_VALUE_NR5G_NBR_INFO;
    record->value.nr5g_nbr_info = info.release();
    return record;
}

static void process_lte_scan(const zeb_nas_scan_result_ind &scan) {
    cpe_dm_state_record &state = cpe_dm_state;
    state.lte_scan_request = 0;
    state.lte_scan_ongoing = 0;
    if (state.nr5g_scan_request) {
        cpe_dm_zeb_nas_perform_incremental_scan(0, nullptr, state.nr5g_scan_request, &state.nr5g_scan_ongoing);
    }
    if (auto record = new_lte_response(scan)) {
        cpe_dm_call_user(record.release());
        state.lte_nbr_earfcn = state.lte_nbr_pci = state.lte_nbr_cgi = 0;
        state.lte_nbr_plmn = state.lte_nbr_rsrp = state.lte_nbr_rsrq = 0;
    }
}

static void process_nr5g_scan(const zeb_nas_scan_result_ind &scan) {
    cpe_dm_state_record &state = cpe_dm_state;
    state.nr5g_scan_request = 0;
    state.nr5g_scan_ongoing = 0;
    if (auto record = new_nr5g_response(scan)) {
        cpe_dm_call_user(record.release());
        state.nr5g_nbr_earfcn = state.nr5g_nbr_pci = state.nr5g_nbr_cgi = 0;
        state.nr5g_nbr_plmn = state.nr5g_nbr_rsrp = 0;
    }
}

/* Processes an indication of the modem. Called with cpe_dm_lock held. */
static void process_msg(const zeb_async_data &msg) {
    switch (msg.zeb_msg_id) {
    case ZEB_NAS_SIG_INFO_IND:
        process_sig_info(*static_cast<const zeb_nas_sig_info *>(msg.zeb_msg_data));
        break;
    case ZEB_NAS_SYS_INFO_IND:
        process_reg_status(static_cast<const uint32_t *>(msg.zeb_msg_data));
        break;
    case ZEB_NAS_SCAN_RESULT_IND: {
        const auto &scan = *static_cast<const zeb_nas_scan_result_ind *>(msg.zeb_msg_data);
        if (cpe_dm_state.lte_scan_ongoing) {
            process_lte_scan(scan);
        } else {
            process_nr5g_scan(scan);
        }
        break;
    }
    default:
        CPE_DM_LOG_ERROR("Processing of NAS message ID [%u] - not supported!!", msg.zeb_msg_id);
        break;
    }
}

void cpe_dm_process_nas_msg(cpe_dm_cmd *cmd, void *data) {
    const auto *msg = static_cast<const zeb_async_data *>(data);
    if (cmd == nullptr || msg == nullptr || msg->zeb_msg_data == nullptr) {
        CPE_DM_LOG_ERROR("Invalid params - cmd[%p], zeb_async_data[%p]", static_cast<void *>(cmd), data);
        return;
    }
    if (!cpe_dm_is_initialized()) {
        CPE_DM_LOG_ERROR("Diagnostic monitor module is not initialized!!");
        return;
    }
    cpe_dm_guard guard;
    if (cpe_dm_lock_delivery(guard) != 0) {
        return;
    }
    // `initialized` is tested again under the lock: while this thread waited for the lock, a de-initialisation may have
    // taken the modem connection down.
    if (!cpe_dm_is_initialized()) {
        CPE_DM_LOG_ERROR("Diagnostic monitor module is not initialized!!");
        return;
    }
    process_msg(*msg);
}
