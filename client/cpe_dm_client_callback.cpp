#include "cpe_dm_client_callback.h"

#include "cpe_dm_client_util.h"

static void print_ind(const cpe_dm_info *info) {
    static_assert(CPE_DM_IND_CNT == 8, "an indication more needs its line here");
    if (info->value_type == CPE_DM_VALUE_NONE) {
        cpe_dm_client_print("CPE DEMO APP CALLBACK - Metric information not valid for indication[%s].\n",
                            cpe_dm_ind_name(info->id));
        return;
    }
    const long long value = info->value.i64_val;
    switch (info->id) {
    case CPE_DM_IND_REG_STATUS:
        cpe_dm_client_print("CPE DEMO APP CALLBACK - Registration status indication[%u].\n", info->value.u32_val);
        break;
    case CPE_DM_IND_LTE_RSRP:
        cpe_dm_client_print("CPE DEMO APP CALLBACK - LTE serving cell RSRP indication[%lld].\n", value);
        break;
    case CPE_DM_IND_NR5G_RSRP:
        cpe_dm_client_print("CPE DEMO APP CALLBACK - NR 5G serving cell RSRP indication[%lld].\n", value);
        break;
    case CPE_DM_IND_LTE_RSRQ:
        cpe_dm_client_print("CPE DEMO APP CALLBACK - LTE serving cell RRSQ indication[%lld].\n", value);
        break;
    case CPE_DM_IND_NR5G_RSRQ:
        cpe_dm_client_print("CPE DEMO APP CALLBACK - NR 5G serving cell RSRQ indication[%lld].\n", value);
        break;
    case CPE_DM_IND_LTE_SINR:
        cpe_dm_client_print("CPE DEMO APP CALLBACK - LTE serving cell SINR indication[%lld].\n", value);
        break;
    case CPE_DM_IND_NR5G_SINR:
        cpe_dm_client_print("CPE DEMO APP CALLBACK - NR 5G serving cell SINR indication[%lld].\n", value);
        break;
    default:
        cpe_dm_client_print("CPE DEMO APP : Invalid indication[%u] - Not Supported!!\n", info->id);
        break;
    }
}

/* Each of the functions print_nbr_... prints one property of a neighbour, which is an LTE or an NR 5G cell. `nbr` is
 * the index of the neighbour in its list, from 0. */
static void print_nbr_freq(int nbr, uint32_t earfcn) {
    cpe_dm_client_print("CPE DEMO APP CALLBACK - Neighbor #%d : Frequency[%u]\n", nbr, earfcn);
}

static void print_nbr_pci(int nbr, uint16_t pci) {
    cpe_dm_client_print("CPE DEMO APP CALLBACK - Neighbor #%d : Cell ID[%u]\n", nbr, pci);
}

static void print_nbr_plmns(int nbr, const cpe_dm_plmn *plmns, int cnt) {
    for (int i = 0; i < cnt; i++) {
        cpe_dm_client_print("CPE DEMO APP CALLBACK - Neighbor #%d : PLMN MCC[%u]\n", nbr, plmns[i].plmn_mcc);
        cpe_dm_client_print("CPE DEMO APP CALLBACK - Neighbor #%d : PLMN MNC[%u]\n", nbr, plmns[i].plmn_mnc);
        cpe_dm_client_print("CPE DEMO APP CALLBACK - Neighbor #%d : PLMN PCS[%u]\n", nbr,
                            plmns[i].plmn_mnc_includes_pcs_digit);
    }
}

static void print_rsrp(int16_t rsrp) {
    cpe_dm_client_print("CPE DEMO APP CALLBACK - RRSP[%d]\n", rsrp);
}

static void print_highest_sig(const cpe_dm_lte_nbr_info *info) {
    cpe_dm_client_print("CPE DEMO APP CALLBACK - Signal information valid.\n");
    cpe_dm_client_print("CPE DEMO APP CALLBACK - Cell ID[%u]\n", info->highest_sig_pci);
    cpe_dm_client_print("CPE DEMO APP CALLBACK - Frequency[%u]\n", info->highest_sig_earfcn);
    if (info->highest_sig_rsrp_valid) {
        print_rsrp(info->highest_sig_rsrp);
    }
    if (info->highest_sig_rsrq_valid) {
        cpe_dm_client_print("CPE DEMO APP CALLBACK - RRSQ[%d]\n", info->highest_sig_rsrq);
    }
}

static void print_lte_nbr(int i, const cpe_dm_lte_nbr *nbr) {
    print_nbr_freq(i, nbr->earfcn);
    print_nbr_pci(i, nbr->pci);
    if (nbr->cgi_valid) {
        cpe_dm_client_print("CPE DEMO APP CALLBACK - Neighbor #%d : Global Cell ID[%u]\n", i, nbr->cgi);
    }
    if (nbr->plmn_valid) {
        print_nbr_plmns(i, nbr->plmn, cpe_dm_client_bounded(nbr->plmn_len, CPE_DM_LTE_NBR_PLMN_MAX));
    }
}

