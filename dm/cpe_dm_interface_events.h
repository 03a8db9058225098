/* Events: the modem's indications on their way through the command queue to the user. */
#ifndef CPE_DM_INTERFACE_EVENTS_H
#define CPE_DM_INTERFACE_EVENTS_H

#include "cpe_dm_cmdq.h"

#include <cstdint>

/* Data of the commands that carry an indication of the modem to the command thread. */
struct zeb_async_data {
    uint32_t zeb_msg_id;
    void *zeb_msg_data; /* owned by the command; see cpe_dm_post_nas_msg */
};

/* The functions execute_f and free_f of a command that carries an indication. `data` is the command's
 * zeb_async_data. */
void cpe_dm_process_nas_msg(cpe_dm_cmd *cmd, void *data);
void cpe_dm_free_nas_msg(cpe_dm_cmd *cmd, void *data);

#endif
