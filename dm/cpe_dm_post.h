/* The one function of the interface that the NAS client calls; all other calls go from the interface to the NAS client.
 * The function has a header of its own, so that the NAS client includes no header of the interface. */
#ifndef CPE_DM_POST_H
#define CPE_DM_POST_H

#include <cstdint>

/* Hands a decoded indication to the command thread; called on the framework's thread. zeb_msg_data was allocated with
 * calloc. Depending on zeb_msg_id it is a uint32_t registration status, a zeb_nas_sig_info or a
 * zeb_nas_scan_result_ind.
 *
 * Ownership: zeb_msg_data passes to the queued command. When the call fails, zeb_msg_data is released, except after
 * CPE_DM_ERR_INVALID_PARAM (zeb_msg_id is 0 or zeb_msg_data is null): in this case zeb_msg_data stays the caller's.
 *
 * CPE_DM_ERR_NO_MEMORY: no memory for the command. CPE_DM_ERR_FAILURE: no memory for the command's data, or the module
 * is not initialised, or the queue refused the command. */
int32_t cpe_dm_post_nas_msg(uint32_t zeb_msg_id, void *zeb_msg_data);

#endif
