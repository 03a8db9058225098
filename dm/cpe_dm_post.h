/* The one call that goes up: from the NAS client to the events of the interface. */
#ifndef CPE_DM_POST_H
#define CPE_DM_POST_H

#include <cstdint>

/* Hands an indication to the command thread; called on the framework's thread. zeb_msg_data was allocated with calloc.
 * Depending on the message ID it is a uint32_t registration status, a zeb_nas_sig_info or a zeb_nas_scan_result_ind.
 *
 * Ownership: zeb_msg_data passes to the command, and is released when the call fails. The one exception is
 * CPE_DM_ERR_INVALID_PARAM (no message ID or no data): there zeb_msg_data stays the caller's.
 *
 * CPE_DM_ERR_NO_MEMORY: no memory for the command. CPE_DM_ERR_FAILURE: no memory for the command's data, or the module
 * is not initialised, or the queue refused the command. */
int32_t cpe_dm_post_nas_msg(uint32_t zeb_msg_id, void *zeb_msg_data);

#endif
