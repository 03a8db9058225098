/* The processing of the modem's indications on the command thread, up to the call of the user's callback. */
#ifndef CPE_DM_INTERFACE_EVENTS_H
#define CPE_DM_INTERFACE_EVENTS_H

#include "cpe_dm_cmdq.h"

#include <cstdint>

/* The data of a command that carries an indication of the modem to the command thread. */
struct zeb_async_data {
    uint32_t zeb_msg_id;
    void *zeb_msg_data; /* owned by the command; see cpe_dm_post_nas_msg for its type */
};

/* The functions of a command that carries an indication; `data` is the command's zeb_async_data. cpe_dm_process_nas_msg
 * is the execute_f: it calls the user's callback if the user has asked for the indication. cpe_dm_free_nas_msg is the
 * free_f: it releases the command, its data and the message. */
void cpe_dm_process_nas_msg(cpe_dm_cmd *cmd, void *data);
void cpe_dm_free_nas_msg(cpe_dm_cmd *cmd, void *data);

#endif