static void print_lte_nbrs(const cpe_dm_lte_nbr_info *info) {
    cpe_dm_client_print("CPE DEMO APP CALLBACK - LTE neighbor information asynchronous response.\n");
    if (info == nullptr) {
        cpe_dm_client_print(
            "CPE DEMO APP CALLBACK - LTE neighbor information asynchronous response extension not valid.\n");
        return;
    }
    if (info->highest_sig_valid) {
        print_highest_sig(info);
    }
    const int cnt = info->nbr_valid ? cpe_dm_client_bounded(info->nbr_len, CPE_DM_LTE_NBR_MAX) : 0;
    for (int i = 0; i < cnt; i++) {
        print_lte_nbr(i, &info->nbr[i]);
    }
}

static void print_nr5g_nbr(int i, const cpe_dm_nr5g_nbr *nbr) {
    print_nbr_pci(i, nbr->pci);
    print_nbr_freq(i, nbr->earfcn);
    if (nbr->rsrp_valid) {
        print_rsrp(nbr->rsrp);
    }
    if (nbr->plmn_valid) {
        print_nbr_plmns(i, nbr->plmn, cpe_dm_client_bounded(nbr->plmn_len, CPE_DM_NR5G_NBR_PLMN_MAX));
    }
    const int cgis = nbr->cgi_valid ? cpe_dm_client_bounded(nbr->cgi_len, CPE_DM_NR5G_NBR_CGI_MAX) : 0;
    for (int c = 0; c < cgis; c++) {
        cpe_dm_client_print("CPE DEMO APP CALLBACK - Neighbor #%d : CGI[%llu]\n", i,
                            static_cast<unsigned long long>(nbr->cgi[c]));
    }
}

static void print_nr5g_nbrs(const cpe_dm_nr5g_nbr_info *info) {
    cpe_dm_client_print("CPE DEMO APP CALLBACK - NR 5G neighbor information asynchronous response.\n");
    if (info == nullptr) {
        cpe_dm_client_print(
            "CPE DEMO APP CALLBACK - NR 5G neighbor information asynchronous response extension not valid.\n");
        return;
    }
    const int cnt = info->nbr_valid ? cpe_dm_client_bounded(info->nbr_len, CPE_DM_NR5G_NBR_MAX) : 0;
    for (int i = 0; i < cnt; i++) {
        print_nr5g_nbr(i, &info->nbr[i]);
    }
}

static void print_async_rsp(const cpe_dm_info *info, const cpe_dm_lte_nbr_info *lte, const cpe_dm_nr5g_nbr_info *nr5g) {
    static_assert(CPE_DM_ASYNC_RSP_CNT == 3, "a response more needs its lines here, and its payload's release below");
    if (info->value_type == CPE_DM_VALUE_NONE) {
        cpe_dm_client_print("CPE DEMO APP CALLBACK - Metric information not valid for async response[%s].\n",
                            cpe_dm_async_rsp_name(info->id));
    } else if (info->id == CPE_DM_ASYNC_RSP_LTE_NBR) {
        print_lte_nbrs(lte);
    } else if (info->id == CPE_DM_ASYNC_RSP_NR5G_NBR) {
        print_nr5g_nbrs(nr5g);
    } else {
        cpe_dm_client_print("CPE DEMO APP : Asynchronous response[%u] - Not Supported!!\n", info->id);
    }
}

void cpe_dm_client_callback(cpe_dm_hndl /*hndl*/, cpe_dm_info *info, void * /*user_data*/) {
    if (info == nullptr) {
        return;
    }
    const cpe_dm_client_owned<cpe_dm_info> owner(info);
    // info->value is a union. Only info->value_type tells whether the union holds a pointer to neighbour data, and
    // whether the neighbours are LTE or NR 5G cells.
    const cpe_dm_client_owned<cpe_dm_lte_nbr_info> lte(
        info->value_type == CPE_DM_VALUE_LTE_NBR_INFO ? info->value.lte_nbr_info : nullptr);
    const cpe_dm_client_owned<cpe_dm_nr5g_nbr_info> nr5g(
        info->value_type == CPE_DM_VALUE_NR5G_NBR_INFO ? info->value.nr5g_nbr_info : nullptr);
    switch (info->info_type) {
    case CPE_DM_INFO_TYPE_IND:
        print_ind(info);
        break;
    case CPE_DM_INFO_TYPE_ASYNC_RSP:
        print_async_rsp(info, lte.get(), nr5g.get());
        break;
    default:
        cpe_dm_client_print("CPE DEMO APP : Info type[%u] - Not Supported!!\n", info->info_type);
        break;
    }
}
