#include "cpe_dm_text.h"

#include <cstring>
#include <iterator>

static constexpr uint32_t LTE = CPE_DM_TECH_LTE;
static constexpr uint32_t NR5G = CPE_DM_TECH_NR5G;
static constexpr uint32_t NONE = CPE_DM_VALUE_NONE;
static constexpr uint32_t INT64 = CPE_DM_VALUE_INT64;
static constexpr uint32_t BYTES = CPE_DM_VALUE_INT64_LIST;
static constexpr uint32_t CQI = CPE_DM_VALUE_CQI_INFO;
static constexpr uint32_t LOCKS = CPE_DM_VALUE_CELL_LOCK_LIST;
static constexpr uint32_t NO_IND = CPE_DM_IND_INVALID;

static constexpr cpe_dm_metric_desc metrics[] = {
    {CPE_DM_METRIC_INVALID, CPE_DM_TECH_NONE, NONE, 1, NO_IND, "", "", ""},
    {CPE_DM_METRIC_REG_STATUS, CPE_DM_TECH_NONE, CPE_DM_VALUE_UINT32, 1, CPE_DM_IND_REG_STATUS, "reg", "",
     "registration status"},
    {CPE_DM_METRIC_LTE_EARFCN, LTE, INT64, 1, NO_IND, "lte.earfcn", "", "channel number (EARFCN), its low 16 bits"},
    {CPE_DM_METRIC_NR5G_EARFCN, NR5G, INT64, 1, NO_IND, "nr5g.arfcn", "", "channel number (NR ARFCN)"},
    {CPE_DM_METRIC_LTE_PCI, LTE, INT64, 1, NO_IND, "lte.pci", "", "physical cell identity"},
    {CPE_DM_METRIC_NR5G_PCI, NR5G, INT64, 1, NO_IND, "nr5g.pci", "", "physical cell identity"},
    {CPE_DM_METRIC_LTE_CGI, LTE, INT64, 1, NO_IND, "lte.cgi", "", "cell global identity, 28 bits"},
    {CPE_DM_METRIC_NR5G_CGI, NR5G, INT64, 1, NO_IND, "nr5g.cgi", "", "cell global identity, 36 bits"},
    {CPE_DM_METRIC_LTE_PLMN, LTE, BYTES, 1, NO_IND, "lte.plmn", "", "network: country code and network code"},
    {CPE_DM_METRIC_NR5G_PLMN, NR5G, BYTES, 1, NO_IND, "nr5g.plmn", "", "network: country code and network code"},
    {CPE_DM_METRIC_LTE_RSRP, LTE, INT64, 1, CPE_DM_IND_LTE_RSRP, "lte.rsrp", "dBm", "reference signal received power"},
    {CPE_DM_METRIC_NR5G_RSRP, NR5G, INT64, 1, CPE_DM_IND_NR5G_RSRP, "nr5g.rsrp", "dBm",
     "reference signal received power"},
    {CPE_DM_METRIC_LTE_RSRQ, LTE, INT64, 1, CPE_DM_IND_LTE_RSRQ, "lte.rsrq", "dB", "reference signal received quality"},
    {CPE_DM_METRIC_NR5G_RSRQ, NR5G, INT64, 1, CPE_DM_IND_NR5G_RSRQ, "nr5g.rsrq", "dB",
     "reference signal received quality"},
    {CPE_DM_METRIC_LTE_SINR, LTE, INT64, 10, CPE_DM_IND_LTE_SINR, "lte.sinr", "dB",
     "signal to interference and noise ratio"},
    {CPE_DM_METRIC_NR5G_SINR, NR5G, INT64, 10, CPE_DM_IND_NR5G_SINR, "nr5g.sinr", "dB",
     "signal to interference and noise ratio"},
    {CPE_DM_METRIC_LTE_CQI, LTE, CQI, 1, NO_IND, "lte.cqi", "", "channel quality of each carrier and codeword"},
    {CPE_DM_METRIC_NR5G_CQI, NR5G, CQI, 1, NO_IND, "nr5g.cqi", "", "channel quality of each carrier and codeword"},
    {CPE_DM_METRIC_LTE_TAC, LTE, INT64, 1, NO_IND, "lte.tac", "", "tracking area code, 16 bits"},
    {CPE_DM_METRIC_NR5G_TAC, NR5G, BYTES, 1, NO_IND, "nr5g.tac", "", "tracking area code, 24 bits"},
    {CPE_DM_METRIC_LTE_TX_POWER, LTE, INT64, 10, NO_IND, "lte.tx_power", "dBm", "transmit power"},
    {CPE_DM_METRIC_NR5G_TX_POWER, NR5G, INT64, 10, NO_IND, "nr5g.tx_power", "dBm", "transmit power"},
    {CPE_DM_METRIC_LTE_NBR_EARFCN, LTE, NONE, 1, NO_IND, "lte.nbr.earfcn", "", "channel number (EARFCN)"},
    {CPE_DM_METRIC_NR5G_NBR_EARFCN, NR5G, NONE, 1, NO_IND, "nr5g.nbr.arfcn", "", "channel number (NR ARFCN)"},
    {CPE_DM_METRIC_LTE_NBR_PCI, LTE, NONE, 1, NO_IND, "lte.nbr.pci", "", "physical cell identity"},
    {CPE_DM_METRIC_NR5G_NBR_PCI, NR5G, NONE, 1, NO_IND, "nr5g.nbr.pci", "", "physical cell identity"},
    {CPE_DM_METRIC_LTE_NBR_CGI, LTE, NONE, 1, NO_IND, "lte.nbr.cgi", "", "cell global identity, 28 bits"},
    {CPE_DM_METRIC_NR5G_NBR_CGI, NR5G, NONE, 1, NO_IND, "nr5g.nbr.cgi", "", "cell global identity, 36 bits"},
    {CPE_DM_METRIC_LTE_NBR_PLMN, LTE, NONE, 1, NO_IND, "lte.nbr.plmn", "", "network: country code and network code"},
    {CPE_DM_METRIC_NR5G_NBR_PLMN, NR5G, NONE, 1, NO_IND, "nr5g.nbr.plmn", "", "network: country code and network code"},
    {CPE_DM_METRIC_LTE_NBR_RSRP, LTE, NONE, 1, NO_IND, "lte.nbr.rsrp", "dBm", "reference signal received power"},
    {CPE_DM_METRIC_NR5G_NBR_RSRP, NR5G, NONE, 1, NO_IND, "nr5g.nbr.rsrp", "dBm", "reference signal received power"},
    {CPE_DM_METRIC_LTE_NBR_RSRQ, LTE, NONE, 1, NO_IND, "lte.nbr.rsrq", "dB", "reference signal received quality"},
    {CPE_DM_METRIC_LTE_CELL_LOCK_LIST, LTE, LOCKS, 1, NO_IND, "lte.lock", "", "cells to which the modem is locked"},
    {CPE_DM_METRIC_NR5G_CELL_LOCK_LIST, NR5G, LOCKS, 1, NO_IND, "nr5g.lock", "",
     "cell or channels to which the modem is locked"},
};
static_assert(std::size(metrics) == CPE_DM_METRIC_CNT, "every metric has its description");

