#include "cpe_dm_interface.h"

#include "cpe_dm_log.h"
#include "cpe_dm_zeb_nas.h"

#include <algorithm>
#include <iterator>

/* The indications in the order in which cpe_dm_get_ind_list gives them. */
static const uint32_t list_order[] = {
    CPE_DM_IND_REG_STATUS, CPE_DM_IND_LTE_RSRP,  CPE_DM_IND_LTE_RSRQ,  CPE_DM_IND_LTE_SINR,
    CPE_DM_IND_NR5G_RSRP,  CPE_DM_IND_NR5G_RSRQ, CPE_DM_IND_NR5G_SINR,
};
static_assert(std::size(list_order) == CPE_DM_IND_CNT - 1, "every indication is listed");

/* The table entry of an indication that has a threshold; null for any other ID. */
static cpe_dm_ind_threshold *find_entry(cpe_dm_nas_ind_info &ind_info, uint32_t id) {
    static_assert(CPE_DM_IND_CNT == 8, "a new indication has an entry here");
    switch (id) {
    case CPE_DM_IND_LTE_RSRP:
        return &ind_info.lte_rsrp;
    case CPE_DM_IND_NR5G_RSRP:
        return &ind_info.nr5g_rsrp;
    case CPE_DM_IND_LTE_RSRQ:
        return &ind_info.lte_rsrq;
    case CPE_DM_IND_NR5G_RSRQ:
        return &ind_info.nr5g_rsrq;
    case CPE_DM_IND_LTE_SINR:
        return &ind_info.lte_sinr;
    case CPE_DM_IND_NR5G_SINR:
        return &ind_info.nr5g_sinr;
    default:
        return nullptr;
    }
}

/* Fills `ids` with the IDs of the indications that the user has set, in the order of list_order. Returns the number of
 * these IDs. */
static uint32_t list_set(uint32_t (&ids)[CPE_DM_IND_CNT]) {
    cpe_dm_nas_ind_info &ind_info = cpe_dm_state.ind_info;
    uint32_t count = 0;
    for (uint32_t id : list_order) {
        const cpe_dm_ind_threshold *entry = find_entry(ind_info, id);
        if (entry != nullptr ? entry->valid : ind_info.reg_status) {
            ids[count++] = id;
        }
    }
    return count;
}

/* Registers the indications of `candidate` with the modem. If the registration succeeds, `candidate` becomes the
 * module's indication table. */
static int32_t commit(const cpe_dm_nas_ind_info &candidate) {
    const int32_t status = cpe_dm_zeb_nas_register_ind(&candidate);
    if (status == CPE_DM_SUCCESS) {
        cpe_dm_state.ind_info = candidate;
    }
    return status;
}

int32_t cpe_dm_set_ind_info(cpe_dm_hndl hndl, const cpe_dm_info *dm_ind_info) {
    cpe_dm_guard guard;
    const int32_t status =
        cpe_dm_enter(guard, __func__, hndl, dm_ind_info != nullptr && dm_ind_info->info_type == CPE_DM_INFO_TYPE_IND);
    if (status == CPE_DM_ERR_INVALID_PARAM) {
        CPE_DM_LOG_ERROR("Invalid params - hndl[%p], dm_ind_info[%p]", hndl, static_cast<const void *>(dm_ind_info));
    }
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    cpe_dm_nas_ind_info candidate = cpe_dm_state.ind_info;
    if (dm_ind_info->id == CPE_DM_IND_REG_STATUS) {
        candidate.reg_status = 1;
        return commit(candidate);
    }
    cpe_dm_ind_threshold *entry = find_entry(candidate, dm_ind_info->id);
    if (entry == nullptr) {
        CPE_DM_LOG_ERROR("Setting diagnostic indication information for metric[%u] - not supported!!", dm_ind_info->id);
        return CPE_DM_ERR_NOT_SUPPORTED;
    }
    if (dm_ind_info->value_type != CPE_DM_VALUE_INT64 || dm_ind_info->value.i64_val < 1) {
        return CPE_DM_ERR_INVALID_PARAM;
    }
    *entry = {1, static_cast<uint16_t>(dm_ind_info->value.i64_val), 0};
    return commit(candidate);
}

