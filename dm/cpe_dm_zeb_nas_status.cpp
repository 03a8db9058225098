#include "cpe_dm_zeb_nas_status.h"

#include "cpe_dm.h"
#include "cpe_dm_log.h"

#include <atomic>

static std::atomic<uint32_t> network_status{CPE_DM_REG_NONE};

uint32_t cpe_dm_zeb_nas_network_status() {
    return network_status;
}

void cpe_dm_zeb_nas_store_network_status(uint32_t status) {
    network_status = status;
}

bool cpe_dm_zeb_nas_lte_in_service() {
    const uint32_t status = network_status;
    return status == CPE_DM_REG_LTE || status == CPE_DM_REG_LTE_NR5G;
}

bool cpe_dm_zeb_nas_nr5g_in_service() {
    const uint32_t status = network_status;
    return status == CPE_DM_REG_LTE_NR5G || status == CPE_DM_REG_NR5G;
}

/* The network status that follows from the service status of a technology that is not in service; `undecided` when none
 * follows. */
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

uint32_t cpe_dm_zeb_nas_derive_status(const zeb_nas_sys_info &info) {
    uint32_t status = CPE_DM_REG_NONE;
    if (info.nr5g_srv_status_valid) {
        CPE_DM_LOG_INFO("NR 5G system info indication - srv_status[%d]", static_cast<int32_t>(info.nr5g_srv_status));
        CPE_DM_LOG_INFO("NR 5G system info indication - srv_domain[%d]", static_cast<int32_t>(info.nr5g_srv_domain));
        CPE_DM_LOG_INFO("NR 5G system info indication - srv_capability[%d]",
                        static_cast<int32_t>(info.nr5g_srv_capability));
        if (info.nr5g_srv_status == ZEB_NAS_SRV_STATUS_SRV) {
            return CPE_DM_REG_NR5G;
        }
        status = nas_out_of_service_status(info.nr5g_srv_status, status);
    }
    if (info.lte_srv_status_valid) {
        CPE_DM_LOG_INFO("LTE system info indication - srv_status[%d]", static_cast<int32_t>(info.lte_srv_status));
        CPE_DM_LOG_INFO("LTE system info indication - srv_domain[%d]", static_cast<int32_t>(info.lte_srv_domain));
        CPE_DM_LOG_INFO("LTE system info indication - srv_capability[%d]",
                        static_cast<int32_t>(info.lte_srv_capability));
        CPE_DM_LOG_INFO("LTE system info indication - nr5g_pci_valid[%d], nr5g_pci[%d]", info.nr5g_pci_valid,
                        info.nr5g_pci);
        if (info.lte_srv_status == ZEB_NAS_SRV_STATUS_SRV) {
            return info.nr5g_pci_valid ? CPE_DM_REG_LTE_NR5G : CPE_DM_REG_LTE;
        }
        status = nas_out_of_service_status(info.lte_srv_status, status);
    }
    return status;
}
