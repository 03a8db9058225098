/* The network status: the registration status by which queries choose between LTE and NR 5G. */
#ifndef CPE_DM_ZEB_NAS_STATUS_H
#define CPE_DM_ZEB_NAS_STATUS_H

#include "zeb_nas_v01.h"

#include <cstdint>

/* The module's network status, a cpe_dm_reg_status; CPE_DM_REG_NONE until it is first stored. It is stored by the
 * system information query of cpe_dm_init and, on the framework's thread, by the system information indication; the
 * last store wins. Callable from any thread. */
uint32_t cpe_dm_zeb_nas_network_status();
void cpe_dm_zeb_nas_store_network_status(uint32_t status);

/* What the network status says of a technology at this moment. */
bool cpe_dm_zeb_nas_lte_in_service();
bool cpe_dm_zeb_nas_nr5g_in_service();

/* Logs the service status of both technologies and returns the network status that follows from it. NR 5G in service
 * outranks everything; otherwise what LTE says outranks what NR 5G says. */
uint32_t cpe_dm_zeb_nas_derive_status(const zeb_nas_sys_info &info);

#endif
