#include "cpe_dm_zeb_nas_derive.h"

#include "cpe_dm.h"

/* Returns the registration status that follows from the service status of a technology that is not in service. Returns
 * `undecided` when the service status is none of the three below. */
static uint32_t nas_out_of_service_status(uint32_t srv_status, uint32_t undecided) {
    switch (srv_status) {
    case ZEB_NAS_SRV_STATUS_LIMITED:
        return CPE_DM_REG_LIMITED;
    case ZEB_NAS_SRV_STATUS_LIMITED_REGIONAL:
        return CPE_DM_REG_LIMITED_REG;
    case ZEB_NAS_SRV_STATUS_PWR_SAVE:
        return CPE_DM_REG_POWER_SAVE;
    default:
        return undecided;
    }
}

uint32_t cpe_dm_zeb_nas_derive(const zeb_nas_sys_info &info) {
    uint32_t status = CPE_DM_REG_NONE;
    if (info.nr5g_srv_status_valid) {
        if (info.nr5g_srv_status == ZEB_NAS_SRV_STATUS_SRV) {
            return CPE_DM_REG_NR5G;
        }
        status = nas_out_of_service_status(info.nr5g_srv_status, status);
    }
    if (info.lte_srv_status_valid) {
        if (info.lte_srv_status == ZEB_NAS_SRV_STATUS_SRV) {
            return info.nr5g_pci_valid ? CPE_DM_REG_LTE_NR5G : CPE_DM_REG_LTE;
        }
        status = nas_out_of_service_status(info.lte_srv_status, status);
    }
    return status;
}
