#include "cpe_dm_client_options.h"
#include "cpe_dm_client_util.h"

#include <algorithm>

static void print_value(const char *what, long long value) {
    cpe_dm_client_print("CPE DEMO APP CALLBACK - %s[%lld]\n", what, value);
}

static void print_nbr_value(uint32_t nbr, const char *what, unsigned long long value) {
    cpe_dm_client_print("CPE DEMO APP CALLBACK - Neighbor #%u : %s[%llu]\n", nbr, what, value);
}

static void print_not_valid(const char *what, const char *name) {
    cpe_dm_client_print("CPE DEMO APP CALLBACK - Metric information not valid for %s[%s].\n", what, name);
}

static void print_not_supported(const char *what, uint32_t id) {
    cpe_dm_client_print("CPE DEMO APP : %s[%u] - Not Supported!!\n", what, id);
}

static void print_ind(const cpe_dm_info *info) {
    static const char *const signals[CPE_DM_IND_CNT] = {
        nullptr,
        nullptr,
        "LTE serving cell RSRP",
        "NR 5G serving cell RSRP",
        "LTE serving cell RRSQ",
        "NR 5G serving cell RSRQ",
        "LTE serving cell SINR",
        "NR 5G serving cell SINR",
    };
    if (info->value_type == CPE_DM_VALUE_NONE) {
        print_not_valid("indication", cpe_dm_ind_name(info->id));
    } else if (info->id == CPE_DM_IND_REG_STATUS) {
        cpe_dm_client_print("CPE DEMO APP CALLBACK - Registration status indication[%u].\n", info->value.u32_val);
    } else if (info->id < CPE_DM_IND_CNT && signals[info->id]) {
        cpe_dm_client_print("CPE DEMO APP CALLBACK - %s indication[%lld].\n", signals[info->id],
                            static_cast<long long>(info->value.i64_val));
    } else {
        print_not_supported("Invalid indication", info->id);
    }
}

static void print_plmns(uint32_t nbr, const cpe_dm_plmn *plmns, uint32_t cnt) {
    for (uint32_t i = 0; i < cnt; i++) {
        print_nbr_value(nbr, "PLMN MCC", plmns[i].plmn_mcc);
        print_nbr_value(nbr, "PLMN MNC", plmns[i].plmn_mnc);
        print_nbr_value(nbr, "PLMN PCS", plmns[i].plmn_mnc_includes_pcs_digit);
    }
}

static void print_lte_nbr(uint32_t i, const cpe_dm_lte_nbr *nbr) {
    print_nbr_value(i, "Frequency", nbr->earfcn);
    print_nbr_value(i, "Cell ID", nbr->pci);
    if (nbr->cgi_valid) {
        print_nbr_value(i, "Global Cell ID", nbr->cgi);
    }
    if (nbr->plmn_valid) {
        print_plmns(i, nbr->plmn, std::min<uint32_t>(nbr->plmn_len, CPE_DM_LTE_NBR_PLMN_MAX));
    }
}

static void print_nr5g_nbr(uint32_t i, const cpe_dm_nr5g_nbr *nbr) {
    print_nbr_value(i, "Cell ID", nbr->pci);
    print_nbr_value(i, "Frequency", nbr->earfcn);
    if (nbr->rsrp_valid) {
        print_value("RRSP", nbr->rsrp);
    }
    if (nbr->plmn_valid) {
        print_plmns(i, nbr->plmn, std::min<uint32_t>(nbr->plmn_len, CPE_DM_NR5G_NBR_PLMN_MAX));
    }
    if (nbr->cgi_valid) {
        const uint32_t cnt = std::min<uint32_t>(nbr->cgi_len, CPE_DM_NR5G_NBR_CGI_MAX);
        for (uint32_t c = 0; c < cnt; c++) {
            print_nbr_value(i, "CGI", nbr->cgi[c]);
        }
    }
}

static void print_highest_sig(const cpe_dm_lte_nbr_info *info) {
    cpe_dm_client_print("CPE DEMO APP CALLBACK - Signal information valid.\n");
    print_value("Cell ID", info->highest_sig_pci);
    print_value("Frequency", info->highest_sig_earfcn);
    if (info->highest_sig_rsrp_valid) {
        print_value("RRSP", info->highest_sig_rsrp);
    }
    if (info->highest_sig_rsrq_valid) {
        print_value("RRSQ", info->highest_sig_rsrq);
    }
}

/* Starts the text of a neighbour response; false when it comes without its payload. */
static bool print_nbr_start(const char *technology, const void *payload) {
    cpe_dm_client_print("CPE DEMO APP CALLBACK - %s neighbor information asynchronous response.\n", technology);
    if (payload == nullptr) {
        cpe_dm_client_print(
            "CPE DEMO APP CALLBACK - %s neighbor information asynchronous response extension not valid.\n", technology);
    }
    return payload != nullptr;
}

static void print_lte_nbrs(const cpe_dm_lte_nbr_info *info) {
    if (!print_nbr_start("LTE", info)) {
        return;
    }
    if (info->highest_sig_valid) {
        print_highest_sig(info);
    }
    const uint32_t cnt = info->nbr_valid ? std::min<uint32_t>(info->nbr_len, CPE_DM_LTE_NBR_MAX) : 0;
    for (uint32_t i = 0; i < cnt; i++) {
        print_lte_nbr(i, &info->nbr[i]);
    }
}

static void print_nr5g_nbrs(const cpe_dm_nr5g_nbr_info *info) {
    if (!print_nbr_start("NR 5G", info)) {
        return;
    }
    const uint32_t cnt = info->nbr_valid ? std::min<uint32_t>(info->nbr_len, CPE_DM_NR5G_NBR_MAX) : 0;
    for (uint32_t i = 0; i < cnt; i++) {
        print_nr5g_nbr(i, &info->nbr[i]);
    }
}

static void print_async_rsp(const cpe_dm_info *info, const cpe_dm_lte_nbr_info *lte, const cpe_dm_nr5g_nbr_info *nr5g) {
    if (info->value_type == CPE_DM_VALUE_NONE) {
        print_not_valid("async response", cpe_dm_async_rsp_name(info->id));
    } else if (info->id == CPE_DM_ASYNC_RSP_LTE_NBR) {
        print_lte_nbrs(lte);
    } else if (info->id == CPE_DM_ASYNC_RSP_NR5G_NBR) {
        print_nr5g_nbrs(nr5g);
    } else {
        print_not_supported("Asynchronous response", info->id);
    }
}

void cpe_dm_client_callback(cpe_dm_hndl /*hndl*/, cpe_dm_info *info, void * /*user_data*/) {
    if (info == nullptr) {
        return;
    }
    const cpe_dm_client_owned<cpe_dm_info> owner(info);
    // Only the value type says that the value points to a payload, and to which.
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
        print_not_supported("Info type", info->info_type);
        break;
    }
}
