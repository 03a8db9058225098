#include "cpe_dm.h"

#include <iterator>

static const char *const metric_names[] = {
    "Invalid Request",
    "Registration Status",
    "LTE Serving Cell EARFCN",
    "NR 5G Serving Cell EARFCN",
    "LTE Serving Cell PCI",
    "NR 5G Serving Cell PCI",
    "LTE Serving Cell CGI",
    "NR 5G Serving Cell CGI",
    "LTE Serving Cell PLMN",
    "NR 5G Serving Cell PLMN",
    "LTE Serving Cell RSRP",
    "NR 5G Serving Cell RSRP",
    "LTE Serving Cell RSRQ",
    "NR 5G Serving Cell RSRQ",
    "LTE Serving Cell SINR",
    "NR 5G Serving Cell SINR",
    "LTE Serving Cell CQI",
    "NR 5G Serving Cell CQI",
    "LTE Serving cell TAC",
    "NR 5G Serving Cell TAC",
    "LTE Serving cell TX Power",
    "NR 5G Serving cell TX Power",
    "LTE Neighboring Cell EARFCN",
    "NR 5G Neighboring Cell EARFCN",
    "LTE Neighboring Cell PCI",
    "NR 5G Neighboring Cell PCI",
    "LTE Neighboring Cell CGI",
    "NR 5G Neighboring Cell CGI",
    "LTE Neighboring Cell PLMN",
    "NR 5G Neighboring Cell PLMN",
    "LTE Neighboring Cell RSRP",
    "NR 5G Neighboring Cell RSRP",
    "LTE Neighboring Cell RSRQ",
    "LTE Cell Lock List",
    "NR 5G Cell Lock List",
};
static_assert(std::size(metric_names) == CPE_DM_METRIC_CNT);

static const char *const ind_names[] = {
    "Invalid Indication",    "Registration Status",     "LTE Serving Cell RSRP", "NR 5G Serving Cell RSRP",
    "LTE Serving Cell RSRQ", "NR 5G Serving Cell RSRQ", "LTE Serving Cell SINR", "NR 5G Serving Cell SINR",
};
static_assert(std::size(ind_names) == CPE_DM_IND_CNT);

static const char *const async_rsp_names[] = {
    "Invalid Async Response",
    "LTE Neighbor Info",
    "NR 5G Neighbor Info",
};
static_assert(std::size(async_rsp_names) == CPE_DM_ASYNC_RSP_CNT);

struct status_row {
    int32_t status; /* a cpe_dm_status */
    const char *text;
};

static const status_row status_rows[] = {
    {CPE_DM_SUCCESS, "success"},
    {CPE_DM_ERR_FAILURE, "the modem or a lower layer failed"},
    {CPE_DM_ERR_INVALID_PARAM, "invalid handle or argument"},
    {CPE_DM_ERR_NO_MEMORY, "out of memory"},
    {CPE_DM_ERR_LIST_TOO_SMALL, "list too small for the indications set"},
    {CPE_DM_ERR_SCAN_ONGOING, "a neighbour scan is in progress"},
    {CPE_DM_ERR_NOT_SUPPORTED, "not supported"},
    {CPE_DM_ERR_NOT_INITIALIZED, "not initialised"},
    {CPE_DM_ERR_ALREADY_INITIALIZED, "a client is registered already"},
    {CPE_DM_ERR_SERVICE_UNAVAILABLE, "neither LTE nor NR 5G is in service"},
    {CPE_DM_ERR_INFO_UNAVAILABLE, "not reported by the modem"},
};

static const char *name_of(const char *const *names, uint32_t cnt, uint32_t id) {
    return names[id < cnt ? id : 0];
}

const char *cpe_dm_metric_name(uint32_t id) {
    return name_of(metric_names, CPE_DM_METRIC_CNT, id);
}

const char *cpe_dm_ind_name(uint32_t id) {
    return name_of(ind_names, CPE_DM_IND_CNT, id);
}

const char *cpe_dm_async_rsp_name(uint32_t id) {
    return name_of(async_rsp_names, CPE_DM_ASYNC_RSP_CNT, id);
}

const char *cpe_dm_strerror(int32_t status) {
    for (const status_row &row : status_rows) {
        if (row.status == status) {
            return row.text;
        }
    }
    return "unknown status";
}
