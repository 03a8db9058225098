#include "cpe_dm_zeb_nas_status.h"

#include "cpe_dm.h"
#include "cpe_dm_log.h"
#include "cpe_dm_zeb_nas_derive.h"

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

uint32_t cpe_dm_zeb_nas_derive_status(const zeb_nas_sys_info &info) {
    const uint32_t status = cpe_dm_zeb_nas_derive(info);
    if (info.nr5g_srv_status_valid) {
        CPE_DM_LOG_INFO("NR 5G system info indication - srv_status[%d]", static_cast<int32_t>(info.nr5g_srv_status));
        CPE_DM_LOG_INFO("NR 5G system info indication - srv_domain[%d]", static_cast<int32_t>(info.nr5g_srv_domain));
        CPE_DM_LOG_INFO("NR 5G system info indication - srv_capability[%d]",
                        static_cast<int32_t>(info.nr5g_srv_capability));
    }
    // When the message gives NR 5G as in service, LTE does not influence the status, and its values are not logged.
    if (info.lte_srv_status_valid && status != CPE_DM_REG_NR5G) {
        CPE_DM_LOG_INFO("LTE system info indication - srv_status[%d]", static_cast<int32_t>(info.lte_srv_status));
        CPE_DM_LOG_INFO("LTE system info indication - srv_domain[%d]", static_cast<int32_t>(info.lte_srv_domain));
        CPE_DM_LOG_INFO("LTE system info indication - srv_capability[%d]",
                        static_cast<int32_t>(info.lte_srv_capability));
        CPE_DM_LOG_INFO("LTE system info indication - nr5g_pci_valid[%d], nr5g_pci[%d]", info.nr5g_pci_valid,
                        info.nr5g_pci);
    }
    return status;
}
