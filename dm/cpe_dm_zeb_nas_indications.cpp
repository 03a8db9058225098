#include "cpe_dm_zeb_nas_request.h"
#include "cpe_dm_zeb_nas_status.h"

#include "cpe_dm_alloc.h"
#include "cpe_dm_bounded.h"
#include "cpe_dm_log.h"
#include "cpe_dm_post.h"

#include <iterator>
#include <span>

/* Copies the two fields one by one. A copy of the whole structure could also copy its padding, which holds bytes of the
 * stack, into the request. */
static void nas_set_threshold(zeb_nas_threshold &threshold, const cpe_dm_ind_threshold &entry) {
    threshold.valid = entry.valid;
    threshold.delta = entry.delta;
}

/* Sends the thresholds in ind_info. Only a failure of the transport is reported: the response, in which the service may
 * refuse the thresholds, is not looked at. */
static int32_t nas_config_sig_info(const cpe_dm_nas_ind_info &ind_info) {
    static_assert(CPE_DM_IND_CNT == 8, "a new indication with a threshold is set here");
    auto req = cpe_dm_alloc<zeb_nas_config_sig_info_req>();
    auto resp = cpe_dm_alloc<zeb_nas_empty_resp>();
    if (!req || !resp) {
        CPE_DM_LOG_ERROR("Memory allocation failed");
        return CPE_DM_ERR_NO_MEMORY;
    }
    nas_set_threshold(req->lte_rsrp, ind_info.lte_rsrp);
    nas_set_threshold(req->lte_rsrq, ind_info.lte_rsrq);
    nas_set_threshold(req->lte_snr, ind_info.lte_sinr);
    nas_set_threshold(req->nr5g_rsrp, ind_info.nr5g_rsrp);
    nas_set_threshold(req->nr5g_rsrq, ind_info.nr5g_rsrq);
    nas_set_threshold(req->nr5g_snr, ind_info.nr5g_sinr);
    const int32_t error = cpe_dm_zeb_nas_send(ZEB_NAS_CONFIG_SIG_INFO, *req, *resp);
    if (error != 0) {
        CPE_DM_LOG_ERROR("ZEB NAS signaling information request failed with status[%d]", error);
        return CPE_DM_ERR_FAILURE;
    }
    return CPE_DM_SUCCESS;
}

int32_t cpe_dm_zeb_nas_register_ind(const cpe_dm_nas_ind_info *ind_info) {
    int32_t status = cpe_dm_zeb_nas_check(ind_info);
    if (status == CPE_DM_ERR_INVALID_PARAM) {
        CPE_DM_LOG_ERROR("Invalid params - ind_info[%p]", static_cast<const void *>(ind_info));
    }
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    auto req = cpe_dm_alloc<zeb_nas_indication_register_req>();
    auto resp = cpe_dm_alloc<zeb_nas_empty_resp>();
    if (!req || !resp) {
        CPE_DM_LOG_ERROR("Memory allocation failed");
        return CPE_DM_ERR_NO_MEMORY;
    }
    static_assert(CPE_DM_IND_CNT == 8, "a new indication with a threshold is asked for here");
    req->sig_info_valid = 1;
    req->sig_info = ind_info->lte_rsrp.valid || ind_info->lte_rsrq.valid || ind_info->lte_sinr.valid ||
                    ind_info->nr5g_rsrp.valid || ind_info->nr5g_rsrq.valid || ind_info->nr5g_sinr.valid;
    const int32_t error = cpe_dm_zeb_nas_send_registration(*req, *resp);
    if (cpe_dm_zeb_nas_failed(error, resp->header)) {
        CPE_DM_LOG_ERROR("ZEB NAS indication register request failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp->header.result), static_cast<int32_t>(resp->header.error));
        return CPE_DM_ERR_FAILURE;
    }
    return nas_config_sig_info(*ind_info);
}

/* An indication as the framework passed it to the callback, still encoded. */
struct nas_indication {
    zeb_client_handle client;
    uint32_t msg_id;
    const void *buf;
    uint32_t buf_len;
};

/* Decodes an indication. Returns the status of the decoder. */
template <typename T> static int32_t nas_decode(const nas_indication &ind, T &message) {
    return zeb_client_message_decode(ind.client, ZEB_MESSAGE_INDICATION, ind.msg_id, ind.buf, ind.buf_len, &message,
                                     sizeof(T));
}

static void nas_sys_info_ind(const nas_indication &ind) {
    auto info = cpe_dm_alloc<zeb_nas_sys_info>();
    if (!info) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return;
    }
    const int32_t error = nas_decode(ind, *info);
    if (error != 0) {
        CPE_DM_LOG_ERROR("System information change indication decoding failed with status[%d]", error);
        return;
    }
    const uint32_t status = cpe_dm_zeb_nas_derive_status(*info);
    const uint32_t previous = cpe_dm_zeb_nas_network_status();
    CPE_DM_LOG_INFO("System info indication - curr_network_status[%d], prev_network_status[%d]",
                    static_cast<int32_t>(status), static_cast<int32_t>(previous));
    info.reset();
    if (status == previous) {
        return;
    }
    auto posted = cpe_dm_alloc<uint32_t>();
    if (!posted) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return;
    }
    *posted = status;
    cpe_dm_zeb_nas_store_network_status(status);
    cpe_dm_post_nas_msg(ind.msg_id, posted.release());
}

