/* The client's callback. */
#ifndef CPE_DM_CLIENT_CALLBACK_H
#define CPE_DM_CLIENT_CALLBACK_H

#include "cpe_dm.h"

/* Prints the event, and releases the record and its payload. A cpe_dm_user_cb: it runs on the module's command thread;
 * hndl and user_data are not used. */
void cpe_dm_client_callback(cpe_dm_hndl hndl, cpe_dm_info *info, void *user_data);

#endif
