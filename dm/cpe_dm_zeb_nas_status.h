/* The network status: the registration status that the module keeps. By this status the queries choose between LTE and
 * NR 5G. */
#ifndef CPE_DM_ZEB_NAS_STATUS_H
#define CPE_DM_ZEB_NAS_STATUS_H

#include "zeb_nas_v01.h"

#include <cstdint>

/* Return and store the module's network status, a cpe_dm_reg_status. It is CPE_DM_REG_NONE until it is stored for the
 * first time. It is stored by the system information query of cpe_dm_init, and by the system information indication on
 * the framework's thread. No lock orders the two; each store replaces the previous status. Callable from any thread. */
uint32_t cpe_dm_zeb_nas_network_status();
void cpe_dm_zeb_nas_store_network_status(uint32_t status);

/* Whether LTE, or NR 5G, is in service according to the network status stored last. Both can be in service at once. */
bool cpe_dm_zeb_nas_lte_in_service();
bool cpe_dm_zeb_nas_nr5g_in_service();

/* Derives the network status from `info` and returns it, without storing it. Logs the values of each technology that
 * was considered. */
uint32_t cpe_dm_zeb_nas_derive_status(const zeb_nas_sys_info &info);

#endif
