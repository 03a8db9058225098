#include "cpe_dm_zeb_nas.h"

#include "cpe_dm_alloc.h"
#include "cpe_dm_bounded.h"
#include "cpe_dm_log.h"
#include "cpe_dm_post.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <span>
#include <utility>

/* What the service definition was generated as. */
enum {
    NAS_IDL_MAJOR_VERSION = 1,
    NAS_IDL_MINOR_VERSION = 342,
    NAS_LIBRARY_VERSION = 6,
    NAS_SERVICE_INFO_MAX = 10,
};

/* The sizes that the module expects of the platform's structures. Another size does not compile; the error names the
 * structure, its size here and the size expected. */
template <typename message, size_t bytes_here, size_t bytes_expected> struct nas_bytes {
    static_assert(bytes_here == bytes_expected, "the platform's headers give this message another size than expected");
    static constexpr bool agreed = true;
};

static_assert(nas_bytes<struct os_params, sizeof(zeb_cci_os_params), 96>::agreed);
static_assert(nas_bytes<struct service_info, sizeof(zeb_service_info), 20>::agreed);
static_assert(nas_bytes<struct response_header, sizeof(zeb_nas_resp_header), 8>::agreed);
static_assert(nas_bytes<struct empty_request, sizeof(zeb_nas_empty_req), 1>::agreed);
static_assert(nas_bytes<struct empty_response, sizeof(zeb_nas_empty_resp), 8>::agreed);
static_assert(nas_bytes<struct request_0x0003, sizeof(zeb_nas_indication_register_req), 143>::agreed);
static_assert(nas_bytes<struct response_0x0043, sizeof(zeb_nas_cell_location_info_resp), 3784>::agreed);
static_assert(nas_bytes<struct response_0x004D, sizeof(zeb_nas_sys_info_resp), 1328>::agreed);
static_assert(nas_bytes<struct message_0x004E, sizeof(zeb_nas_sys_info), 1320>::agreed);
static_assert(nas_bytes<struct response_0x004F, sizeof(zeb_nas_sig_info_resp), 88>::agreed);
static_assert(nas_bytes<struct message_0x0051, sizeof(zeb_nas_sig_info), 80>::agreed);
static_assert(nas_bytes<struct request_0x005A, sizeof(zeb_nas_tx_rx_info_req), 12>::agreed);
static_assert(nas_bytes<struct response_0x005A, sizeof(zeb_nas_tx_rx_info_resp), 196>::agreed);
static_assert(nas_bytes<struct request_0x006C, sizeof(zeb_nas_config_sig_info_req), 2332>::agreed);
static_assert(nas_bytes<struct request_0x0085, sizeof(zeb_nas_incremental_scan_req), 560>::agreed);
static_assert(nas_bytes<struct message_0x0085, sizeof(zeb_nas_scan_result_ind), 17824>::agreed);
static_assert(nas_bytes<struct response_0x00D7, sizeof(zeb_nas_lte_cell_lock_list_resp), 256>::agreed);
static_assert(nas_bytes<struct response_0x010F, sizeof(zeb_nas_nr5g_cell_lock_list_resp), 368>::agreed);
static_assert(nas_bytes<struct request_0x0133, sizeof(zeb_nas_cqi_info_req), 8>::agreed);
static_assert(nas_bytes<struct response_0x0133, sizeof(zeb_nas_cqi_info_resp), 176>::agreed);

static zeb_client_handle zeb_nas_clnt_handle;
static zeb_client_handle zeb_nas_notifier_handle;

/* The signal of the notifier, which uses it until it is released. */
static zeb_cci_os_params zeb_nas_os_params;

/* A notifier that a failed connection could not release. It still uses zeb_nas_os_params, so no other notifier may be
 * created while there is one. */
static zeb_client_handle zeb_nas_lost_notifier;

/* The registration status by which queries choose between LTE and NR 5G. Written by the system information query of
 * cpe_dm_init and, on the framework's thread, by the system information indication. */
static std::atomic<uint32_t> network_status{CPE_DM_REG_NONE};

static bool lte_in_service() {
    const uint32_t status = network_status;
    return status == CPE_DM_REG_LTE || status == CPE_DM_REG_LTE_NR5G;
}

