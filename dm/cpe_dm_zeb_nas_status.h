/* The network status: a registration status, by which queries choose between LTE and NR 5G. */
#ifndef CPE_DM_ZEB_NAS_STATUS_H
#define CPE_DM_ZEB_NAS_STATUS_H

#include "zeb_nas_v01.h"

#include <cstdint>

/* The module's network status, a cpe_dm_reg_status; CPE_DM_REG_NONE until it is first stored. Two places store it: the
 * system information query of cpe_dm_init, and the system information indication on the framework's thread. The last
 * store wins. Callable from any thread. */
uint32_t cpe_dm_zeb_nas_network_status();
void cpe_dm_zeb_nas_store_network_status(uint32_t status);

/* Whether the technology is in service according to the present network status. */
bool cpe_dm_zeb_nas_lte_in_service();
bool cpe_dm_zeb_nas_nr5g_in_service();

/* Logs the service status of both technologies and returns the network status that follows from them. If NR 5G is in
 * service, this decides. Otherwise a status that follows from LTE outranks a status that follows from NR 5G. */
uint32_t cpe_dm_zeb_nas_derive_status(const zeb_nas_sys_info &info);

#endif
