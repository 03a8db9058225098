/* A plug-in with the module linked into it. plugin_register is the only function that the plug-in exports. */
#include "cpe_dm.h"

#include <stdlib.h>

static void on_event(cpe_dm_hndl hndl, cpe_dm_info *info, void *user_data) {
    (void)hndl;
    (void)user_data;
    free(info);
}

int plugin_register(void) {
    static cpe_dm_hndl hndl;
    return cpe_dm_init(&hndl, NULL, on_event);
}
