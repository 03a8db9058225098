#include "cpe_dm_interface.h"

#include "cpe_dm_alloc.h"
#include "cpe_dm_log.h"
#include "cpe_dm_thread.h"
#include "cpe_dm_zeb_nas.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

/* Threads between their look at `initialized` and the end of their use of the queue. */
static std::atomic<uint32_t> posters;

void cpe_dm_wait_for_posters() {
    while (posters != 0) {
        cpe_dm_pause();
    }
}

/* Either the flag is seen set here, and cpe_dm_wait_for_posters waits for this thread; or it is seen clear. */
static int32_t queue_cmd(cpe_dm_cmd *cmd) {
    posters++;
    const bool initialized = cpe_dm_is_initialized();
    const int32_t status = initialized ? cpe_dm_cmdq_enq(&cpe_dm_state.cmdq, cmd) : -1;
    posters--;
    if (!initialized) {
        CPE_DM_LOG_ERROR("Diagnostic monitor module is not initialized!!");
    }
    return status;
}

/* A zero-filled T, or null; logged. */
template <typename T> static cpe_dm_owned<T> new_zeroed() {
    auto record = cpe_dm_alloc<T>();
    if (!record) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
    }
    return record;
}

int32_t cpe_dm_post_nas_msg(uint32_t zeb_msg_id, void *zeb_msg_data) {
    if (zeb_msg_data == nullptr || zeb_msg_id == 0) {
        CPE_DM_LOG_ERROR("Invalid params - zeb_msg_id[%u], zeb_msg_data[%p]", zeb_msg_id, zeb_msg_data);
        return CPE_DM_ERR_INVALID_PARAM;
    }
    cpe_dm_owned<void> message(zeb_msg_data);
    auto cmd = new_zeroed<cpe_dm_cmd>();
    if (!cmd) {
        return CPE_DM_ERR_NO_MEMORY;
    }
    auto data = new_zeroed<zeb_async_data>();
    if (!data) {
        return CPE_DM_ERR_FAILURE;
    }
    *data = {zeb_msg_id, message.get()};
    *cmd = {cpe_dm_process_nas_msg, cpe_dm_free_nas_msg, data.get()};
    if (queue_cmd(cmd.get()) != 0) {
        return CPE_DM_ERR_FAILURE;
    }
    // The command owns all three now, and may have been released already.
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

/* A record for the user without a value, or null; logged. */
static cpe_dm_owned<cpe_dm_info> new_record(uint32_t info_type, uint32_t id) {
    auto record = new_zeroed<cpe_dm_info>();
    if (record) {
        record->info_type = info_type;
        record->id = id;
        record->value_type = CPE_DM_VALUE_NONE;
    }
    return record;
}

/* The record, and what its value points to, are the user's from here on. */
static void deliver(cpe_dm_owned<cpe_dm_info> record) {
    cpe_dm_state.user_cb_fn(cpe_dm_state.hndl, record.release(), cpe_dm_state.user_data);
}

static void process_sig_info(const zeb_nas_sig_info *info) {
    for (const cpe_dm_threshold_row &row : cpe_dm_threshold_rows) {
        cpe_dm_ind_threshold &entry = cpe_dm_state.ind_info.*row.entry;
        const auto value = static_cast<int32_t>(cpe_dm_read_field(info, row.value));
        if (!entry.valid || cpe_dm_read_field(info, row.valid) != 1 || value == entry.last_value) {
            continue;
        }
        auto record = new_record(CPE_DM_INFO_TYPE_IND, row.id);
        if (!record) {
            return;
        }
        record->value_type = CPE_DM_VALUE_INT64;
        record->value.i64_val = value;
        entry.last_value = value;
        deliver(std::move(record));
    }
}

static void process_reg_status(const uint32_t *reg_status) {
    if (!cpe_dm_state.ind_info.reg_status) {
        return;
    }
    auto record = new_record(CPE_DM_INFO_TYPE_IND, CPE_DM_IND_REG_STATUS);
    if (!record) {
        return;
    }
    record->value_type = CPE_DM_VALUE_UINT32;
    record->value.u32_val = *reg_status;
    deliver(std::move(record));
}

/* Copies at most as many PLMNs as both lists have room for; returns their number. */
template <size_t N, size_t M>
static uint32_t copy_plmns(const zeb_nas_plmn (&from)[N], uint32_t len, cpe_dm_plmn (&to)[M]) {
    const uint32_t count = cpe_dm_bounded(len, N, M);
    for (uint32_t i = 0; i < count; i++) {
        to[i] = {from[i].plmn_mcc, from[i].plmn_mnc, from[i].plmn_mnc_includes_pcs_digit};
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

static void set_payload(cpe_dm_info &record, cpe_dm_lte_nbr_info *info) {
    record.value_type = CPE_DM_VALUE_LTE_NBR_INFO;
    record.value.lte_nbr_info = info;
}

static void set_payload(cpe_dm_info &record, cpe_dm_nr5g_nbr_info *info) {
    record.value_type = CPE_DM_VALUE_NR5G_NBR_INFO;
    record.value.nr5g_nbr_info = info;
}

/* Delivers the response to a scan, with a payload when the scan succeeded. Returns false when memory lacked and nothing
 * was delivered; logged. */
template <typename Info>
static bool deliver_response(uint32_t id, const zeb_nas_scan_result_ind &scan,
                             void (*fill)(const zeb_nas_scan_result_ind &scan, Info &info)) {
    auto record = new_record(CPE_DM_INFO_TYPE_ASYNC_RSP, id);
    if (!record) {
        return false;
    }
    if (scan.scan_status == 0) {
        auto info = new_zeroed<Info>();
        if (!info) {
            return false;
        }
        fill(scan, *info);
        set_payload(*record, info.release());
    }
    deliver(std::move(record));
    return true;
}

static void process_lte_scan(const zeb_nas_scan_result_ind &scan) {
    cpe_dm_state_record &state = cpe_dm_state;
    state.lte_scan_request = 0;
    state.lte_scan_ongoing = 0;
    if (state.nr5g_scan_request) {
        cpe_dm_zeb_nas_perform_incremental_scan(0, nullptr, state.nr5g_scan_request, &state.nr5g_scan_ongoing);
    }
    if (deliver_response(CPE_DM_ASYNC_RSP_LTE_NBR, scan, fill_lte_nbr_info)) {
        state.lte_nbr_earfcn = state.lte_nbr_pci = state.lte_nbr_cgi = 0;
        state.lte_nbr_plmn = state.lte_nbr_rsrp = state.lte_nbr_rsrq = 0;
    }
}

static void process_nr5g_scan(const zeb_nas_scan_result_ind &scan) {
    cpe_dm_state_record &state = cpe_dm_state;
    state.nr5g_scan_request = 0;
    state.nr5g_scan_ongoing = 0;
    if (deliver_response(CPE_DM_ASYNC_RSP_NR5G_NBR, scan, fill_nr5g_nbr_info)) {
        state.nr5g_nbr_earfcn = state.nr5g_nbr_pci = state.nr5g_nbr_cgi = 0;
        state.nr5g_nbr_plmn = state.nr5g_nbr_rsrp = 0;
    }
}

/* Under the lock. */
static void process_msg(const zeb_async_data &msg) {
    switch (msg.zeb_msg_id) {
    case ZEB_NAS_SIG_INFO_IND:
        process_sig_info(static_cast<const zeb_nas_sig_info *>(msg.zeb_msg_data));
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

/* Whether events are still delivered; logged when not. */
static bool delivering() {
    const bool initialized = cpe_dm_is_initialized();
    if (!initialized) {
        CPE_DM_LOG_ERROR("Diagnostic monitor module is not initialized!!");
    }
    return initialized;
}

void cpe_dm_process_nas_msg(cpe_dm_cmd *cmd, void *data) {
    const auto *msg = static_cast<const zeb_async_data *>(data);
    if (cmd == nullptr || msg == nullptr || msg->zeb_msg_data == nullptr) {
        CPE_DM_LOG_ERROR("Invalid params - cmd[%p], zeb_async_data[%p]", static_cast<void *>(cmd), data);
        return;
    }
    if (!delivering()) {
        return;
    }
    cpe_dm_guard guard;
    // Looked at again under the lock: a de-initialisation that held it meanwhile has taken the modem connection down.
    if (cpe_dm_guard_take(guard) == 0 && delivering()) {
        process_msg(*msg);
    }
}