static void nas_sig_info_ind(const nas_indication &ind) {
    auto info = cpe_dm_alloc<zeb_nas_sig_info>();
    if (!info) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return;
    }
    const int32_t error = nas_decode(ind, *info);
    if (error != 0) {
        CPE_DM_LOG_ERROR("Signal strength change indication decoding failed with status[%d]", error);
        return;
    }
    if (info->nr5g_sig_info_valid) {
        CPE_DM_LOG_INFO("NR 5G signal info indication - rsrp[%hi]", info->nr5g_sig.rsrp);
        CPE_DM_LOG_INFO("NR 5G signal info indication - snr[%hi]", info->nr5g_sig.snr);
        CPE_DM_LOG_INFO("NR 5G signal info indication - nr5g_rsrq_valid[%u], nr5g_rsrq[%hi]", info->nr5g_rsrq_valid,
                        info->nr5g_rsrq);
    }
    if (info->lte_sig_info_valid) {
        CPE_DM_LOG_INFO("LTE signal info indication - rsrp[%hi]", info->lte_sig.rsrp);
        CPE_DM_LOG_INFO("LTE signal info indication - snr[%hi]", info->lte_sig.snr);
        CPE_DM_LOG_INFO("LTE signal info indication - rsrq[%hi]", info->lte_sig.rsrq);
    }
    cpe_dm_post_nas_msg(ind.msg_id, info.release());
}

static void nas_log_lte_scan(const zeb_nas_scan_result_ind &scan) {
    CPE_DM_LOG_INFO("LTE network scan indication - highest signal neighbor rsrp[%hi]", scan.lte.highest_sig_rsrp);
    CPE_DM_LOG_INFO("LTE network scan indication - highest signal neighbor rsrq[%hi]", scan.lte.highest_sig_rsrq);
    const uint32_t count = cpe_dm_bounded(scan.lte.nbr_len, std::size(scan.lte.nbr));
    for (uint32_t i = 0; i < count; i++) {
        const zeb_nas_lte_nbr &nbr = scan.lte.nbr[i];
        const auto index = static_cast<int32_t>(i);
        CPE_DM_LOG_INFO("LTE network scan indication - neighbor #%d earfcn[%u]", index, nbr.earfcn);
        CPE_DM_LOG_INFO("LTE network scan indication - neighbor #%d pci[%hu]", index, nbr.pci);
        CPE_DM_LOG_INFO("LTE network scan indication - neighbor #%d cgi[%u]", index, nbr.cgi);
        for (const zeb_nas_plmn &plmn : std::span(nbr.plmn).first(cpe_dm_bounded(nbr.plmn_len, std::size(nbr.plmn)))) {
            CPE_DM_LOG_INFO("LTE network scan indication - neighbor #%d plmn_mcc[%hu] plmn_mnc[%hu], "
                            "plmn_mnc_includes_pcs_digit[%u]",
                            index, plmn.plmn_mcc, plmn.plmn_mnc, plmn.plmn_mnc_includes_pcs_digit);
        }
    }
}

