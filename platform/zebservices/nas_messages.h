/* The messages of the network access service. */
#ifndef NAS_MESSAGES_H
#define NAS_MESSAGES_H

#include "zeb_service.h"

#pragma GCC visibility push(default)
#include "zeb_nas_v01.h"
#pragma GCC visibility pop

inline constexpr zeb_message NAS_MESSAGES[] = {
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

#endif
