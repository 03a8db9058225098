/* The request pattern that all operations on the NAS service share, and the client on which they send. */
#ifndef CPE_DM_ZEB_NAS_REQUEST_H
#define CPE_DM_ZEB_NAS_REQUEST_H

#include "cpe_dm_zeb_nas.h"

#include <cstdint>

/* The connected client; null while there is no connection. */
zeb_client_handle cpe_dm_zeb_nas_client();

/* The entry check of the operations that take a record. Returns
 *   CPE_DM_SUCCESS              the operation may go on;
 *   CPE_DM_ERR_INVALID_PARAM    record is null; not logged here;
 *   CPE_DM_ERR_NOT_INITIALIZED  there is no connection; logged. */
int32_t cpe_dm_zeb_nas_check(const void *record);

/* Sends a request and waits for its response; returns the transport status. */
template <typename Req, typename Resp> int32_t cpe_dm_zeb_nas_send(uint32_t msg_id, const Req &req, Resp &resp) {
    return zeb_client_send_msg_sync(cpe_dm_zeb_nas_client(), msg_id, &req, sizeof(Req), &resp, sizeof(Resp),
                                    CPE_DM_NAS_TIMEOUT_MS);
}

/* Whether a request failed: in transport, or by what the service answered. */
inline bool cpe_dm_zeb_nas_failed(int32_t transport_status, const zeb_nas_resp_header &header) {
    return transport_status != 0 || header.result != 0;
}

/* Sends an indication registration with system information switched on. The caller has filled in the fields for signal
 * information, or left them zero. Returns the transport status. */
int32_t cpe_dm_zeb_nas_send_registration(zeb_nas_indication_register_req &req, zeb_nas_empty_resp &resp);

#endif
