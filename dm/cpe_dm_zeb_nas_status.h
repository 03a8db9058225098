/* The network status: the registration status that the module keeps. The queries use this status to choose between
 * LTE and NR 5G. */
#ifndef CPE_DM_ZEB_NAS_STATUS_H
#define CPE_DM_ZEB_NAS_STATUS_H

#include "zeb_nas_v01.h"

#include <cstdint>

/* The first function returns the module's network status, a cpe_dm_reg_status, and the second function stores a new
 * status. The status is CPE_DM_REG_NONE until a status is stored for the first time. The thread that calls cpe_dm_init
 * stores the status from the system information query. When a system information indication brings a new status, the
 * framework's thread stores this status. The order of these stores is not defined, and the last store counts. Both
 * functions may be called from any thread. */
uint32_t cpe_dm_zeb_nas_network_status();
void cpe_dm_zeb_nas_store_network_status(uint32_t status);

/* Whether LTE, or NR 5G, is in service according to the network status stored last. Both can be in service at once. */
bool cpe_dm_zeb_nas_lte_in_service();
bool cpe_dm_zeb_nas_nr5g_in_service();

/* Derives the network status from `info` and returns it, without storing it. Logs the values of NR 5G in `info`. Logs
 * the values of LTE too, unless the derived status is CPE_DM_REG_NR5G. */
uint32_t cpe_dm_zeb_nas_derive_status(const zeb_nas_sys_info &info);

#endif
