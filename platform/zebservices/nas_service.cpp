// The network access service as an object: its messages and the modem behind it.
#include "modem.h"

namespace {

constexpr zeb_message MESSAGES[] = {
    {ZEB_MESSAGE_REQUEST, ZEB_NAS_INDICATION_REGISTER, sizeof(zeb_nas_indication_register_req)},
    {ZEB_MESSAGE_RESPONSE, ZEB_NAS_INDICATION_REGISTER, sizeof(zeb_nas_empty_resp)},
    {ZEB_MESSAGE_REQUEST, ZEB_NAS_GET_CELL_LOCATION_INFO, sizeof(zeb_nas_empty_req)},
    {ZEB_MESSAGE_RESPONSE, ZEB_NAS_GET_CELL_LOCATION_INFO, sizeof(zeb_nas_cell_location_info_resp)},
    {ZEB_MESSAGE_REQUEST, ZEB_NAS_GET_SYS_INFO, sizeof(zeb_nas_empty_req)},
    {ZEB_MESSAGE_RESPONSE, ZEB_NAS_GET_SYS_INFO, sizeof(zeb_nas_sys_info_resp)},
    {ZEB_MESSAGE_INDICATION, ZEB_NAS_SYS_INFO_IND, sizeof(zeb_nas_sys_info)},
    {ZEB_MESSAGE_REQUEST, ZEB_NAS_GET_SIG_INFO, sizeof(zeb_nas_empty_req)},
    {ZEB_MESSAGE_RESPONSE, ZEB_NAS_GET_SIG_INFO, sizeof(zeb_nas_sig_info_resp)},
    {ZEB_MESSAGE_INDICATION, ZEB_NAS_SIG_INFO_IND, sizeof(zeb_nas_sig_info)},
    {ZEB_MESSAGE_REQUEST, ZEB_NAS_GET_TX_RX_INFO, sizeof(zeb_nas_tx_rx_info_req)},
    {ZEB_MESSAGE_RESPONSE, ZEB_NAS_GET_TX_RX_INFO, sizeof(zeb_nas_tx_rx_info_resp)},
    {ZEB_MESSAGE_REQUEST, ZEB_NAS_CONFIG_SIG_INFO, sizeof(zeb_nas_config_sig_info_req)},
    {ZEB_MESSAGE_RESPONSE, ZEB_NAS_CONFIG_SIG_INFO, sizeof(zeb_nas_empty_resp)},
    {ZEB_MESSAGE_REQUEST, ZEB_NAS_PERFORM_INCREMENTAL_SCAN, sizeof(zeb_nas_incremental_scan_req)},
    {ZEB_MESSAGE_RESPONSE, ZEB_NAS_PERFORM_INCREMENTAL_SCAN, sizeof(zeb_nas_empty_resp)},
    {ZEB_MESSAGE_INDICATION, ZEB_NAS_SCAN_RESULT_IND, sizeof(zeb_nas_scan_result_ind)},
    {ZEB_MESSAGE_REQUEST, ZEB_NAS_GET_LTE_CELL_LOCK_LIST, sizeof(zeb_nas_empty_req)},
    {ZEB_MESSAGE_RESPONSE, ZEB_NAS_GET_LTE_CELL_LOCK_LIST, sizeof(zeb_nas_lte_cell_lock_list_resp)},
    {ZEB_MESSAGE_REQUEST, ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, sizeof(zeb_nas_empty_req)},
    {ZEB_MESSAGE_RESPONSE, ZEB_NAS_GET_NR5G_CELL_LOCK_LIST, sizeof(zeb_nas_nr5g_cell_lock_list_resp)},
    {ZEB_MESSAGE_REQUEST, ZEB_NAS_GET_CQI_INFO, sizeof(zeb_nas_cqi_info_req)},
    {ZEB_MESSAGE_RESPONSE, ZEB_NAS_GET_CQI_INFO, sizeof(zeb_nas_cqi_info_resp)},
};

constinit const zeb_service NAS_SERVICE = {
    .magic = ZEB_SERVICE_MAGIC,
    .service_id = 3,
    .instance = 0,
    .messages = MESSAGES,
    .wait_present = modem_wait_present,
    .attach = modem_attach,
    .detach = modem_detach,
    .request = modem_request,
};

} // namespace

// The modem is switched on here, so that a bad scenario is reported before anyone waits for the service.
zeb_service_object nas_get_service_object_internal_v01(int32_t idl_major_version, int32_t idl_minor_version,
                                                       int32_t library_version) {
    if (idl_major_version != 1 || idl_minor_version != 342 || library_version != 6) {
        return nullptr;
    }
    try {
        the_modem();
    } catch (...) {
        return nullptr;
    }
    return &NAS_SERVICE;
}
