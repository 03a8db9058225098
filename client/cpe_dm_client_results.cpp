#include "cpe_dm_client_results.h"

#include "cpe_dm_client_util.h"

void cpe_dm_client_fill_request(cpe_dm_info *info, uint32_t id, cpe_dm_client_results *results) {
    static_assert(CPE_DM_METRIC_CNT == 35, "a metric more may need a record here");
    info->info_type = CPE_DM_INFO_TYPE_REQUEST;
    info->id = id;
    switch (id) {
    case CPE_DM_METRIC_LTE_CQI:
        info->value.cqi_info = &results->lte_cqi;
        break;
    case CPE_DM_METRIC_NR5G_CQI:
        info->value.cqi_info = &results->nr5g_cqi;
        break;
    case CPE_DM_METRIC_LTE_CELL_LOCK_LIST:
        info->value.lte_cell_lock_list = &results->lte_locks;
        break;
    case CPE_DM_METRIC_NR5G_CELL_LOCK_LIST:
        info->value.nr5g_cell_lock_list = &results->nr5g_locks;
        break;
    default:
        break;
    }
}

static void print_heading(const char *name) {
    cpe_dm_client_print("[%s] -\n", name);
}

static void print_no_lock(const char *name) {
    cpe_dm_client_print("[%s] - cell lock list not present\n", name);
}

static void print_lock_freq(int i, uint32_t freq) {
    cpe_dm_client_print("Cell_Lock#%d : freq[%u]\n", i, freq);
}

static void print_cqi(const char *name, const cpe_dm_cw_cqi *carriers, int cnt) {
    print_heading(name);
    for (int i = 0; i < cnt; i++) {
        cpe_dm_client_print("CQI#%d : cw_cqi_len [%u]\n", i, carriers[i].cw_cqi_len);
        cpe_dm_client_print("CQI#%d : cw_cqi_0[%u], cw_cqi_1[%u]\n", i, carriers[i].cw_cqi[0], carriers[i].cw_cqi[1]);
    }
}

static void print_lte_locks(const char *name, const cpe_dm_lte_cell_lock_list *locks, bool listed) {
    if (locks->lte_cell_list_len == 0) {
        if (listed) {
            cpe_dm_client_print("Metric ID [%s] - cell lock list not present\n", name);
        } else {
            print_no_lock(name);
        }
        return;
    }
    print_heading(name);
    const int cnt = cpe_dm_client_bounded(locks->lte_cell_list_len, CPE_DM_LTE_CELL_LOCK_MAX);
    for (int i = 0; i < cnt; i++) {
        cpe_dm_client_print("Cell_Lock#%d : pci[%u]\n", i, locks->lte_cell_list[i].pci);
        print_lock_freq(i, locks->lte_cell_list[i].freq);
    }
}

/* Prints the frequencies to which the modem is locked for NR 5G. When the modem is locked to one NR 5G cell, or has no
 * NR 5G lock, prints that there is no list. */
static void print_nr5g_locks(const char *name, const cpe_dm_nr5g_cell_lock_list *locks) {
    print_heading(name);
    if (!locks->arfcn_identity_valid) {
        print_no_lock(name);
        return;
    }
    const int cnt = cpe_dm_client_bounded(locks->arfcn_list_len, CPE_DM_NR5G_ARFCN_LOCK_MAX);
    for (int i = 0; i < cnt; i++) {
        print_lock_freq(i, locks->arfcn_list[i]);
    }
}

static void print_i64_list(const char *name, const int64_t *list) {
    cpe_dm_client_print("[%s] - %lld, %lld, %lld\n", name, static_cast<long long>(list[0]),
                        static_cast<long long>(list[1]), static_cast<long long>(list[2]));
}

void cpe_dm_client_print_result(const cpe_dm_info *info, const cpe_dm_client_results *results, bool listed) {
    static_assert(CPE_DM_METRIC_CNT == 35, "a metric more needs its result here, unless it has none");
    const char *name = cpe_dm_metric_name(info->id);
    switch (info->id) {
    case CPE_DM_METRIC_REG_STATUS:
        cpe_dm_client_print("[%s] - %u\n", name, info->value.u32_val);
        break;
    case CPE_DM_METRIC_LTE_PLMN:
    case CPE_DM_METRIC_NR5G_PLMN:
    case CPE_DM_METRIC_NR5G_TAC:
        print_i64_list(name, info->value.i64_list);
        break;
    case CPE_DM_METRIC_LTE_CQI:
        print_cqi(name, results->lte_cqi.cc_cqi, cpe_dm_client_bounded(results->lte_cqi.cc_cqi_len, CPE_DM_LTE_CC_MAX));
        break;
    case CPE_DM_METRIC_NR5G_CQI:
        print_cqi(name, results->nr5g_cqi.cc_cqi,
                  cpe_dm_client_bounded(results->nr5g_cqi.cc_cqi_len, CPE_DM_NR5G_CC_MAX));
        break;
    case CPE_DM_METRIC_LTE_CELL_LOCK_LIST:
        print_lte_locks(name, &results->lte_locks, listed);
        break;
    case CPE_DM_METRIC_NR5G_CELL_LOCK_LIST:
        print_nr5g_locks(name, &results->nr5g_locks);
        break;
    default: // the other serving-cell metrics; for a neighbour metric there is nothing to print
        if (info->id >= CPE_DM_METRIC_LTE_EARFCN && info->id <= CPE_DM_METRIC_NR5G_TX_POWER) {
            cpe_dm_client_print("[%s] - %lld\n", name, static_cast<long long>(info->value.i64_val));
        }
        break;
    }
}