static bool nr5g_in_service() {
    const uint32_t status = network_status;
    return status == CPE_DM_REG_LTE_NR5G || status == CPE_DM_REG_NR5G;
}

static zeb_service_object nas_service_object() {
    return nas_get_service_object_internal_v01(NAS_IDL_MAJOR_VERSION, NAS_IDL_MINOR_VERSION, NAS_LIBRARY_VERSION);
}

/* The entry check of the operations that take a record: what is its name in the log. */
static int32_t nas_check(const char *what, const void *record) {
    if (record == nullptr) {
        CPE_DM_LOG_ERROR("Invalid params - %s[%p]", what, record);
        return CPE_DM_ERR_INVALID_PARAM;
    }
    if (zeb_nas_clnt_handle == nullptr) {
        CPE_DM_LOG_ERROR("ZEB NAS module not initialized - zeb_nas_clnt_handle[%p]",
                         static_cast<void *>(zeb_nas_clnt_handle));
        return CPE_DM_ERR_NOT_INITIALIZED;
    }
    return CPE_DM_SUCCESS;
}

/* Sends a request and waits for its response; returns the transport status. */
template <typename Req, typename Resp> static int32_t nas_send(uint32_t msg_id, const Req &req, Resp &resp) {
    return zeb_client_send_msg_sync(zeb_nas_clnt_handle, msg_id, &req, sizeof(Req), &resp, sizeof(Resp),
                                    CPE_DM_NAS_TIMEOUT_MS);
}

static bool nas_failed(int32_t error, const zeb_nas_resp_header &header) {
    return error != 0 || header.result != 0;
}

/* Registers for system information, and for signal information as req says; returns the transport status. */
static int32_t nas_register_indications(zeb_nas_indication_register_req &req, zeb_nas_empty_resp &resp) {
    req.sys_info_valid = 1;
    req.sys_info = 1;
    return nas_send(ZEB_NAS_INDICATION_REGISTER, req, resp);
}

