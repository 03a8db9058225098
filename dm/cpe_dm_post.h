/* The one call that goes up: from the modem's client to the events of the interface. */
#ifndef CPE_DM_POST_H
#define CPE_DM_POST_H

#include <cstdint>

/* Hands an indication to the command thread; called on the framework's thread. zeb_msg_data, from calloc, is by message
 * ID a u32 registration status, a zeb_nas_sig_info or a zeb_nas_scan_result_ind. It belongs to this call, unless it
 * returns CPE_DM_ERR_INVALID_PARAM: it travels with the command, and on failure it has been released.
 * CPE_DM_ERR_NO_MEMORY: no memory for the command; CPE_DM_ERR_FAILURE: no memory for its data, the module is not
 * initialised, or the queue refused. */
int32_t cpe_dm_post_nas_msg(uint32_t zeb_msg_id, void *zeb_msg_data);

#endif