int32_t cpe_dm_get_ind_cnt(cpe_dm_hndl hndl, uint32_t *dm_ind_cnt) {
    cpe_dm_guard guard;
    const int32_t status = cpe_dm_enter(guard, __func__, hndl, dm_ind_cnt != nullptr);
    if (status == CPE_DM_ERR_INVALID_PARAM) {
        CPE_DM_LOG_ERROR("Invalid params - hndl[%p], dm_ind_cnt[%p]", hndl, static_cast<void *>(dm_ind_cnt));
    }
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    uint32_t ids[CPE_DM_IND_CNT];
    *dm_ind_cnt = list_set(ids);
    return CPE_DM_SUCCESS;
}

int32_t cpe_dm_get_ind_list(cpe_dm_hndl hndl, uint32_t *dm_ind_list, uint32_t dm_ind_list_cnt) {
    uint32_t ids[CPE_DM_IND_CNT];
    uint32_t count = 0;
    const bool list_valid = dm_ind_list != nullptr && dm_ind_list_cnt != 0;
    // A wrong handle and a wrong list are logged with different texts. So, as a rule, cpe_dm_enter tests only the
    // handle, and this function tests the list after cpe_dm_enter has succeeded. In a child of fork without a
    // registration of its own, cpe_dm_enter always fails, so this function would never test the list. In such a child,
    // cpe_dm_enter tests the list too, unless the handle is null: then the text about the handle is logged.
    const bool list_judged = cpe_dm_in_child() && hndl != nullptr;
    cpe_dm_guard guard;
    const int32_t status = cpe_dm_enter(guard, __func__, hndl, list_valid || !list_judged);
    if (status == CPE_DM_ERR_INVALID_PARAM && !list_judged) {
        CPE_DM_LOG_ERROR("Invalid params - hndl[%p], dm_ind_cnt[%p]", hndl, static_cast<void *>(&count));
        return status;
    }
    if (status == CPE_DM_ERR_INVALID_PARAM || (status == CPE_DM_SUCCESS && !list_valid)) {
        CPE_DM_LOG_ERROR("Invalid params - hndl[%p], dm_ind_list[%p], dm_ind_list_cnt[%u]", hndl,
                         static_cast<void *>(dm_ind_list), dm_ind_list_cnt);
        return CPE_DM_ERR_INVALID_PARAM;
    }
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    count = list_set(ids);
    if (count > dm_ind_list_cnt) {
        CPE_DM_LOG_ERROR("Indication list count [%u] passed can't store the entire indication list [%u]",
                         dm_ind_list_cnt, count);
        return CPE_DM_ERR_LIST_TOO_SMALL;
    }
    std::fill_n(dm_ind_list, dm_ind_list_cnt, CPE_DM_IND_INVALID);
    std::copy_n(ids, count, dm_ind_list);
    return CPE_DM_SUCCESS;
}

int32_t cpe_dm_clr_ind_list(cpe_dm_hndl hndl, const int32_t *dm_clr_ind_list, uint32_t dm_clr_ind_list_cnt) {
    cpe_dm_guard guard;
    const int32_t status = cpe_dm_enter(guard, __func__, hndl, dm_clr_ind_list != nullptr && dm_clr_ind_list_cnt != 0);
    if (status == CPE_DM_ERR_INVALID_PARAM) {
        CPE_DM_LOG_ERROR("Invalid params - hndl[%p], dm_clr_ind_list[%p], dm_clr_ind_list_cnt[%u]", hndl,
                         static_cast<const void *>(dm_clr_ind_list), dm_clr_ind_list_cnt);
    }
    if (status != CPE_DM_SUCCESS) {
        return status;
    }
    cpe_dm_nas_ind_info candidate = cpe_dm_state.ind_info;
    for (uint32_t i = 0; i < dm_clr_ind_list_cnt; i++) {
        const auto id = static_cast<uint32_t>(dm_clr_ind_list[i]);
        cpe_dm_ind_threshold *entry = find_entry(candidate, id);
        if (entry != nullptr) {
            *entry = {};
        } else if (id == CPE_DM_IND_REG_STATUS) {
            candidate.reg_status = 0;
        } else {
            CPE_DM_LOG_ERROR("Clearing diagnostic indication information for metric[%u] - not supported!!", id);
            return CPE_DM_ERR_NOT_SUPPORTED;
        }
    }
    return commit(candidate);
}