int32_t cpe_dm_zeb_nas_client_init() {
    if (zeb_nas_clnt_handle != nullptr) {
        CPE_DM_LOG_ERROR("ZEB NAS client module already initialized");
        return CPE_DM_SUCCESS;
    }
    auto req = cpe_dm_alloc<zeb_nas_indication_register_req>();
    auto resp = cpe_dm_alloc<zeb_nas_empty_resp>();
    if (!req || !resp) {
        CPE_DM_LOG_ERROR("Memory allocation failed");
        return CPE_DM_ERR_NO_MEMORY;
    }
    const zeb_service_object service = nas_service_object();
    if (service == nullptr) {
        CPE_DM_LOG_ERROR("ZEB NAS service object not available");
        return CPE_DM_ERR_FAILURE;
    }
    zeb_cci_os_params os_params = {};
    const int32_t status = zeb_client_init_instance(service, ZEB_INSTANCE_ANY, cpe_dm_zeb_nas_ind_cb, nullptr,
                                                    &os_params, CPE_DM_NAS_TIMEOUT_MS, &zeb_nas_clnt_handle);
    if (status != 0) {
        CPE_DM_LOG_ERROR("ZEB NAS client initialization failed with status[%d]", status);
        return CPE_DM_ERR_FAILURE;
    }
    const int32_t error = nas_register_indications(*req, *resp);
    if (nas_failed(error, resp->header)) {
        CPE_DM_LOG_ERROR("ZEB NAS indication register request failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp->header.result), static_cast<int32_t>(resp->header.error));
        return CPE_DM_ERR_FAILURE;
    }
    CPE_DM_LOG_INFO("ZEB NAS indication register request successful - sys_info[true]");
    CPE_DM_LOG_INFO("NAS service successfully initialized!");
    return CPE_DM_SUCCESS;
}

/* Waits until the service is present; returns the number of its instances. */
static uint32_t nas_wait_for_service(zeb_service_object service) {
    uint32_t num_services = 0;
    int32_t status = zeb_client_get_service_list(service, nullptr, nullptr, &num_services);
    while (status != 0) {
        CPE_DM_LOG_ERROR("Retrieving ZEB NAS service list failed with status[%d]", status);
        zeb_cci_os_signal_wait(&zeb_nas_os_params, 0);
        status = zeb_client_get_service_list(service, nullptr, nullptr, &num_services);
    }
    return num_services;
}

/* Releases a client handle, if there is one, and forgets it once it is released. */
static int32_t nas_release_handle(zeb_client_handle &handle) {
    const int32_t status = handle != nullptr ? zeb_client_release(handle) : 0;
    if (status == 0) {
        handle = nullptr;
    }
    return status;
}

/* The steps of connecting, up to the first that fails. */
static int32_t nas_connect() {
    const zeb_service_object service = nas_service_object();
    if (service == nullptr) {
        CPE_DM_LOG_ERROR("NAS service object is not available!");
        return CPE_DM_ERR_FAILURE;
    }
    int32_t status = nas_release_handle(zeb_nas_lost_notifier);
    if (status != 0) {
        CPE_DM_LOG_ERROR("Releasing the ZEB NAS notifier handle failed with status[%d]", status);
        return CPE_DM_ERR_FAILURE;
    }
    zeb_nas_os_params = {};
    status = zeb_client_notifier_init(service, &zeb_nas_os_params, &zeb_nas_notifier_handle);
    if (status != 0) {
        CPE_DM_LOG_ERROR("Initializing notifier with a service object failed with status[%d]", status);
        // Whatever was stored all the same is no notifier that could own the signal.
        nas_release_handle(zeb_nas_notifier_handle);
        zeb_nas_notifier_handle = nullptr;
        return CPE_DM_ERR_FAILURE;
    }
    uint32_t num_services = nas_wait_for_service(service);
    zeb_service_info info_array[NAS_SERVICE_INFO_MAX] = {};
    uint32_t num_entries = std::min(num_services, static_cast<uint32_t>(std::size(info_array)));
    status = zeb_client_get_service_list(service, info_array, &num_entries, &num_services);
    if (status != 0) {
        CPE_DM_LOG_ERROR("Retrieving ZEB NAS service list failed with status[%d]", status);
        return CPE_DM_ERR_FAILURE;
    }
    CPE_DM_LOG_INFO("Retrieved ZEB NAS service list - num_entries[%d], num_services[%d]",
                    static_cast<int32_t>(num_entries), static_cast<int32_t>(num_services));
    status = zeb_client_register_notify_cb(zeb_nas_notifier_handle, cpe_dm_zeb_nas_notify_cb, nullptr);
    if (status != 0) {
        CPE_DM_LOG_ERROR("Registering callback for ZEB NAS service events failed with status[%d]", status);
        return CPE_DM_ERR_FAILURE;
    }
    return cpe_dm_zeb_nas_client_init();
}

int32_t cpe_dm_zeb_nas_init() {
    if (zeb_nas_clnt_handle != nullptr) {
        CPE_DM_LOG_ERROR("ZEB NAS client module already initialized");
        return CPE_DM_SUCCESS;
    }
    const int32_t status = nas_connect();
    if (status != CPE_DM_SUCCESS) {
        nas_release_handle(zeb_nas_notifier_handle);
        nas_release_handle(zeb_nas_clnt_handle);
        if (zeb_nas_notifier_handle != nullptr) {
            zeb_nas_lost_notifier = std::exchange(zeb_nas_notifier_handle, nullptr);
        }
        zeb_nas_clnt_handle = nullptr;
    }
    return status;
}

int32_t cpe_dm_zeb_nas_release() {
    if (zeb_nas_clnt_handle == nullptr) {
        CPE_DM_LOG_ERROR("ZEB NAS client module not yet initialized - cannot be released!");
        return CPE_DM_ERR_FAILURE;
    }
    int32_t status = nas_release_handle(zeb_nas_notifier_handle);
    if (status != 0) {
        CPE_DM_LOG_ERROR("Releasing the ZEB NAS notifier handle failed with status[%d]", status);
        return CPE_DM_ERR_FAILURE;
    }
    status = nas_release_handle(zeb_nas_clnt_handle);
    if (status != 0) {
        CPE_DM_LOG_ERROR("Releasing the ZEB NAS client handle failed with status[%d]", status);
        return CPE_DM_ERR_FAILURE;
    }
    CPE_DM_LOG_INFO("NAS service successfully released!");
    return CPE_DM_SUCCESS;
}

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
    const zeb_nas_intra_cell *cell =
        std::find_if(from.cells, end, [&](const zeb_nas_intra_cell &c) { return c.pci == from.serving_cell_id; });
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
    const int32_t status = nas_check("cell_info", cell_info);
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    auto req = cpe_dm_alloc<zeb_nas_empty_req>();
    auto resp = cpe_dm_alloc<zeb_nas_cell_location_info_resp>();
    if (!req || !resp) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return CPE_DM_ERR_FAILURE;
    }
    const int32_t error = nas_send(ZEB_NAS_GET_CELL_LOCATION_INFO, *req, *resp);
    if (nas_failed(error, resp->header)) {
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
    int32_t status = nas_check("sig_info", sig_info);
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    auto req = cpe_dm_alloc<zeb_nas_empty_req>();
    auto resp = cpe_dm_alloc<zeb_nas_sig_info_resp>();
    if (!req || !resp) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return CPE_DM_ERR_NO_MEMORY;
    }
    const int32_t error = nas_send(ZEB_NAS_GET_SIG_INFO, *req, *resp);
    if (nas_failed(error, resp->header)) {
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

/* One transmit power request; resp is cleared first. */
static int32_t nas_request_tx_rx_info(uint32_t radio_if, zeb_nas_tx_rx_info_req &req, zeb_nas_tx_rx_info_resp &resp) {
    req.radio_if = radio_if;
    resp = {};
    const int32_t error = nas_send(ZEB_NAS_GET_TX_RX_INFO, req, resp);
    if (nas_failed(error, resp.header)) {
        CPE_DM_LOG_ERROR("Retrieving TX/RX power info failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp.header.result), static_cast<int32_t>(resp.header.error));
        return CPE_DM_ERR_FAILURE;
    }
    return CPE_DM_SUCCESS;
}

int32_t cpe_dm_zeb_nas_get_tx_pwr_info(cpe_dm_nas_tx_pwr_info *tx_pwr_info) {
    int32_t status = nas_check("tx_pwr_info", tx_pwr_info);
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
    if (lte_in_service()) {
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
    if (nr5g_in_service()) {
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

/* One CQI request; resp is cleared first. */
static int32_t nas_request_cqi_info(uint32_t technology, zeb_nas_cqi_info_req &req, zeb_nas_cqi_info_resp &resp) {
    req.technology_valid = 1;
    req.technology = technology;
    resp = {};
    const int32_t error = nas_send(ZEB_NAS_GET_CQI_INFO, req, resp);
    if (nas_failed(error, resp.header)) {
        CPE_DM_LOG_ERROR("Retrieving CQI info failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp.header.result), static_cast<int32_t>(resp.header.error));
        return CPE_DM_ERR_FAILURE;
    }
    return CPE_DM_SUCCESS;
}

/* Log the carriers of a technology and copy as many as there is room for. */
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
    int32_t status = nas_check("cqi_info", cqi_info);
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
    // With neither technology in service nothing is asked, and that counts as a failure.
    status = CPE_DM_ERR_FAILURE;
    if (lte_in_service()) {
        status = nas_request_cqi_info(ZEB_NAS_CQI_LTE, *req, *resp);
        if (status != CPE_DM_SUCCESS) {
            return status;
        }
        CPE_DM_LOG_INFO("LTE CQI info - lte_cc_cqi_valid[%u]", resp->lte_cc_cqi_valid);
        if (resp->lte_cc_cqi_valid) {
            nas_copy_lte_cqi(*resp, *cqi_info);
        }
    }
    if (nr5g_in_service()) {
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
    const int32_t error = nas_send(ZEB_NAS_GET_LTE_CELL_LOCK_LIST, req, resp);
    if (nas_failed(error, resp.header)) {
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
    const int32_t error = nas_send(ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, *req, *resp);
    if (nas_failed(error, resp->header)) {
        CPE_DM_LOG_ERROR("Retrieving NR 5G cell lock list failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp->header.result), static_cast<int32_t>(resp->header.error));
        return CPE_DM_ERR_FAILURE;
    }
    CPE_DM_LOG_INFO("NR 5G multi-lock cell list - type_valid[%u], type[%u]", resp->type_valid, resp->type);
    CPE_DM_LOG_INFO("NR 5G multi-lock cell list - cell_identity_valid[%u]", resp->cell_identity_valid);
    CPE_DM_LOG_INFO("NR 5G multi-lock cell list - arfcn_identity_valid[%u]", resp->arfcn_identity_valid);
    if (resp->cell_identity_valid) {
        CPE_DM_LOG_INFO("NR 5G multi-lock cell list - pci[%hu]", resp->pci);
        // The line shows the low 16 bits of the ARFCN only; the record has all of it.
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
    int32_t status = nas_check("cell_lock_list", cell_lock_list);
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
    if (lte_in_service()) {
        status = nas_get_lte_cell_lock_list(*cell_lock_list, *req, *resp);
    }
    if (status == CPE_DM_SUCCESS && nr5g_in_service()) {
        status = nas_get_nr5g_cell_lock_list(*cell_lock_list);
    }
    return status;
}

/* The network status that a service status other than 2, in service, gives; otherwise is kept for those that give
 * none. */
static uint32_t nas_out_of_service_status(uint32_t srv_status, uint32_t otherwise) {
    switch (srv_status) {
    case ZEB_NAS_SRV_STATUS_LIMITED:
        return CPE_DM_REG_LIMITED;
    case ZEB_NAS_SRV_STATUS_LIMITED_REGIONAL:
        return CPE_DM_REG_LIMITED_REG;
    case ZEB_NAS_SRV_STATUS_PWR_SAVE:
        return CPE_DM_REG_POWER_SAVE;
    default:
        return otherwise;
    }
}

/* Logs the service status of both technologies and derives the network status from it. NR 5G in service outranks
 * everything; otherwise what LTE says outranks what NR 5G says. */
static uint32_t nas_derive_network_status(const zeb_nas_sys_info &info) {
    uint32_t status = CPE_DM_REG_NONE;
    if (info.nr5g_srv_status_valid) {
        CPE_DM_LOG_INFO("NR 5G system info indication - srv_status[%d]", static_cast<int32_t>(info.nr5g_srv_status));
        CPE_DM_LOG_INFO("NR 5G system info indication - srv_domain[%d]", static_cast<int32_t>(info.nr5g_srv_domain));
        CPE_DM_LOG_INFO("NR 5G system info indication - srv_capability[%d]",
                        static_cast<int32_t>(info.nr5g_srv_capability));
        if (info.nr5g_srv_status == ZEB_NAS_SRV_STATUS_SRV) {
            return CPE_DM_REG_NR5G;
        }
        status = nas_out_of_service_status(info.nr5g_srv_status, status);
    }
    if (info.lte_srv_status_valid) {
        CPE_DM_LOG_INFO("LTE system info indication - srv_status[%d]", static_cast<int32_t>(info.lte_srv_status));
        CPE_DM_LOG_INFO("LTE system info indication - srv_domain[%d]", static_cast<int32_t>(info.lte_srv_domain));
        CPE_DM_LOG_INFO("LTE system info indication - srv_capability[%d]",
                        static_cast<int32_t>(info.lte_srv_capability));
        CPE_DM_LOG_INFO("LTE system info indication - nr5g_pci_valid[%d], nr5g_pci[%d]", info.nr5g_pci_valid,
                        info.nr5g_pci);
        if (info.lte_srv_status == ZEB_NAS_SRV_STATUS_SRV) {
            return info.nr5g_pci_valid ? CPE_DM_REG_LTE_NR5G : CPE_DM_REG_LTE;
        }
        status = nas_out_of_service_status(info.lte_srv_status, status);
    }
    return status;
}

int32_t cpe_dm_zeb_nas_get_sys_info(cpe_dm_nas_sys_info *sys_info, uint8_t update_network_status) {
    int32_t status = nas_check("sys_info", sys_info);
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    auto req = cpe_dm_alloc<zeb_nas_empty_req>();
    auto resp = cpe_dm_alloc<zeb_nas_sys_info_resp>();
    if (!req || !resp) {
        CPE_DM_LOG_ERROR("Memory allocation failure");
        return CPE_DM_ERR_NO_MEMORY;
    }
    const int32_t error = nas_send(ZEB_NAS_GET_SYS_INFO, *req, *resp);
    if (nas_failed(error, resp->header)) {
        CPE_DM_LOG_ERROR("Retrieving system info failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp->header.result), static_cast<int32_t>(resp->header.error));
        return CPE_DM_ERR_FAILURE;
    }
    const zeb_nas_sys_info &info = resp->info;
    *sys_info = {};
    sys_info->network_status = nas_derive_network_status(info);
    if (update_network_status) {
        network_status = sys_info->network_status;
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
    const int32_t error = nas_send(ZEB_NAS_PERFORM_INCREMENTAL_SCAN, *req, resp);
    if (nas_failed(error, resp.header)) {
        CPE_DM_LOG_ERROR("Performing incremental network scan failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp.header.result), static_cast<int32_t>(resp.header.error));
        return CPE_DM_ERR_FAILURE;
    }
    *(lte_scan_request != 0 ? lte_scan_ongoing : nr5g_scan_ongoing) = 1;
    return CPE_DM_SUCCESS;
}

/* Field by field, as an assigned structure could bring bytes between its fields from the stack into the request. */
static void nas_set_threshold(zeb_nas_threshold &threshold, const cpe_dm_ind_threshold &entry) {
    threshold.valid = entry.valid;
    threshold.delta = entry.delta;
}

/* Sends the thresholds of the table. What the service makes of them is its own affair. */
static int32_t nas_config_sig_info(const cpe_dm_nas_ind_info &ind_info) {
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
    const int32_t error = nas_send(ZEB_NAS_CONFIG_SIG_INFO, *req, *resp);
    if (error != 0) {
        CPE_DM_LOG_ERROR("ZEB NAS signaling information request failed with status[%d]", error);
        return CPE_DM_ERR_FAILURE;
    }
    return CPE_DM_SUCCESS;
}

int32_t cpe_dm_zeb_nas_register_ind(const cpe_dm_nas_ind_info *ind_info) {
    int32_t status = nas_check("ind_info", ind_info);
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    auto req = cpe_dm_alloc<zeb_nas_indication_register_req>();
    auto resp = cpe_dm_alloc<zeb_nas_empty_resp>();
    if (!req || !resp) {
        CPE_DM_LOG_ERROR("Memory allocation failed");
        return CPE_DM_ERR_NO_MEMORY;
    }
    req->sig_info_valid = 1;
    req->sig_info = ind_info->lte_rsrp.valid || ind_info->lte_rsrq.valid || ind_info->lte_sinr.valid ||
                    ind_info->nr5g_rsrp.valid || ind_info->nr5g_rsrq.valid || ind_info->nr5g_sinr.valid;
    const int32_t error = nas_register_indications(*req, *resp);
    if (nas_failed(error, resp->header)) {
        CPE_DM_LOG_ERROR("ZEB NAS indication register request failed - error[%d], response[%d/%d]", error,
                         static_cast<int32_t>(resp->header.result), static_cast<int32_t>(resp->header.error));
        return CPE_DM_ERR_FAILURE;
    }
    return nas_config_sig_info(*ind_info);
}

/* An indication as it came from the framework. */
struct nas_indication {
    zeb_client_handle client;
    uint32_t msg_id;
    const void *buf;
    uint32_t buf_len;
};

/* Decodes an indication; returns the decoder's result. */
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
    const uint32_t status = nas_derive_network_status(*info);
    const uint32_t previous = network_status;
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
    network_status = status;
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

/* Logs the PLMNs of neighbour number index of a technology. */
static void nas_log_plmns(const char *technology, int32_t index, std::span<const zeb_nas_plmn> plmns, uint32_t len) {
    for (const zeb_nas_plmn &plmn : plmns.first(cpe_dm_bounded(len, plmns.size()))) {
        CPE_DM_LOG_INFO("%s network scan indication - neighbor #%d plmn_mcc[%hu] plmn_mnc[%hu], "
                        "plmn_mnc_includes_pcs_digit[%u]",
                        technology, index, plmn.plmn_mcc, plmn.plmn_mnc, plmn.plmn_mnc_includes_pcs_digit);
    }
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
        nas_log_plmns("LTE", index, nbr.plmn, nbr.plmn_len);
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
        nas_log_plmns("NR 5G", index, nbr.plmn, nbr.plmn_len);
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
