#include "cpe_dm_zeb_nas_request.h"

#include "cpe_dm_log.h"

#include <cstddef>

/* Checks at compile time that a structure of the platform's headers has the size that the module was written for. When
 * the sizes differ, the compiler's error shows the template arguments: the structure's name, its size and the expected
 * size. */
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

int32_t cpe_dm_zeb_nas_check(const void *record) {
    if (record == nullptr) {
        return CPE_DM_ERR_INVALID_PARAM;
    }
    const zeb_client_handle client = cpe_dm_zeb_nas_client();
    if (client == nullptr) {
        CPE_DM_LOG_ERROR("ZEB NAS module not initialized - zeb_nas_clnt_handle[%p]", static_cast<void *>(client));
        return CPE_DM_ERR_NOT_INITIALIZED;
    }
    return CPE_DM_SUCCESS;
}

int32_t cpe_dm_zeb_nas_send_registration(zeb_nas_indication_register_req &req, zeb_nas_empty_resp &resp) {
    req.sys_info_valid = 1;
    req.sys_info = 1;
    return cpe_dm_zeb_nas_send(ZEB_NAS_INDICATION_REGISTER, req, resp);
}
