/* The callback that the client registers with the module. */
#ifndef CPE_DM_CLIENT_CALLBACK_H
#define CPE_DM_CLIENT_CALLBACK_H

#include "cpe_dm.h"

/* Prints the event in `info`, and frees `info` and the neighbour data to which it may point. The module calls this
 * function, a cpe_dm_user_cb, on its command thread. `hndl` and `user_data` are not used. */
void cpe_dm_client_callback(cpe_dm_hndl hndl, cpe_dm_info *info, void *user_data);

#endif