static void nas_log_nr5g_scan(const zeb_nas_scan_result_ind &scan) {
    const uint32_t count = cpe_dm_bounded(scan.nr5g.nbr_len, std::size(scan.nr5g.nbr));
    for (uint32_t i = 0; i < count; i++) {
        const zeb_nas_nr5g_nbr &nbr = scan.nr5g.nbr[i];
        const auto index = static_cast<int32_t>(i);
        CPE_DM_LOG_INFO("NR 5G network scan indication - neighbor #%d rsrp[%hi]", index, nbr.rsrp);
        CPE_DM_LOG_INFO("NR 5G network scan indication - neighbor #%d earfcn[%u]", index, nbr.earfcn);
        CPE_DM_LOG_INFO("NR 5G network scan indication - neighbor #%d pci[%hu]", index, nbr.pci);
        for (uint64_t cgi : std::span(nbr.cgi).first(cpe_dm_bounded(nbr.cgi_len, std::size(nbr.cgi)))) {
            CPE_DM_LOG_INFO("NR 5G network scan indication - neighbor #%d cgi[%llu]", index,
                            static_cast<unsigned long long>(cgi));
        }
        for (const zeb_nas_plmn &plmn : std::span(nbr.plmn).first(cpe_dm_bounded(nbr.plmn_len, std::size(nbr.plmn)))) {
            CPE_DM_LOG_INFO("NR 5G network scan indication - neighbor #%d plmn_mcc[%hu] plmn_mnc[%hu], "
                            "plmn_mnc_includes_pcs_digit[%u]",
                            index, plmn.plmn_mcc, plmn.plmn_mnc, plmn.plmn_mnc_includes_pcs_digit);
        }
    }
}

static void nas_scan_result_ind(const nas_indication &ind) {
    auto scan = cpe_dm_alloc<zeb_nas_scan_result_ind>();
    if (!scan) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return;
    }
    const int32_t error = nas_decode(ind, *scan);
    if (error != 0) {
        CPE_DM_LOG_ERROR("Network scan indication decoding failed with status[%d]", error);
        return;
    }
    CPE_DM_LOG_INFO("Network incremental PCI extension scan status [%u]", scan->scan_status);
    if (scan->lte_valid) {
        nas_log_lte_scan(*scan);
    } else if (scan->nr5g_valid) {
        nas_log_nr5g_scan(*scan);
    }
    cpe_dm_post_nas_msg(ind.msg_id, scan.release());
}

void cpe_dm_zeb_nas_ind_cb(zeb_client_handle client, uint32_t msg_id, const void *ind_buf, uint32_t ind_buf_len,
                           void * /*cb_data*/) {
    CPE_DM_LOG_INFO("Indication received from NAS service with msg_id[%d]", static_cast<int32_t>(msg_id));
    const nas_indication ind = {client, msg_id, ind_buf, ind_buf_len};
    switch (msg_id) {
    case ZEB_NAS_SYS_INFO_IND:
        nas_sys_info_ind(ind);
        break;
    case ZEB_NAS_SIG_INFO_IND:
        nas_sig_info_ind(ind);
        break;
    case ZEB_NAS_SCAN_RESULT_IND:
        nas_scan_result_ind(ind);
        break;
    default:
        break;
    }
}

void cpe_dm_zeb_nas_notify_cb(zeb_client_handle /*client*/, zeb_service_object /*service*/, int32_t event,
                              void * /*cb_data*/) {
    CPE_DM_LOG_INFO("NAS service notification callback received service event[%d]", event);
    if (event != 0) {
        CPE_DM_LOG_ERROR("NAS service event[%d] is not currently supported", event);
    }
}