static constexpr bool ids_in_order() {
    for (uint32_t id = 0; id < CPE_DM_METRIC_CNT; id++) {
        if (metrics[id].id != id) {
            return false;
        }
    }
    return true;
}
static_assert(ids_in_order(), "a description stands in the place of its ID");

static constexpr bool every_ind_has_one_metric() {
    for (uint32_t ind = 1; ind < CPE_DM_IND_CNT; ind++) {
        int found = 0;
        for (const cpe_dm_metric_desc &metric : metrics) {
            found += metric.ind == ind ? 1 : 0;
        }
        if (found != 1) {
            return false;
        }
    }
    return true;
}
static_assert(every_ind_has_one_metric(), "every indication is that of one metric");

const cpe_dm_metric_desc *cpe_dm_metric_by_id(uint32_t id) {
    return id > CPE_DM_METRIC_INVALID && id < CPE_DM_METRIC_CNT ? &metrics[id] : nullptr;
}

const cpe_dm_metric_desc *cpe_dm_metric_by_key(const char *key) {
    for (uint32_t id = 1; id < CPE_DM_METRIC_CNT; id++) {
        if (strcmp(metrics[id].key, key) == 0) {
            return &metrics[id];
        }
    }
    return nullptr;
}

const cpe_dm_metric_desc *cpe_dm_metric_by_ind(uint32_t ind) {
    for (uint32_t id = 1; ind != CPE_DM_IND_INVALID && id < CPE_DM_METRIC_CNT; id++) {
        if (metrics[id].ind == ind) {
            return &metrics[id];
        }
    }
    return nullptr;
}

struct name_row {
    int32_t number;
    const char *name;
};

static const name_row reg_status_names[] = {
    {CPE_DM_REG_NONE, "none"},       {CPE_DM_REG_POWER_SAVE, "power_save"},
    {CPE_DM_REG_LIMITED, "limited"}, {CPE_DM_REG_LIMITED_REG, "limited_regional"},
    {CPE_DM_REG_LTE, "lte"},         {CPE_DM_REG_LTE_NR5G, "lte_nr5g"},
    {CPE_DM_REG_NR5G, "nr5g"},
};
static_assert(std::size(reg_status_names) == CPE_DM_REG_NR5G, "every registration status has its name");

static const name_row status_names[] = {
    {CPE_DM_SUCCESS, "CPE_DM_SUCCESS"},
    {CPE_DM_ERR_FAILURE, "CPE_DM_ERR_FAILURE"},
    {CPE_DM_ERR_INVALID_PARAM, "CPE_DM_ERR_INVALID_PARAM"},
    {CPE_DM_ERR_NO_MEMORY, "CPE_DM_ERR_NO_MEMORY"},
    {CPE_DM_ERR_LIST_TOO_SMALL, "CPE_DM_ERR_LIST_TOO_SMALL"},
    {CPE_DM_ERR_SCAN_ONGOING, "CPE_DM_ERR_SCAN_ONGOING"},
    {CPE_DM_ERR_NOT_SUPPORTED, "CPE_DM_ERR_NOT_SUPPORTED"},
    {CPE_DM_ERR_NOT_INITIALIZED, "CPE_DM_ERR_NOT_INITIALIZED"},
    {CPE_DM_ERR_ALREADY_INITIALIZED, "CPE_DM_ERR_ALREADY_INITIALIZED"},
    {CPE_DM_ERR_SERVICE_UNAVAILABLE, "CPE_DM_ERR_SERVICE_UNAVAILABLE"},
    {CPE_DM_ERR_INFO_UNAVAILABLE, "CPE_DM_ERR_INFO_UNAVAILABLE"},
};

static const char *name_of(const name_row *rows, size_t cnt, int64_t number) {
    for (size_t i = 0; i < cnt; i++) {
        if (rows[i].number == number) {
            return rows[i].name;
        }
    }
    return "unknown";
}

const char *cpe_dm_reg_status_name(uint32_t reg_status) {
    return name_of(reg_status_names, std::size(reg_status_names), reg_status);
}

const char *cpe_dm_status_name(int32_t status) {
    return name_of(status_names, std::size(status_names), status);
}
