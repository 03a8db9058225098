/* Helpers for all requests to the NAS service: the entry check, the sending of a request, and the test whether a
 * request failed. */
#ifndef CPE_DM_ZEB_NAS_REQUEST_H
#define CPE_DM_ZEB_NAS_REQUEST_H

#include "cpe_dm_zeb_nas.h"

#include <cstdint>

/* Returns the handle of the connected client; null while there is no connection. */
zeb_client_handle cpe_dm_zeb_nas_client();

/* The check at the start of each function that takes a record. Returns
 *   CPE_DM_SUCCESS              the function may go on;
 *   CPE_DM_ERR_INVALID_PARAM    `record` is null; not logged here;
 *   CPE_DM_ERR_NOT_INITIALIZED  there is no connection; logged. */
int32_t cpe_dm_zeb_nas_check(const void *record);

/* Sends a request and waits for its response. Returns the status of the transport; whether the service accepted the
 * request stands in the header of the response. */
template <typename Req, typename Resp> int32_t cpe_dm_zeb_nas_send(uint32_t msg_id, const Req &req, Resp &resp) {
    return zeb_client_send_msg_sync(cpe_dm_zeb_nas_client(), msg_id, &req, sizeof(Req), &resp, sizeof(Resp),
                                    CPE_DM_NAS_TIMEOUT_MS);
}

/* Whether a request failed: the transport failed, or the header of the response says that the service refused the
 * request. */
inline bool cpe_dm_zeb_nas_failed(int32_t transport_status, const zeb_nas_resp_header &header) {
    return transport_status != 0 || header.result != 0;
}

/* Switches on the system information indication in `req`, and sends `req` to register for indications. The caller fills
 * in the fields of `req` for signal information, or leaves these fields zero. Returns the status of the transport. */
int32_t cpe_dm_zeb_nas_send_registration(zeb_nas_indication_register_req &req, zeb_nas_empty_resp &resp);

#endif
