/* The registration status that system information stands for. The module and zeb_recording share the rule. */
#ifndef CPE_DM_ZEB_NAS_DERIVE_H
#define CPE_DM_ZEB_NAS_DERIVE_H

#include "zeb_nas_v01.h"

#include <cstdint>

/* The status, a cpe_dm_reg_status. NR 5G in service outranks everything. Otherwise a status that follows from LTE
 * outranks a status that follows from NR 5G. Logs nothing, and keeps nothing. */
uint32_t cpe_dm_zeb_nas_derive(const zeb_nas_sys_info &info);

#endif
