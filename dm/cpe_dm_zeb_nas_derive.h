/* Derives the registration status from a system information message. The module and the program zeb_recording share
 * this rule. */
#ifndef CPE_DM_ZEB_NAS_DERIVE_H
#define CPE_DM_ZEB_NAS_DERIVE_H

#include "zeb_nas_v01.h"

#include <cstdint>

/* Returns a cpe_dm_reg_status. If NR 5G is in service, returns CPE_DM_REG_NR5G whatever the service status of LTE is.
 * Otherwise returns the status that follows from the service status of LTE. If no status follows from LTE, returns the
 * status that follows from the service status of NR 5G. If no status follows from NR 5G either, returns
 * CPE_DM_REG_NONE. Logs nothing and changes no state. */
uint32_t cpe_dm_zeb_nas_derive(const zeb_nas_sys_info &info);

#endif
